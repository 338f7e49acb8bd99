// Functions of dates.
#include <algorithm>
#include <array>
#include <cmath>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "sql/expressions/functions.h"

namespace qmtrain::sql {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

enum class Interval : std::uint8_t { Year, Quarter, Month, DayOfYear, Day, Weekday, Week, Hour, Minute, Second };

Interval IntervalOf(const Value& value) {
    constexpr std::array<std::u16string_view, 10> kNames = {u"yyyy", u"q",  u"m", u"y", u"d",
                                                            u"w",    u"ww", u"h", u"n", u"s"};
    const std::u16string name = ToText(value);
    for (std::size_t i = 0; i < kNames.size(); ++i) {
        if (EqualNames(name, kNames[i])) return static_cast<Interval>(i);
    }
    Raise(ErrorNumber::InvalidProcedureCall, {name});
}

void SetDate(Date date, Value& result) {
    if (date.days <= kFirstDate - 1 || date.days >= kLastDate) Raise(ErrorNumber::InvalidProcedureCall);
    result = date;
}

CivilTime Civil(const Value& value) {
    return ToCivil(ToDate(value));
}

// Days and seconds counted straight on, also before day 0.
std::int64_t DayNumber(const CivilTime& time) {
    return static_cast<std::int64_t>(FromCivil({time.year, time.month, time.day, 0, 0, 0}).days);
}

std::int64_t SecondNumber(const CivilTime& time) {
    return DayNumber(time) * kSecondsPerDay + time.hour * std::int64_t{3600} + time.minute * std::int64_t{60} +
           time.second;
}

std::int64_t FloorDivide(std::int64_t a, std::int64_t b) {
    return a / b - (a % b < 0 ? 1 : 0);
}

// 0 for the first day of the week; `first_day` is 1 for Sunday.
std::int64_t DayInWeek(std::int64_t day, std::int64_t first_day) {
    const std::int64_t shifted = day + 6 - (first_day - 1);  // day 0 was a Saturday
    return shifted - FloorDivide(shifted, 7) * 7;
}

std::int64_t FirstDayOfWeek(Arguments a, std::size_t place) {
    const std::int32_t first = a.size() > place ? ToLong(*a[place]) : 1;
    if (first < 0 || first > 7) Raise(ErrorNumber::InvalidProcedureCall);
    return first == 0 ? 1 : first;
}

Value Today() {
    return Date{std::floor(Now().days)};
}

void CurrentDate(Arguments, Value& result) {
    result = Today();
}

void CurrentTime(Arguments, Value& result) {
    const Date now = Now();
    result = Date{now.days - std::floor(now.days)};
}

void CurrentMoment(Arguments, Value& result) {
    result = Now();
}

template <int CivilTime::*part>
void Part(Arguments a, Value& result) {
    result = static_cast<std::int16_t>(Civil(*a[0]).*part);
}

void Weekday(Arguments a, Value& result) {
    const std::int64_t day = DayInWeek(DayNumber(Civil(*a[0])), FirstDayOfWeek(a, 1));
    result = static_cast<std::int16_t>(day + 1);
}

// A day that the month does not have becomes its last one.
Date AddMonths(CivilTime time, std::int64_t months) {
    const std::int64_t total = time.year * std::int64_t{12} + time.month - 1 + months;
    if (total < 1200 || total >= 120000) Raise(ErrorNumber::InvalidProcedureCall);
    time.year = static_cast<int>(total / 12);
    time.month = static_cast<int>(total % 12) + 1;
    const CivilTime last = ToCivil(FromCivil({time.year, time.month + 1, 0, 0, 0, 0}));
    time.day = std::min(time.day, last.day);
    return FromCivil(time);
}

Date AddSeconds(const CivilTime& time, std::int64_t seconds) {
    const std::int64_t total = SecondNumber(time) + seconds;
    const std::int64_t day = FloorDivide(total, kSecondsPerDay);
    const double fraction = static_cast<double>(total - day * kSecondsPerDay) / kSecondsPerDay;
    return Date{static_cast<double>(day) + (day < 0 ? -fraction : fraction)};
}

void AddInterval(Arguments a, Value& result) {
    const std::int64_t count = ToLong(*a[1]);
    const CivilTime time = Civil(*a[2]);
    switch (IntervalOf(*a[0])) {
        case Interval::Year: return SetDate(AddMonths(time, count * 12), result);
        case Interval::Quarter: return SetDate(AddMonths(time, count * 3), result);
        case Interval::Month: return SetDate(AddMonths(time, count), result);
        case Interval::Week: return SetDate(AddSeconds(time, count * 7 * kSecondsPerDay), result);
        case Interval::Hour: return SetDate(AddSeconds(time, count * 3600), result);
        case Interval::Minute: return SetDate(AddSeconds(time, count * 60), result);
        case Interval::Second: return SetDate(AddSeconds(time, count), result);
        default: return SetDate(AddSeconds(time, count * kSecondsPerDay), result);
    }
}

// How many times a boundary of the interval lies between the two; for weekdays, how many whole weeks.
std::int64_t Difference(Interval interval, const CivilTime& from, const CivilTime& to, std::int64_t first_day) {
    const std::int64_t months = (to.year - from.year) * std::int64_t{12} + to.month - from.month;
    const std::int64_t days = DayNumber(to) - DayNumber(from);
    switch (interval) {
        case Interval::Year: return to.year - from.year;
        case Interval::Quarter:
            return (to.year - from.year) * std::int64_t{4} + (to.month - 1) / 3 - (from.month - 1) / 3;
        case Interval::Month: return months;
        case Interval::Weekday: return days / 7;
        case Interval::Week:
            return (days - DayInWeek(DayNumber(to), first_day) + DayInWeek(DayNumber(from), first_day)) / 7;
        case Interval::Hour: return FloorDivide(SecondNumber(to), 3600) - FloorDivide(SecondNumber(from), 3600);
        case Interval::Minute: return FloorDivide(SecondNumber(to), 60) - FloorDivide(SecondNumber(from), 60);
        case Interval::Second: return SecondNumber(to) - SecondNumber(from);
        default: return days;
    }
}

void DifferenceOf(Arguments a, Value& result) {
    const std::int64_t count = Difference(IntervalOf(*a[0]), Civil(*a[1]), Civil(*a[2]), FirstDayOfWeek(a, 3));
    result = ToLong(Value(static_cast<double>(count)));
}

std::int64_t PartOf(Interval interval, const CivilTime& time, std::int64_t first_day) {
    const std::int64_t year_day = DayNumber(time) - DayNumber({time.year, 1, 1, 0, 0, 0});
    switch (interval) {
        case Interval::Year: return time.year;
        case Interval::Quarter: return (time.month + 2) / 3;
        case Interval::Month: return time.month;
        case Interval::DayOfYear: return year_day + 1;
        case Interval::Day: return time.day;
        case Interval::Weekday: return DayInWeek(DayNumber(time), first_day) + 1;
        // The week that January 1 falls in is the first.
        case Interval::Week: return (year_day + DayInWeek(DayNumber({time.year, 1, 1, 0, 0, 0}), first_day)) / 7 + 1;
        case Interval::Hour: return time.hour;
        case Interval::Minute: return time.minute;
        case Interval::Second: return time.second;
    }
    return 0;
}

void DatePart(Arguments a, Value& result) {
    result = static_cast<std::int16_t>(PartOf(IntervalOf(*a[0]), Civil(*a[1]), FirstDayOfWeek(a, 2)));
}

void MakeDate(Arguments a, Value& result) {
    int year = ToInteger(*a[0]);
    if (year >= 0 && year < 100) year += year < 30 ? 2000 : 1900;
    SetDate(FromCivil({year, ToInteger(*a[1]), ToInteger(*a[2]), 0, 0, 0}), result);
}

void MakeTime(Arguments a, Value& result) {
    const std::int64_t seconds = ToInteger(*a[0]) * 3600LL + ToInteger(*a[1]) * 60LL + ToInteger(*a[2]);
    result = Date{static_cast<double>(seconds) / kSecondsPerDay};
}

void DateOnly(Arguments a, Value& result) {
    result = Date{std::trunc(ToDate(*a[0]).days)};
}

void TimeOnly(Arguments a, Value& result) {
    const double days = ToDate(*a[0]).days;
    result = Date{std::abs(days - std::trunc(days))};
}

using enum Value::Type;
constexpr Value::Type kDate = Value::Type::Date;

constexpr FunctionInfo kFunctions[] = {
    {u"DATE", 0, 0, kDate, false, CurrentDate},
    {u"TIME", 0, 0, kDate, false, CurrentTime},
    {u"NOW", 0, 0, kDate, false, CurrentMoment},
    {u"YEAR", 1, 1, Integer, false, Part<&CivilTime::year>},
    {u"MONTH", 1, 1, Integer, false, Part<&CivilTime::month>},
    {u"DAY", 1, 1, Integer, false, Part<&CivilTime::day>},
    {u"HOUR", 1, 1, Integer, false, Part<&CivilTime::hour>},
    {u"MINUTE", 1, 1, Integer, false, Part<&CivilTime::minute>},
    {u"SECOND", 1, 1, Integer, false, Part<&CivilTime::second>},
    {u"WEEKDAY", 1, 2, Integer, false, Weekday},
    {u"DATEADD", 3, 3, kDate, false, AddInterval},
    {u"DATEDIFF", 3, 5, Long, false, DifferenceOf},
    {u"DATEPART", 2, 4, Integer, false, DatePart},
    {u"DATESERIAL", 3, 3, kDate, false, MakeDate},
    {u"TIMESERIAL", 3, 3, kDate, false, MakeTime},
    {u"DATEVALUE", 1, 1, kDate, false, DateOnly},
    {u"TIMEVALUE", 1, 1, kDate, false, TimeOnly},
};

}  // namespace

std::span<const FunctionInfo> DateFunctions() {
    return kFunctions;
}

}  // namespace qmtrain::sql
