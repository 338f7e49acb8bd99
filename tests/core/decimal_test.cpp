// Decimals, against results worked out by hand.

#include "core/decimal.h"

#include <gtest/gtest.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"

namespace qmtrain {
namespace {

TEST(DecimalTest, Arithmetic) {
    struct Case {
        const char16_t* a;
        char op;
        const char16_t* b;
        const char16_t* result;  // empty: Overflow
    };
    const Case cases[] = {
        {u"0.1", '+', u"0.2", u"0.3"},
        {u"1", '-', u"0.9999999999999999999999999999", u"0.0000000000000000000000000001"},
        {u"-5", '+', u"5.00", u"0"},
        {u"-1.25", '-', u"-2.5", u"1.25"},
        {u"79228162514264337593543950335", '-', u"79228162514264337593543950334", u"1"},
        {u"79228162514264337593543950335", '+', u"1", u""},
        {u"79228162514264337593543950335", '+', u"0.4", u"79228162514264337593543950335"},
        {u"79228162514264337593543950335", '+', u"0.5", u""},
        {u"12345678901234.5678", '*', u"1000.001", u"12345691246913469.0345678"},
        {u"0.00000000000001", '*', u"0.000000000000005", u"0"},
        {u"0.00000000000003", '*', u"0.000000000000005", u"0.0000000000000000000000000002"},
        {u"-3", '*', u"0.5", u"-1.5"},
        {u"99999999999999", '*', u"9999999999999999", u""},
        {u"1", '/', u"4", u"0.25"},
        {u"1", '/', u"3", u"0.3333333333333333333333333333"},
        {u"2", '/', u"3", u"0.6666666666666666666666666667"},
        {u"100", '/', u"0.01", u"10000"},
        {u"0", '/', u"7", u"0"},
        {u"-7", '/', u"2", u"-3.5"},
        {u"79228162514264337593543950335", '/', u"0.1", u""},
    };
    for (const Case& test : cases) {
        const Decimal a = ToDecimal(Value(test.a));
        const Decimal b = ToDecimal(Value(test.b));
        const std::string name = ToUtf8(test.a) + test.op + ToUtf8(test.b);
        try {
            const Decimal result = test.op == '+'   ? Add(a, b)
                                   : test.op == '-' ? Subtract(a, b)
                                   : test.op == '*' ? Multiply(a, b)
                                                    : Divide(a, b);
            // Zeros at the end say nothing.
            EXPECT_EQ(Subtract(result, ToDecimal(Value(test.result))), (Decimal{false, result.scale, 0, 0}))
                << name << " is " << ToUtf8(ToText(Value(result)));
        } catch (const AutomationError& error) {
            EXPECT_TRUE(error.Is(ErrorNumber::Overflow)) << name;
            EXPECT_EQ(std::u16string(test.result), u"") << name;
        }
    }
    EXPECT_THROW(Divide(Decimal{false, 0, 0, 1}, Decimal{}), AutomationError);
}

}  // namespace
}  // namespace qmtrain
