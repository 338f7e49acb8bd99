#include "core/date.h"

#include <chrono>
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

// The day, since 1899-12-30, and the second of it that are nearest to a date.
struct DayAndSecond {
    std::int64_t day = 0;
    std::int64_t second = 0;
};
DayAndSecond Rounded(Date date) {
    DayAndSecond at{static_cast<std::int64_t>(date.days), 0};
    const double fraction = std::abs(date.days - static_cast<double>(at.day));
    at.second = static_cast<std::int64_t>(std::floor(fraction * kSecondsPerDay + 0.5));
    return at.second == kSecondsPerDay ? DayAndSecond{at.day + 1, 0} : at;
}

// Seconds since 1899-12-30 00:00.
std::int64_t SecondNumber(Date date) {
    const DayAndSecond at = Rounded(date);
    return at.day * kSecondsPerDay + at.second;
}

}  // namespace

CivilTime ToCivil(Date date) {
    const auto [day, second] = Rounded(date);
    const std::chrono::year_month_day civil{
        std::chrono::sys_days{std::chrono::days{static_cast<int>(day - kEpochOffset)}}};
    const auto rest = static_cast<int>(second);
    return {.year = static_cast<int>(civil.year()),
            .month = static_cast<int>(static_cast<unsigned>(civil.month())),
            .day = static_cast<int>(static_cast<unsigned>(civil.day())),
            .hour = rest / 3600,
            .minute = rest / 60 % 60,
            .second = rest % 60};
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
