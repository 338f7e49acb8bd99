// What a body raises, and values as failures of tests write them.
#pragma once

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"

namespace qmtrain {

// Number 0 when nothing is raised.
template <class Body>
AutomationError RaisedBy(const Body& body) {
    try {
        body();
    } catch (const AutomationError& error) {
        return error;
    }
    return {0, u"", u""};
}

// Its number alone, 0 when nothing is raised; every error says something.
template <class Body>
std::int32_t ErrorOf(const Body& body) {
    const AutomationError error = RaisedBy(body);
    EXPECT_TRUE(error.Number() == 0 || !error.Description().empty()) << error.Number();
    return error.Number();
}

inline std::string Shown(const Value& value) {
    if (value.IsNull()) return "Null";
    if (value.GetType() == Value::Type::Binary) return std::to_string(value.Binary().size()) + " bytes";
    return ToUtf8(ToText(value));
}

}  // namespace qmtrain
