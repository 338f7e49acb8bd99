// Calls by name on the objects of other programs, and errors on their way through automation.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/com_ptr.h"
#include "automation/variant.h"
#include "core/error.h"

namespace qmtrain::automation {

// An error's number as a result code and back: numbers of Visual Basic and of DAO are 0x800A0000 + n, any other one is
// the code itself. The result always means failure, E_FAIL where the number does not.
HRESULT CodeOf(std::int32_t number);
std::int32_t NumberOf(HRESULT code);

// Raises for a result code that means failure: an error with Visual Basic's number where there is one for the code.
// `what` says what failed.
void Check(HRESULT code, std::u16string_view what = {});

// The error as a caller of Invoke gets it.
void FillException(const AutomationError& error, EXCEPINFO& exception);

// One call; the arguments in the order of the declaration. Raises the object's own error with its number, source and
// description, and Check()'s for any other failure.
Variant Invoke(IDispatch* object, DISPID member, WORD flags, std::span<const Variant> arguments,
               std::u16string_view name = {});

// An object whose members are called by name. Member names are literals: the object keeps what it has found out about
// them.
class Object {
public:
    Object() = default;
    explicit Object(ComPtr<IDispatch> object) : object_(std::move(object)) {}

    // The object in a result. Raises ObjectNotSet when there is none.
    explicit Object(const Variant& result);

    explicit operator bool() const { return static_cast<bool>(object_); }
    IDispatch* Get() const { return object_.Get(); }

    // A property, perhaps with an index; a method; a property that is set.
    template <class... Arguments>
    Variant Get(std::u16string_view name, const Arguments&... arguments) {
        return CallWith(name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, arguments...);
    }
    template <class... Arguments>
    Variant Call(std::u16string_view name, const Arguments&... arguments) {
        return CallWith(name, DISPATCH_METHOD, arguments...);
    }
    Variant CallAll(std::u16string_view name, std::span<const Variant> arguments) {
        return Invoke(object_.Get(), Member(name), DISPATCH_METHOD, arguments, name);
    }
    void Set(std::u16string_view name, const Value& value) { CallWith(name, DISPATCH_PROPERTYPUT, value); }

private:
    template <class... Arguments>
    Variant CallWith(std::u16string_view name, WORD flags, const Arguments&... arguments) {
        if constexpr (sizeof...(arguments) == 0) {
            return Invoke(object_.Get(), Member(name), flags, {}, name);
        } else {
            const Variant passed[] = {Variant(Value(arguments))...};
            return Invoke(object_.Get(), Member(name), flags, passed, name);
        }
    }
    DISPID Member(std::u16string_view name);

    ComPtr<IDispatch> object_;
    std::vector<std::pair<std::u16string_view, DISPID>> members_;
};

}  // namespace qmtrain::automation
