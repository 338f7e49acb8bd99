// What the library's own type library says: the numbers of members, the names of their arguments, and which of these
// may be left out.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "automation/com_ptr.h"
#include "automation/variant.h"
#include "server/class.h"

namespace qmtrain::server {

// The description of an interface or class in the type library. Raises an error when there is none.
automation::ComPtr<ITypeInfo> TypeInformation(const GUID& id);

// Opens the type library in the library's file while that is still the file that this code was loaded from: an update
// puts another one in its place. A failure here shows again where the type library is needed.
void OpenTypeLibrary() noexcept;

// Ends the library's use of its type library.
void CloseTypeLibrary();

struct Argument {
    std::u16string name;  // folded
    bool optional = false;
    automation::Variant fallback;  // what an optional argument is when it is left out: Empty where nothing is said
};

struct Member {
    DISPID id = 0;
    const Method* method = nullptr;
    std::vector<Argument> arguments;
};

// The members of a class as clients that call by name see them.
class ClassInformation {
public:
    // Raises an error when the type library and the class's table differ.
    explicit ClassInformation(const Class& described);

    // None when there is no such member.
    const Member* Find(std::u16string_view name) const;

    // The member that a call with all arguments there are is for.
    const Member& Widest(const Member& member) const;
    const Member* Find(DISPID id, INVOKEKIND kind) const;

private:
    std::vector<Member> members_;
};

// Made when first asked for.
const ClassInformation& InformationOn(const Class& described);

}  // namespace qmtrain::server
