#include "exchange/html_lists.h"

#include <algorithm>
#include <cstdlib>

#include "core/convert.h"
#include "core/text.h"
#include "exchange/question.h"

namespace qmtrain::exchange {
namespace {

constexpr std::u16string_view kDot = u"•";
constexpr std::u16string_view kMarkerStyle = u"list-style-type:";
constexpr std::size_t kLongestMarker = 16;
constexpr double kMostStart = 99'999'999;

std::optional<std::int32_t> WholeNumber(const std::optional<std::u16string>& text) {
    if (!text) return std::nullopt;
    const std::optional<double> number = ParseNumber(Trimmed(*text));
    if (!number || *number != static_cast<double>(static_cast<std::int64_t>(*number))) return std::nullopt;
    if (*number < -kMostStart || *number > kMostStart) return std::nullopt;
    return static_cast<std::int32_t>(*number);
}

// The value of list-style-type among the declarations of a style; empty when it is not there.
std::u16string_view MarkerIn(std::u16string_view style) {
    const std::u16string small = ToLower(style);
    const std::size_t at = small.find(kMarkerStyle);
    if (at == std::u16string::npos) return {};
    const std::u16string_view rest = style.substr(at + kMarkerStyle.size());
    return Trimmed(rest.substr(0, rest.find(u';')));
}

// Of these a style can be written and read by anybody.
bool IsMarker(std::u16string_view text) {
    return text.size() <= kLongestMarker && std::none_of(text.begin(), text.end(), [](char16_t unit) {
               return unit < u' ' || std::u16string_view(u"'\"\\;<>&").find(unit) != std::u16string_view::npos;
           });
}

// What a style makes of the kind that the elements say.
void ReadMarker(const std::optional<std::u16string>& style, std::optional<Numbering>& numbering,
                std::u16string& marker) {
    const std::u16string_view value = style ? MarkerIn(*style) : std::u16string_view();
    if (value.empty()) return;
    if (const auto called = NumberingCalled(value)) {
        numbering = called;
    } else if (const char16_t quote = value.front();
               value.size() > 1 && (quote == u'"' || quote == u'\'') && value.ends_with(quote)) {
        const std::u16string_view text = Trimmed(value.substr(1, value.size() - 2));
        numbering.reset();
        if (IsMarker(text)) marker = text;
    } else if (const std::u16string word = ToLower(value); word == u"none") {
        numbering.reset();
        marker.clear();
    } else if (word == u"disc" || word == u"circle" || word == u"square") {
        numbering.reset();
        marker = kDot;
    }
}

}  // namespace

void OpenLists::Open(bool numbered, const Attributes& attributes) {
    List list;
    list.marker = kDot;
    if (numbered) {
        list.numbering = NumberingCalled(attributes("type").value_or(u"")).value_or(Numbering::Decimal);
        const std::optional<std::int32_t> start = WholeNumber(attributes("start"));
        list.next = start.value_or(1);
        if (attributes("reversed")) {
            list.step = start ? -1 : 1;
            lost_reversed_numbering_ = lost_reversed_numbering_ || !start;
        }
    }
    ReadMarker(attributes("style"), list.numbering, list.marker);
    lists_.push_back(std::move(list));
}

void OpenLists::Close() {
    if (!lists_.empty()) lists_.pop_back();
}

int OpenLists::Level() const {
    return std::clamp(static_cast<int>(lists_.size()), 1, kDeepestList);
}

std::u16string OpenLists::NextBullet(const Attributes& attributes) {
    if (lists_.empty()) return std::u16string(kDot);
    List& list = lists_.back();
    if (const auto value = WholeNumber(attributes("value"))) list.next = *value;
    std::optional<Numbering> numbering = list.numbering;
    std::u16string marker = list.marker;
    if (numbering) numbering = NumberingCalled(attributes("type").value_or(u"")).value_or(*numbering);
    ReadMarker(attributes("style"), numbering, marker);
    const std::int32_t number = list.next;
    list.next += list.step;
    return numbering ? BulletOf({*numbering, number}) : marker;
}

void ListTags::CloseTo(std::size_t level) {
    for (; lists_.size() > level; lists_.pop_back()) out_ += lists_.back().numbered ? u"</li></ol>" : u"</li></ul>";
}

void ListTags::BeginItem(std::size_t level, std::u16string_view bullet, std::u16string_view style) {
    CloseTo(level);
    const std::optional<ItemNumber> number =
        ItemNumberOf(bullet, lists_.size() == level ? lists_.back().last : std::optional<ItemNumber>());
    if (lists_.size() == level) {
        const List& list = lists_.back();
        const bool goes_on = number && list.last ? *number == ItemNumber{list.last->numbering, list.last->number + 1}
                                                 : !number && !list.numbered;
        if (goes_on) {
            out_ += u"</li>";
        } else {
            CloseTo(level - 1);
        }
    }
    if (lists_.size() < level) {
        out_ += number ? u"<ol" : u"<ul";
        if (number && number->numbering != Numbering::Decimal) {
            out_.append(u" type=\"").append(1, TypeOf(number->numbering)).append(u"\"");
        }
        if (number && number->number != 1) out_.append(u" start=\"").append(ToText(number->number)).append(u"\"");
        out_ += u'>';
        lists_.push_back({number.has_value(), {}});
    }
    lists_.back().last = number;
    std::u16string item_style;
    if (!number && bullet != kDot && IsMarker(bullet)) {
        item_style.append(kMarkerStyle).append(u" '").append(bullet).append(u" '");
    }
    if (!style.empty()) item_style.append(item_style.empty() ? u"" : u"; ").append(style);
    out_ += u"<li";
    if (!item_style.empty()) out_.append(u" style=\"").append(item_style).append(u"\"");
    out_ += u'>';
}

}  // namespace qmtrain::exchange
