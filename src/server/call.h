// A call by name: the client's arguments in the types of the method, and back.
#pragma once

#include <vector>

#include "automation/variant.h"
#include "server/type_library.h"

namespace qmtrain::server {

// What is wrong with an argument, and which it is in the client's own order.
struct ArgumentError {
    HRESULT code;
    UINT index;
};

class Arguments {
public:
    // Converts the client's arguments, by name or by place; those that may be left out get their fallback, those that
    // the method only fills are not looked at. Throws ArgumentError, also for a variable that cannot take what the
    // method may put into it; raises InvalidUseOfNull for a Null and ObjectNotSet for a Nothing where a value is
    // expected.
    Arguments(const Member& member, const DISPPARAMS& given);

    VARIANT* Values() { return reinterpret_cast<VARIANT*>(values_.data()); }

    // Writes what the method has put into its reference arguments into the client's variables; those that it has left
    // alone stay as they are. Raises ArrayFixedOrLocked for an array that cannot take so many elements.
    void WriteBack();

private:
    struct Given {
        VARIANTARG* argument = nullptr;
        UINT index = 0;
        ULONGLONG before = 0;  // the bytes of the value that the method is given
    };
    void Place(const DISPPARAMS& given);
    void Prepare(const Argument& declared, const Passing& passing, Given& given, automation::Variant& value);

    const Member& member_;
    std::vector<Given> given_;
    std::vector<automation::Variant> values_;
};

}  // namespace qmtrain::server
