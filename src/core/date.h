// Date and time as the databases hold them.
#pragma once

#include <compare>
#include <cstdint>

namespace qmtrain {

// Days since 1899-12-30 00:00, local time. The fraction is the time of day and counts forward from the start of the
// day also before that date: -1.25 is 1899-12-29 06:00.
struct Date {
    double days = 0;
    auto operator<=>(const Date&) const = default;
};

// The range that Jet and automation accept: 100-01-01 to the end of 9999-12-31.
inline constexpr double kFirstDate = -657434.0;
inline constexpr double kLastDate = 2958466.0;  // exclusive

struct CivilTime {
    int year = 1899;
    int month = 12;
    int day = 30;
    int hour = 0;
    int minute = 0;
    int second = 0;
    bool operator==(const CivilTime&) const = default;
};

// Broken down after rounding to the nearest second. Requires: a finite date inside the range above.
CivilTime ToCivil(Date date);

// Month and day may lie outside their usual range and carry over, as in Visual Basic's DateSerial; the year counts as
// given. The result may lie outside the range above.
Date FromCivil(const CivilTime& time);

// Whole seconds from one to the other, each rounded to the nearest second first.
std::int64_t SecondsBetween(Date from, Date to);

// The local clock, to the second.
Date Now();

}  // namespace qmtrain
