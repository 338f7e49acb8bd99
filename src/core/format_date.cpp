#include <algorithm>
#include <array>
#include <cmath>

#include "core/convert.h"
#include "core/format_patterns.h"
#include "core/text.h"

namespace qmtrain {
namespace {

constexpr std::array<std::u16string_view, 7> kDayNames = {u"星期日", u"星期一", u"星期二", u"星期三",
                                                          u"星期四", u"星期五", u"星期六"};

int DayOfWeek(Date date) {
    const auto days = static_cast<std::int64_t>(std::floor(FromCivil(ToCivil(date)).days));
    return static_cast<int>(((days + 6) % 7 + 7) % 7);  // day 0 was a Saturday
}

int DayOfYear(const CivilTime& time) {
    const Date first = FromCivil({time.year, 1, 1, 0, 0, 0});
    const Date day = FromCivil({time.year, time.month, time.day, 0, 0, 0});
    return static_cast<int>(day.days - first.days) + 1;
}

class DateFormatter {
public:
    DateFormatter(Date date, std::u16string_view pattern) : date_(date), time_(ToCivil(date)), pattern_(pattern) {
        const std::u16string upper = ToUpper(pattern);
        twelve_hours_ = upper.find(u"AM/PM") != std::u16string::npos || upper.find(u"A/P") != std::u16string::npos;
    }

    std::u16string Run() {
        while (position_ < pattern_.size()) {
            const char16_t unit = pattern_[position_];
            if (unit == u'"')
                TakeQuoted();
            else if (unit == u'\\')
                TakeEscaped();
            else if (!TakeHalf())
                TakeLetters(ToLower(unit));
        }
        return out_;
    }

private:
    void TakeQuoted() {
        const std::size_t end = std::min(pattern_.find(u'"', position_ + 1), pattern_.size());
        out_ += pattern_.substr(position_ + 1, end - position_ - 1);
        position_ = std::min(end + 1, pattern_.size());
    }

    void TakeEscaped() {
        if (++position_ < pattern_.size()) out_ += pattern_[position_++];
    }

    bool TakeHalf() {
        const bool afternoon = time_.hour >= 12;
        if (EqualNames(pattern_.substr(position_, 5), u"AM/PM")) {
            const bool lower = pattern_[position_] == u'a';
            out_ += lower ? (afternoon ? u"pm" : u"am") : (afternoon ? u"PM" : u"AM");
            position_ += 5;
            return true;
        }
        if (EqualNames(pattern_.substr(position_, 3), u"A/P")) {
            const bool lower = pattern_[position_] == u'a';
            out_ += lower ? (afternoon ? u'p' : u'a') : (afternoon ? u'P' : u'A');
            position_ += 3;
            return true;
        }
        return false;
    }

    void TakeLetters(char16_t letter) {
        std::size_t count = 0;
        while (position_ + count < pattern_.size() && ToLower(pattern_[position_ + count]) == letter) ++count;
        constexpr std::u16string_view kLetters = u"ymdhnswqc";
        if (kLetters.find(letter) == std::u16string_view::npos) {
            out_ += pattern_[position_++];
            return;
        }
        position_ += count;
        // A month right after hours, or right before seconds, is minutes.
        if (letter == u'm' && count <= 2 && (after_hour_ || BeforeSeconds())) letter = u'n';
        after_hour_ = letter == u'h';
        Put(letter, count);
    }

    bool BeforeSeconds() const {
        std::size_t i = position_;
        while (i < pattern_.size() && (pattern_[i] == u':' || pattern_[i] == u' ')) ++i;
        return i < pattern_.size() && ToLower(pattern_[i]) == u's';
    }

    void Put(char16_t letter, std::size_t count) {
        const std::size_t width = std::min<std::size_t>(count, 2);
        switch (letter) {
            case u'y': PutYear(count); break;
            case u'm': PutMonth(count); break;
            case u'd': PutDay(count); break;
            case u'h': out_ += Padded(twelve_hours_ ? (time_.hour + 11) % 12 + 1 : time_.hour, width); break;
            case u'n': out_ += Padded(time_.minute, width); break;
            case u's': out_ += Padded(time_.second, width); break;
            case u'w':
                if (count == 1)
                    out_ += Padded(DayOfWeek(date_) + 1, 1);
                else
                    out_ += Padded((DayOfYear(time_) - DayOfWeek(date_) + 12) / 7, 1);
                break;
            case u'q': out_ += Padded((time_.month + 2) / 3, 1); break;
            default: out_ += ToText(Value(date_)); break;
        }
    }

    void PutYear(std::size_t count) {
        if (count == 1)
            out_ += Padded(DayOfYear(time_), 1);
        else if (count == 2)
            out_ += Padded(time_.year % 100, 2);
        else
            out_ += Padded(time_.year, 4);
    }

    void PutMonth(std::size_t count) {
        constexpr std::array<std::u16string_view, 12> kNames = {u"一月", u"二月", u"三月",   u"四月",
                                                                u"五月", u"六月", u"七月",   u"八月",
                                                                u"九月", u"十月", u"十一月", u"十二月"};
        if (count <= 2)
            out_ += Padded(time_.month, count);
        else
            out_ += kNames[time_.month - 1];
    }

    void PutDay(std::size_t count) {
        if (count <= 2)
            out_ += Padded(time_.day, count);
        else if (count <= 4)
            out_ += kDayNames[DayOfWeek(date_)];
        else
            out_ += Padded(time_.year, 1) + u"/" + Padded(time_.month, 1) + u"/" + Padded(time_.day, 1);
    }

    Date date_;
    CivilTime time_;
    std::u16string_view pattern_;
    std::size_t position_ = 0;
    bool twelve_hours_ = false;
    bool after_hour_ = false;
    std::u16string out_;
};

}  // namespace

std::u16string FormatDate(Date date, std::u16string_view pattern) {
    return DateFormatter(date, pattern).Run();
}

}  // namespace qmtrain
