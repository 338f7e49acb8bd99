// Reading a date and time from text.
#include <array>
#include <string>
#include <vector>

#include "core/convert.h"
#include "core/text.h"

namespace qmtrain {
namespace {

enum class Half : std::uint8_t { None, Morning, Afternoon };

// The pieces of a text: up to three numbers of the date, up to three of the time.
struct Pieces {
    std::vector<std::int64_t> date;
    std::vector<std::int64_t> time;
    std::vector<int> date_digits;  // how many digits each number of the date was written with
    int month_name = 0;
    std::size_t month_place = 0;  // numbers of the date that stood before the month's name
    Half half = Half::None;
};

constexpr std::array<std::u16string_view, 12> kMonths = {u"JANUARY",   u"FEBRUARY", u"MARCH",    u"APRIL",
                                                         u"MAY",       u"JUNE",     u"JULY",     u"AUGUST",
                                                         u"SEPTEMBER", u"OCTOBER",  u"NOVEMBER", u"DECEMBER"};

int MonthByName(std::u16string_view word) {
    if (word.size() < 3) return 0;
    for (std::size_t i = 0; i < kMonths.size(); ++i) {
        if (kMonths[i].starts_with(word)) return static_cast<int>(i) + 1;
    }
    return 0;
}

bool IsDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

bool IsLetter(char16_t unit) {
    return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

class DateReader {
public:
    DateReader(std::u16string_view text, DateOrder order) : text_(text), order_(order) {}

    std::optional<Date> Read() {
        while (position_ < text_.size()) {
            const char16_t unit = text_[position_];
            const bool taken = IsDigit(unit) ? TakeNumber() : IsLetter(unit) ? TakeWord() : TakeMark();
            if (!taken) return std::nullopt;
        }
        return Assemble();
    }

private:
    bool TakeNumber() {
        std::int64_t number = 0;
        int digits = 0;
        for (; position_ < text_.size() && IsDigit(text_[position_]); ++position_) {
            number = number * 10 + (text_[position_] - u'0');
            if (++digits > 4) return false;
        }
        const char16_t next = position_ < text_.size() ? text_[position_] : u'\0';
        const bool time = next == u':' || next == u'时' || next == u'分' || next == u'秒' || next == u'：' ||
                          after_colon_ || FollowedByHalf();
        after_colon_ = false;
        if (time) {
            pieces_.time.push_back(number);
            return pieces_.time.size() <= 3;
        }
        pieces_.date.push_back(number);
        pieces_.date_digits.push_back(digits);
        return pieces_.date.size() <= 3;
    }

    // "3 PM" is a time without any colon.
    bool FollowedByHalf() const {
        std::size_t i = position_;
        while (i < text_.size() && text_[i] == u' ') ++i;
        if (i + 1 >= text_.size()) return false;
        const char16_t first = ToUpper(text_[i]);
        const bool ends = i + 2 == text_.size() || !IsLetter(text_[i + 2]);
        return (first == u'A' || first == u'P') && ToUpper(text_[i + 1]) == u'M' && ends;
    }

    bool TakeWord() {
        const std::size_t first = position_;
        while (position_ < text_.size() && IsLetter(text_[position_])) ++position_;
        const std::u16string word = ToUpper(text_.substr(first, position_ - first));
        if (word == u"AM" || word == u"PM") return SetHalf(word == u"AM" ? Half::Morning : Half::Afternoon);
        // The "T" of "2005-04-12T12:00:00".
        if (word == u"T") return !pieces_.date.empty();
        if (pieces_.month_name != 0) return false;
        pieces_.month_name = MonthByName(word);
        pieces_.month_place = pieces_.date.size();
        return pieces_.month_name != 0;
    }

    bool TakeMark() {
        const std::u16string_view rest = text_.substr(position_);
        if (rest.starts_with(u"上午") || rest.starts_with(u"下午")) {
            position_ += 2;
            return SetHalf(rest.starts_with(u"上午") ? Half::Morning : Half::Afternoon);
        }
        const char16_t unit = text_[position_++];
        if (unit == u':' || unit == u'：') {
            // A colon stands between two numbers of the time.
            if (pieces_.time.empty() || after_colon_) return false;
            after_colon_ = true;
            return true;
        }
        constexpr std::u16string_view kSeparators = u" \u3000/-.,年月日时分秒";
        return kSeparators.find(unit) != std::u16string_view::npos;
    }

    bool SetHalf(Half half) {
        if (pieces_.half != Half::None) return false;
        pieces_.half = half;
        return true;
    }

    std::optional<Date> Assemble() {
        if (after_colon_ || (pieces_.date.empty() && pieces_.time.empty())) return std::nullopt;
        CivilTime time;
        const bool has_date = !pieces_.date.empty() || pieces_.month_name != 0;
        if (has_date && !SetDate(time)) return std::nullopt;
        if (!SetTime(time, has_date)) return std::nullopt;
        const Date date = FromCivil(time);
        if (date.days <= kFirstDate - 1 || date.days >= kLastDate) return std::nullopt;
        return date;
    }

    // Whether a number can only be the year, and the year that it stands for.
    bool IsYear(std::size_t i) const { return pieces_.date_digits[i] > 2 || pieces_.date[i] > 31; }
    std::int64_t Year(std::size_t i) const {
        return pieces_.date_digits[i] > 2 ? pieces_.date[i] : FullYear(pieces_.date[i]);
    }

    bool SetDate(CivilTime& time) const {
        if (pieces_.month_name != 0) return SetNamedDate(time);
        const auto& n = pieces_.date;
        if (n.size() == 2) {
            // A day of this year in either order, else a month of some year.
            const int this_year = ToCivil(Now()).year;
            return SetDay(time, this_year, n[0], n[1]) || SetDay(time, this_year, n[1], n[0]) ||
                   SetMonth(time, 0, n[1]) || SetMonth(time, 1, n[0]);
        }
        if (n.size() != 3) return false;
        // The month comes before the day unless it cannot be one.
        if (IsYear(0)) return SetDay(time, Year(0), n[1], n[2]) || SetDay(time, Year(0), n[2], n[1]);
        if (order_ == DateOrder::YearFirst && !IsYear(2) && SetDay(time, Year(0), n[1], n[2])) return true;
        return SetDay(time, Year(2), n[0], n[1]) || SetDay(time, Year(2), n[1], n[0]);
    }

    // The first day of a month; the year must have been written with more than a digit.
    bool SetMonth(CivilTime& time, std::size_t year, std::int64_t month) const {
        return pieces_.date_digits[year] > 1 && SetDay(time, Year(year), month, 1);
    }

    // "12 Apr 2005", "April 12, 2005", "12-Apr", "Apr 2005".
    bool SetNamedDate(CivilTime& time) const {
        const auto& n = pieces_.date;
        if (n.empty() || n.size() > 2) return false;
        if (n.size() == 1) {
            return (!IsYear(0) && SetDay(time, ToCivil(Now()).year, pieces_.month_name, n[0])) ||
                   SetMonth(time, 0, pieces_.month_name);
        }
        if (IsYear(0)) return SetDay(time, Year(0), pieces_.month_name, n[1]);
        return SetDay(time, Year(1), pieces_.month_name, n[0]);
    }

    static std::int64_t FullYear(std::int64_t year) {
        return year < 30 ? year + 2000 : year < 100 ? year + 1900 : year;
    }

    static bool SetDay(CivilTime& time, std::int64_t year, std::int64_t month, std::int64_t day) {
        if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31) return false;
        CivilTime wanted{static_cast<int>(year), static_cast<int>(month), static_cast<int>(day), 0, 0, 0};
        if (!(ToCivil(FromCivil(wanted)) == wanted)) return false;
        time = wanted;
        return true;
    }

    bool SetTime(CivilTime& time, bool has_date) {
        auto& n = pieces_.time;
        if (n.empty()) {
            if (!has_date) return false;
            time.hour = time.minute = time.second = 0;
            return pieces_.half == Half::None;
        }
        n.resize(3);
        if (pieces_.half != Half::None) {
            if (n[0] < 1 || n[0] > 12) return pieces_.half == Half::Afternoon && SetClock(time, n);
            n[0] = n[0] % 12 + (pieces_.half == Half::Afternoon ? 12 : 0);
        }
        return SetClock(time, n);
    }

    static bool SetClock(CivilTime& time, const std::vector<std::int64_t>& n) {
        if (n[0] > 23 || n[1] > 59 || n[2] > 59) return false;
        time.hour = static_cast<int>(n[0]);
        time.minute = static_cast<int>(n[1]);
        time.second = static_cast<int>(n[2]);
        return true;
    }

    std::u16string_view text_;
    DateOrder order_;
    std::size_t position_ = 0;
    bool after_colon_ = false;
    Pieces pieces_;
};

}  // namespace

std::optional<Date> ParseDate(std::u16string_view text, DateOrder order) {
    return DateReader(text, order).Read();
}

}  // namespace qmtrain
