// A statement for a server, with places for values: "$1" and so on stand in its text outside of quotes. Statements that
// differ in their values alone have the same text.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qmtrain::odbc {

// A value as the server reads it: between quotes, from which it makes the type that it needs there, or NULL, or of the
// type that is named.
struct GivenValue {
    std::u16string text;
    std::u16string_view type = u"unknown";
};

struct Request {
    std::u16string text;
    std::vector<GivenValue> values;

    // Puts a value at the end of the text.
    void Add(std::u16string value, std::u16string_view type = u"unknown");

    // The statement with the values in their places.
    std::u16string Whole() const;
};

}  // namespace qmtrain::odbc
