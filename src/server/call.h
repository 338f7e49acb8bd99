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
    // Converts the client's arguments, by name or by place; those that may be left out get their fallback. Throws
    // ArgumentError, and raises InvalidUseOfNull for a Null where a value is expected.
    Arguments(const Member& member, const DISPPARAMS& given);

    VARIANT* Values() { return reinterpret_cast<VARIANT*>(values_.data()); }

    // Writes what the method has put into its reference arguments into the client's variables.
    void WriteBack();

private:
    struct Given {
        VARIANTARG* argument = nullptr;
        UINT index = 0;
    };
    void Place(const DISPPARAMS& given);

    const Member& member_;
    std::vector<Given> given_;
    std::vector<automation::Variant> values_;
};

}  // namespace qmtrain::server
