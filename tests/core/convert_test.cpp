#include "core/convert.h"

#include <cmath>
#include <functional>

#include <gtest/gtest.h>

#include "core/error.h"
#include "core/text.h"
#include "support/raised.h"

namespace qmtrain {
namespace {

TEST(ToTextOf, Numbers) {
    struct Case {
        Value value;
        const char* text;
    };
    const Case kCases[] = {
        {Value(72.0), "72"},
        {Value(37.5), "37.5"},
        {Value(-0.25), "-0.25"},
        {Value(0.1 + 0.2), "0.3"},
        {Value(1e14), "100000000000000"},
        {Value(1e15), "1E+15"},
        {Value(123456789012345678.0), "1.23456789012346E+17"},
        {Value(1.0 / 3), "0.333333333333333"},
        {Value(1.0 / 300), "3.33333333333333E-03"},
        {Value(0.00001), "0.00001"},
        {Value(1e-20), "1E-20"},
        {Value(-0.0), "0"},
        {Value(0.1F), "0.1"},
        {Value(16777216.0F), "1.677722E+07"},
        {Value(1234567.0F), "1234567"},
        {Value(Currency{12345}), "1.2345"},
        {Value(Currency{-5000}), "-0.5"},
        {Value(Currency{INT64_MIN}), "-922337203685477.5808"},
        {Value(Decimal{true, 2, 0, 1250}), "-12.5"},
        {Value(Decimal{false, 28, 0xFFFFFFFF, 0xFFFFFFFFFFFFFFFF}), "7.9228162514264337593543950335"},
        {Value(Decimal{}), "0"},
        {Value(std::int16_t{-32768}), "-32768"},
        {Value(true), "True"},
        {Value(), ""},
    };
    for (const Case& c : kCases) EXPECT_EQ(Shown(c.value), c.text);
}

TEST(ToTextOf, Dates) {
    struct Case {
        CivilTime time;
        const char* text;
    };
    constexpr Case kCases[] = {
        {{2005, 4, 12, 12, 0, 0}, "2005/4/12 12:00:00"},
        {{2005, 4, 12, 0, 0, 0}, "2005/4/12"},
        {{1899, 12, 30, 8, 5, 9}, "8:05:09"},
        {{1899, 12, 30, 0, 0, 0}, "0:00:00"},
        {{1899, 12, 29, 6, 0, 0}, "1899/12/29 6:00:00"},
        {{100, 1, 1, 0, 0, 0}, "100/1/1"},
        {{9999, 12, 31, 23, 59, 59}, "9999/12/31 23:59:59"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(Shown(Value(FromCivil(c.time))), c.text);
        EXPECT_EQ(ToCivil(FromCivil(c.time)), c.time);
    }
}

TEST(Dates, CountFromTheirOrigin) {
    EXPECT_EQ(FromCivil({2005, 4, 12, 12, 0, 0}).days, 38454.5);
    EXPECT_EQ(FromCivil({1899, 12, 29, 6, 0, 0}).days, -1.25);
    EXPECT_EQ(FromCivil({2000, 2, 29, 0, 0, 0}).days, 36585.0);
    EXPECT_EQ(FromCivil({100, 1, 1, 0, 0, 0}).days, kFirstDate);
    EXPECT_EQ(FromCivil({10000, 1, 1, 0, 0, 0}).days, kLastDate);
    // Months and days carry over.
    EXPECT_EQ(FromCivil({2005, 14, 0, 0, 0, 0}).days, FromCivil({2006, 1, 31, 0, 0, 0}).days);
    EXPECT_EQ(FromCivil({2005, -1, 1, 0, 0, 0}).days, FromCivil({2004, 11, 1, 0, 0, 0}).days);
    // Half a second rounds up, even into the next day.
    EXPECT_EQ(ToCivil(Date{38454.999999}), (CivilTime{2005, 4, 13, 0, 0, 0}));
}

// The calendar of Gregory, counted forwards and backwards in two different ways.
TEST(Dates, EveryDayIsTheOneAfterTheDayBefore) {
    CivilTime day{100, 1, 1, 0, 0, 0};
    for (double number = kFirstDate; number < kLastDate; ++number) {
        ASSERT_EQ(ToCivil(Date{number}), day);
        ASSERT_EQ(FromCivil(day).days, number);
        const bool leap = day.year % 4 == 0 && (day.year % 100 != 0 || day.year % 400 == 0);
        const int days[] = {31, leap ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        if (++day.day <= days[day.month - 1]) continue;
        day.day = 1;
        if (++day.month <= 12) continue;
        day.month = 1;
        ++day.year;
    }
}

TEST(Dates, SecondsBetween) {
    struct Case {
        CivilTime from;
        CivilTime to;
        std::int64_t seconds;
    };
    const Case cases[] = {
        {{2005, 4, 12, 8, 30, 0}, {2005, 4, 12, 10, 0, 1}, 5401},
        {{2005, 4, 12, 23, 59, 59}, {2005, 4, 13, 0, 0, 0}, 1},
        {{2005, 4, 12, 8, 30, 1}, {2005, 4, 12, 8, 30, 0}, -1},
        {{1899, 12, 29, 23, 0, 0}, {1899, 12, 30, 1, 0, 0}, 7200},
        {{1899, 12, 28, 1, 0, 0}, {1899, 12, 28, 23, 0, 0}, 79200},
        {{100, 1, 1, 0, 0, 0}, {9999, 12, 31, 23, 59, 59}, 312413759999},
    };
    for (const Case& c : cases) EXPECT_EQ(SecondsBetween(FromCivil(c.from), FromCivil(c.to)), c.seconds);
    EXPECT_EQ(SecondsBetween(Date{38454.999999}, Date{38455}), 0);
}

TEST(ReadDate, Forms) {
    struct Case {
        const char* text;
        const char* date;  // "" for none
        DateOrder order = DateOrder::YearFirst;
    };
    constexpr Case kCases[] = {
        {"2005-04-12 12:00:00", "2005/4/12 12:00:00"},
        {"2005/4/12", "2005/4/12"},
        {" 2005.4.12 ", "2005/4/12"},
        {"2005年4月12日", "2005/4/12"},
        {"2005年4月12日 下午3:05", "2005/4/12 15:05:00"},
        {"2005-04-12T08:30:00", "2005/4/12 8:30:00"},
        {"05/4/12", "2005/4/12"},
        {"05/4/12", "2012/5/4", DateOrder::MonthFirst},
        {"4/12/2005", "2005/4/12"},
        {"4/12/2005", "2005/4/12", DateOrder::MonthFirst},
        {"13/4/2005", "2005/4/13", DateOrder::MonthFirst},
        {"4/12/45", "1945/4/12", DateOrder::MonthFirst},
        {"12:30", "12:30:00"},
        {"12:30:45 PM", "12:30:45"},
        {"12:05 am", "0:05:00"},
        {"3 PM", "15:00:00"},
        {"12 Apr 2005", "2005/4/12"},
        {"April 12, 2005 8:00", "2005/4/12 8:00:00"},
        {"99/1/1", "1999/1/1", DateOrder::MonthFirst},
        {"30-1-2", "1930/1/2"},
        {"29-1-2", "2029/1/2"},
        {"2005-13-1", "2005/1/13"},  // the other way round when the month cannot be one
        {"2005/13/1", "2005/1/13", DateOrder::MonthFirst},
        {"12/2005", "2005/12/1", DateOrder::MonthFirst},
        {"2005-12", "2005/12/1"},
        {"12/45", "1945/12/1"},
        {"Apr 2005", "2005/4/1"},
        {"2005 Apr 8:00", "2005/4/1 8:00:00"},
        {"Apr 45", "1945/4/1"},
        {"45 Apr 12", "1945/4/12"},
        {"13/40", ""},
        {"0.5", ""},
        {"Apr 0", ""},
        {"2004-2-29", "2004/2/29"},
        {"2005-2-29", ""},
        {"2005-13-40", ""},
        {"24:00", ""},
        {"12:60", ""},
        {"1:2:3:4", ""},
        {"12:", ""},
        {":12", ""},
        {"5", ""},
        {"", ""},
        {"abc", ""},
        {"2005-4-12x", ""},
        {"99999-1-1", ""},
        {"1:00 PM AM", ""},
    };
    for (const Case& c : kCases) {
        const auto date = ParseDate(FromUtf8(c.text), c.order);
        EXPECT_EQ(date ? Shown(Value(*date)) : "", c.date) << c.text;
    }
}

TEST(ReadNumber, Forms) {
    struct Case {
        const char* text;
        std::optional<double> number;
    };
    const Case kCases[] = {
        {"72", 72},    {" -1.5 ", -1.5}, {"+3", 3},      {"1,234,567.5", 1234567.5},
        {"1e3", 1000}, {"1E-2", 0.01},   {".5", 0.5},    {"5.", 5},
        {"1d2", 100},  {"&H1F", 31},     {"&hFFFF", -1}, {"&O17", 15},
        {"1e-999", 0}, {"", {}},         {".", {}},      {"-", {}},
        {"1e", {}},    {"1e+", {}},      {"--1", {}},    {"+b", {}},
        {"+-1", {}},   {"1.2.3", {}},    {"12a", {}},    {"1 2", {}},
        {"&H", {}},    {"&HG", {}},      {",1", {}},     {"0x10", {}},
        {"nan", {}},   {"inf", {}},
    };
    for (const Case& c : kCases) EXPECT_EQ(ParseNumber(FromUtf8(c.text)), c.number) << c.text;
}

TEST(ToWholeNumbers, RoundHalfToEven) {
    EXPECT_EQ(ToInteger(Value(0.5)), 0);
    EXPECT_EQ(ToInteger(Value(1.5)), 2);
    EXPECT_EQ(ToLong(Value(-2.5)), -2);
    EXPECT_EQ(ToLong(Value(u"2.5")), 2);
    EXPECT_EQ(ToInteger(Value(32767.4)), 32767);
    EXPECT_EQ(ToLong(Value(-2147483648.5)), INT32_MIN);
    EXPECT_EQ(ToInteger(Value(true)), -1);
    EXPECT_EQ(ToByte(Value(true)), 255);
    EXPECT_EQ(ToCurrency(Value(0.00005)).scaled, 0);
    EXPECT_EQ(ToCurrency(Value(u"1.00015")).scaled, 10002);
}

TEST(ToWholeNumbers, Errors) {
    EXPECT_EQ(ErrorOf([] { ToInteger(Value(32767.5)); }), 6);
    EXPECT_EQ(ErrorOf([] { ToInteger(Value(std::int32_t{32768})); }), 6);
    EXPECT_EQ(ErrorOf([] { ToLong(Value(2147483647.5)); }), 6);
    EXPECT_EQ(ErrorOf([] { ToByte(Value(-1.0)); }), 6);
    EXPECT_EQ(ErrorOf([] { ToSingle(Value(1e39)); }), 6);
    EXPECT_EQ(ErrorOf([] { ToDouble(Value(u"1e999")); }), 6);
    EXPECT_EQ(ErrorOf([] { ToCurrency(Value(1e15)); }), 6);
    EXPECT_EQ(ErrorOf([] { ToDate(Value(3e6)); }), 6);
    for (const double days : {1e300, -1e300, kLastDate, std::nan("")}) {  // a damaged file holds anything
        EXPECT_EQ(ErrorOf([&] { ToDate(Value(Date{days})); }), 6);
        EXPECT_EQ(ErrorOf([&] { ToText(Value(Date{days})); }), 6);
    }
    EXPECT_EQ(ErrorOf([] { ToDecimal(Value(1e29)); }), 6);
    EXPECT_EQ(ErrorOf([] { ToLong(Value(u"x")); }), 13);
    for (const char16_t* word : {u"True", u"False", u" true "}) {  // nothing but a Boolean takes them
        EXPECT_EQ(ErrorOf([&] { ToInteger(Value(word)); }), 13);
        EXPECT_EQ(ErrorOf([&] { ToDouble(Value(word)); }), 13);
        EXPECT_EQ(ErrorOf([&] { ToDecimal(Value(word)); }), 13);
        EXPECT_EQ(ToBoolean(Value(word)), std::u16string_view(word) != u"False");
    }
    EXPECT_EQ(ErrorOf([] { ToBoolean(Value(u"yes")); }), 13);
    EXPECT_EQ(ErrorOf([] { ToLong(Value(u"")); }), 13);
    EXPECT_EQ(ErrorOf([] { ToDate(Value(u"x")); }), 13);
    EXPECT_EQ(ErrorOf([] { ToDouble(Value(Bytes{1})); }), 13);
    EXPECT_EQ(ErrorOf([] { ToLong(Value(Null{})); }), 94);
    EXPECT_EQ(ErrorOf([] { ToText(Value(Null{})); }), 94);
}

TEST(Decimals, AreExact) {
    const auto decimal = [](const char16_t* text) { return ToDecimal(Value(text)); };
    EXPECT_EQ(Shown(Value(decimal(u"79228162514264337593543950335"))), "79228162514264337593543950335");
    EXPECT_EQ(Shown(Value(decimal(u"-0.0000000000000000000000000001"))), "-0.0000000000000000000000000001");
    EXPECT_EQ(Shown(Value(decimal(u"1.5e3"))), "1500");
    EXPECT_EQ(ErrorOf([&] { decimal(u"79228162514264337593543950336"); }), 6);
    EXPECT_EQ(Shown(Value(Rescale(decimal(u"1.005"), 2))), "1");  // half to even
    EXPECT_EQ(Shown(Value(Rescale(decimal(u"1.0150001"), 2))), "1.02");
    EXPECT_EQ(Shown(Value(Rescale(decimal(u"-1.015"), 2))), "-1.02");
    EXPECT_EQ(ErrorOf([&] { Rescale(decimal(u"79228162514264337593543950335"), 1); }), 6);
    EXPECT_EQ(ToDouble(Value(decimal(u"12.5"))), 12.5);
    EXPECT_EQ(ToCurrency(Value(decimal(u"-12.5"))).scaled, -125000);
}

TEST(Convert, KeepsWhatItCan) {
    EXPECT_EQ(qmtrain::Convert(Value(u"12"), Value::Type::Long), Value(std::int32_t{12}));
    EXPECT_EQ(qmtrain::Convert(Value(std::int32_t{12}), Value::Type::Text), Value(u"12"));
    EXPECT_EQ(qmtrain::Convert(Value(), Value::Type::Text), Value(u""));
    EXPECT_EQ(qmtrain::Convert(Value(u"True"), Value::Type::Boolean), Value(true));
    EXPECT_EQ(qmtrain::Convert(Value(u"2005-4-12"), Value::Type::Date), Value(Date{38454}));
    EXPECT_TRUE(IsNumeric(Value()));
    EXPECT_FALSE(IsNumeric(Value(Date{1})));
    EXPECT_FALSE(IsNumeric(Value(Null{})));
    EXPECT_FALSE(IsDate(Value(38454.0)));
}

}  // namespace
}  // namespace qmtrain
