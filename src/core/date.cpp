#include "core/date.h"

#include <cmath>
#include <ctime>

namespace qmtrain {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
// Days from 1970-01-01 back to 1899-12-30.
constexpr std::int64_t kEpochOffset = 25569;

std::int64_t FloorDivide(std::int64_t a, std::int64_t b) {
    return a / b - (a % b < 0 ? 1 : 0);
}

// Days since 1970-01-01 in the Gregorian calendar carried backwards, counting years from March so that the leap day
// comes last. Not std::chrono's, whose years have 16 bits: here a year may be any number.
std::int64_t DaysFromCivil(std::int64_t year, int month, std::int64_t day) {
    if (month <= 2) --year;
    const std::int64_t era = FloorDivide(year, 400);
    const std::int64_t year_of_era = year - era * 400;
    const std::int64_t day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const std::int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
    return era * 146097 + day_of_era - 719468;
}

void SetCivilDay(std::int64_t days, CivilTime& time) {
    days += 719468;
    const std::int64_t era = FloorDivide(days, 146097);
    const std::int64_t day_of_era = days - era * 146097;
    const std::int64_t year_of_era = (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const std::int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const std::int64_t shifted_month = (5 * day_of_year + 2) / 153;
    time.day = static_cast<int>(day_of_year - (153 * shifted_month + 2) / 5 + 1);
    time.month = static_cast<int>(shifted_month < 10 ? shifted_month + 3 : shifted_month - 9);
    time.year = static_cast<int>(year_of_era + era * 400 + (time.month <= 2 ? 1 : 0));
}

// Seconds since 1899-12-30 00:00.
std::int64_t SecondNumber(Date date) {
    const double whole = std::trunc(date.days);
    const double fraction = std::abs(date.days - whole);
    const auto seconds = static_cast<std::int64_t>(std::floor(fraction * kSecondsPerDay + 0.5));
    return static_cast<std::int64_t>(whole) * kSecondsPerDay + seconds;
}

}  // namespace

CivilTime ToCivil(Date date) {
    const std::int64_t total = SecondNumber(date);
    CivilTime time;
    const std::int64_t day = FloorDivide(total, kSecondsPerDay);
    const auto rest = static_cast<int>(total - day * kSecondsPerDay);
    SetCivilDay(day - kEpochOffset, time);
    time.hour = rest / 3600;
    time.minute = rest / 60 % 60;
    time.second = rest % 60;
    return time;
}

Date FromCivil(const CivilTime& time) {
    const std::int64_t months = static_cast<std::int64_t>(time.year) * 12 + time.month - 1;
    const std::int64_t year = FloorDivide(months, 12);
    const int month = static_cast<int>(months - year * 12) + 1;
    const std::int64_t days = DaysFromCivil(year, month, time.day) + kEpochOffset;
    const std::int64_t total =
        days * kSecondsPerDay + time.hour * std::int64_t{3600} + time.minute * std::int64_t{60} + time.second;

    const std::int64_t day = FloorDivide(total, kSecondsPerDay);
    const double fraction = static_cast<double>(total - day * kSecondsPerDay) / kSecondsPerDay;
    return Date{static_cast<double>(day) + (day < 0 ? -fraction : fraction)};
}

std::int64_t SecondsBetween(Date from, Date to) {
    return SecondNumber(to) - SecondNumber(from);
}

Date Now() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    return FromCivil({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                      local.tm_sec < 60 ? local.tm_sec : 59});
}

}  // namespace qmtrain
