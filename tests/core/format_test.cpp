#include "core/format.h"

#include <span>

#include <gtest/gtest.h>

#include "core/convert.h"
#include "core/text.h"

namespace qmtrain {
namespace {

struct Case {
    Value value;
    const char* pattern;
    const char* text;
};

void Check(std::span<const Case> cases) {
    for (const Case& c : cases) {
        EXPECT_EQ(ToUtf8(Format(c.value, FromUtf8(c.pattern))), c.text)
            << ToUtf8(ToText(c.value)) << " as " << c.pattern;
    }
}

TEST(Format, Numbers) {
    const Case kCases[] = {
        {Value(1234.5), "0.00", "1234.50"},
        {Value(1234.5), "#,##0.00", "1,234.50"},
        {Value(1234567.0), "#,##0", "1,234,567"},
        {Value(5.0), "000", "005"},
        {Value(0.0), "#", ""},
        {Value(0.5), "#.#", ".5"},
        {Value(0.5), "0.###", "0.5"},
        {Value(5.0), "0.#", "5."},
        {Value(2.675), "0.00", "2.68"},  // as written, not as held
        {Value(0.125), "0.00", "0.13"},  // half away from zero
        {Value(-2.5), "0", "-3"},
        {Value(-0.001), "0.00", "0.00"},
        {Value(0.256), "0%", "26%"},
        {Value(0.256), "0.0%", "25.6%"},
        {Value(99.995), "0.00", "100.00"},
        {Value(-5.0), "0;(0)", "(5)"},
        {Value(0.0), "0;(0);zero", "zero"},
        {Value(0.0), "0;-0;\"零\"", "零"},
        {Value(12.0), "\"第\"0\"题\"", "第12题"},
        {Value(12.0), "0\\%", "12%"},
        {Value(12345.0), "0.00E+00", "1.23E+04"},
        {Value(0.00012), "0.0E-0", "1.2E-4"},
        {Value(12345678.0), "(000) 000-00", "(123) 456-78"},
        {Value(u"12.5"), "0.00", "12.50"},
        {Value(u"abc"), "0.00", "abc"},
        {Value(1234.567), "Fixed", "1234.57"},
        {Value(1234.567), "Standard", "1,234.57"},
        {Value(0.5), "percent", "50.00%"},
        {Value(1234.5), "General Number", "1234.5"},
        {Value(true), "Yes/No", "Yes"},
        {Value(std::int32_t{0}), "True/False", "False"},
        {Value(37.5), "", "37.5"},
        {Value(1e20), "0", "100000000000000000000"},
    };
    Check(kCases);
}

TEST(Format, Dates) {
    const Value moment(FromCivil({2005, 4, 2, 15, 5, 9}));  // a Saturday
    const Case kCases[] = {
        {moment, "yyyy年mm月dd日", "2005年04月02日"},
        {moment, "yy-m-d", "05-4-2"},
        {moment, "hh:nn:ss", "15:05:09"},
        {moment, "h:m:s", "15:5:9"},  // "m" after "h" is minutes
        {moment, "nn:ss mm", "05:09 04"},
        {moment, "h:mm AM/PM", "3:05 PM"},
        {moment, "hha/p", "03p"},
        {moment, "dddd", "星期六"},
        {moment, "mmmm", "四月"},
        {moment, "w q y", "7 2 92"},
        {moment, "ww", "14"},
        {moment, "\\yyyyy", "y2005"},
        {moment, "\"day \"d", "day 2"},
        {moment, "General Date", "2005/4/2 15:05:09"},
        {moment, "Short Date", "2005/4/2"},
        {moment, "Long Date", "2005年4月2日"},
        {moment, "Long Time", "15:05:09"},
        {moment, "Medium Time", "03:05 PM"},
        {moment, "Short Time", "15:05"},
        {Value(u"2005-4-2"), "yyyy/mm/dd", "2005/04/02"},
        {Value(38444.0), "yyyy-mm-dd", "2005-04-02"},
        {Value(u"none"), "yyyy", "none"},
    };
    Check(kCases);
}

TEST(Format, Texts) {
    const Case kCases[] = {
        {Value(u"abc"), ">", "ABC"},     {Value(u"ABC"), "<", "abc"},  {Value(u"ab"), "@@@@", "  ab"},
        {Value(u"ab"), "!@@@@", "ab  "}, {Value(u"ab"), "&&&&", "ab"}, {Value(u"12345"), "@@-@@@", "12-345"},
    };
    Check(kCases);
    EXPECT_EQ(Format(Value(Null{}), u"0"), u"");
    EXPECT_EQ(Format(Value(Null{}), u"0;0;0;\"none\""), u"none");
}

}  // namespace
}  // namespace qmtrain
