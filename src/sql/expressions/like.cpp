#include "sql/expressions/like.h"

#include <algorithm>
#include <bit>
#include <compare>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/convert.h"
#include "core/error.h"
#include "core/finder.h"
#include "core/text.h"
#include "core/work.h"
#include "sql/expressions/make_expression.h"

namespace qmtrain::sql {
namespace {

// The long s is no s in the order of texts.
char16_t Fold(char16_t unit) {
    constexpr char16_t kLongS = 0x017F;
    if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 32) : unit;
    return unit == kLongS ? unit : ToUpper(unit);
}

char16_t UnitOf(char unit) {
    return static_cast<unsigned char>(unit);
}
char16_t UnitOf(char16_t unit) {
    return unit;
}

// Whether the unit is a letter that another program's order may know in one case only.
bool HasOddCase(char16_t unit) {
    return unit >= 0x80 && (ToUpper(unit) != unit || ToLower(unit) != unit);
}

// Letters of one set, folded.
class UnitSet {
public:
    // `text`: what stands between the brackets. False when a range runs backwards.
    bool Read(std::u16string_view text) {
        negated_ = text.size() > 1 && text.front() == u'!';
        if (negated_) text.remove_prefix(1);
        for (std::size_t i = 0; i < text.size(); ++i) {
            const bool range = i + 2 < text.size() && text[i + 1] == u'-';
            ranges_.emplace_back(Fold(text[i]), Fold(text[range ? i + 2 : i]));
            if (ranges_.back().second < ranges_.back().first) return false;
            if (range) i += 2;
        }
        Order();
        return true;
    }

    bool Has(char16_t folded) const {
        const auto after = std::ranges::upper_bound(ranges_, folded, {}, &Range::first);
        return (after != ranges_.begin() && folded <= std::prev(after)->second) != negated_;
    }

    // Calls `body` with each folded unit that it has.
    template <class Body>
    void ForEach(const Body& body) const {
        std::uint32_t next = 0;
        const auto to = [&](std::uint32_t end, bool has) {
            for (; has && next < end; ++next) body(static_cast<char16_t>(next));
            next = std::max(next, end);
        };
        for (const Range& range : ranges_) {
            to(range.first, negated_);
            to(std::uint32_t{range.second} + 1, !negated_);
        }
        if (negated_) to(0x10000, true);
    }

    auto operator<=>(const UnitSet&) const = default;

private:
    using Range = std::pair<char16_t, char16_t>;

    // None begins before the end of another one.
    void Order() {
        std::ranges::sort(ranges_);
        std::size_t count = 0;
        for (const Range& range : ranges_) {
            if (count > 0 && range.first <= ranges_[count - 1].second) {
                ranges_[count - 1].second = std::max(ranges_[count - 1].second, range.second);
            } else {
                ranges_[count++] = range;
            }
        }
        ranges_.resize(count);
    }

    bool negated_ = false;
    std::vector<Range> ranges_;
};

// A parsed pattern: its runs between the "*" are looked for one after the other. The earliest place is always good
// enough, for it leaves most of the text to the runs that follow.
class Pattern {
public:
    // Raises SyntaxInExpression.
    explicit Pattern(std::u16string_view pattern) : runs_(1) {
        std::map<UnitSet, Element> known;
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            const char16_t sign = pattern[i];
            if (sign == u'*') {
                runs_.emplace_back();
            } else if (sign == u'[') {
                const std::size_t end = pattern.find(u']', i);
                UnitSet set;
                if (end == pattern.npos || !set.Read(pattern.substr(i + 1, end - i - 1))) {
                    Raise(ErrorNumber::SyntaxInExpression, {pattern});
                }
                if (end > i + 1) AddSet(std::move(set), known);  // "[]" stands for nothing
                i = end;
            } else if (sign == u'#') {
                UnitSet digits;
                digits.Read(u"0-9");
                AddSet(std::move(digits), known);
            } else {
                runs_.back().elements.push_back(sign == u'?' ? kAny : Fold(sign));
            }
        }
        for (Run& run : runs_) Prepare(run);
    }

    // A narrow text has a byte for each of its units.
    template <class Unit>
    bool Matches(std::basic_string_view<Unit> text) const {
        const Run& first = runs_.front();
        const Run& last = runs_.back();
        if (runs_.size() == 1) return text.size() == first.Size() && StandsAt(first, text, 0);
        if (text.size() < first.Size() + last.Size() || !StandsAt(first, text, 0)) return false;
        const std::basic_string_view<Unit> before_last = text.substr(0, text.size() - last.Size());
        std::size_t at = first.Size();
        for (std::size_t i = 1; i + 1 < runs_.size(); ++i) {
            at = FindRun(runs_[i], before_last, at);
            if (at == Finder::kNowhere) return false;
            at += runs_[i].Size();
        }
        return StandsAt(last, text, before_last.size());
    }

private:
    // A folded unit, or one of these; from kFirstSet on a set by its number.
    using Element = std::uint32_t;
    static constexpr Element kAny = 0x10000;
    static constexpr Element kFirstSet = 0x10001;

    struct Run {
        std::vector<Element> elements;  // without "?" at the ends
        std::size_t any_before = 0;
        std::size_t any_after = 0;
        bool plain = true;             // letters only
        std::optional<Finder> finder;  // of a long plain one

        std::size_t Size() const { return any_before + elements.size() + any_after; }
    };

    // From this length on it matters that no place is compared whole.
    static constexpr std::size_t kLongPlain = 16;
    static constexpr std::size_t kLong = 64;

    void AddSet(UnitSet set, std::map<UnitSet, Element>& known) {
        const auto [place, added] = known.try_emplace(set, kFirstSet + static_cast<Element>(sets_.size()));
        if (added) sets_.push_back(std::move(set));
        runs_.back().elements.push_back(place->second);
    }

    static void Prepare(Run& run) {
        const auto is_sign = [](Element element) { return element != kAny; };
        const auto begin = std::ranges::find_if(run.elements, is_sign);
        run.any_before = static_cast<std::size_t>(begin - run.elements.begin());
        run.elements.erase(run.elements.begin(), begin);
        for (; !run.elements.empty() && run.elements.back() == kAny; ++run.any_after) run.elements.pop_back();
        run.plain = std::ranges::all_of(run.elements, [](Element element) { return element < kAny; });
        if (run.plain && run.elements.size() > kLongPlain) {
            run.finder.emplace(std::u16string(run.elements.begin(), run.elements.end()));
        }
    }

    bool Fits(Element element, char16_t unit) const {
        if (element < kAny) return unit == element || Fold(unit) == element;
        return element == kAny || sets_[element - kFirstSet].Has(Fold(unit));
    }

    // Requires: there is room for it.
    template <class Unit>
    bool StandsAt(const Run& run, std::basic_string_view<Unit> text, std::size_t at) const {
        at += run.any_before;
        for (std::size_t i = 0; i < run.elements.size(); ++i) {
            if (!Fits(run.elements[i], UnitOf(text[at + i]))) return false;
        }
        return true;
    }

    std::size_t FindRun(const Run& run, std::u16string_view text, std::size_t at) const {
        if (text.size() < at + run.Size()) return Finder::kNowhere;
        const std::size_t end = text.size() - run.Size() + 1;
        if (run.finder) {
            const std::size_t found = run.finder->In(text, at + run.any_before, Fold);
            return found == Finder::kNowhere || found - run.any_before >= end ? Finder::kNowhere
                                                                              : found - run.any_before;
        }
        if (run.elements.size() > kLong && end - at > kLong) return FindAtOnce(run, text, at);
        WorkSteps steps;
        for (; at < end; ++at) {
            if (StandsAt(run, text, at)) return at;
            steps.Next();
        }
        return Finder::kNowhere;
    }

    // A narrow text is short: it stands on one page.
    std::size_t FindRun(const Run& run, std::string_view text, std::size_t at) const {
        const Element first = run.elements.empty() ? kAny : run.elements.front();
        const bool has_case = first >= 0x80 || ToLower(static_cast<char16_t>(first)) != first;
        while (at + run.Size() <= text.size()) {
            if (!has_case) {
                at = text.find(static_cast<char>(first), at + run.any_before);
                if (at == text.npos) break;
                at -= run.any_before;
                if (at + run.Size() > text.size()) break;
            }
            if (StandsAt(run, text, at)) return at;
            ++at;
        }
        return Finder::kNowhere;
    }

    // Tries many places of the text at once, a bit for each: element after element those are struck out where it does
    // not fit. What is left is found.
    std::size_t FindAtOnce(const Run& run, std::u16string_view text, std::size_t from) const {
        const Kinds kinds = KindsOf(run);
        const std::size_t end = text.size() - run.Size() + 1;
        const std::size_t most = std::max(4 * run.Size(), std::size_t{1} << 20);
        std::size_t step = 4 * run.Size();
        for (; from < end; from += step, step = std::min(2 * step, most)) {
            const std::size_t count = std::min(step, end - from);
            const std::u16string_view part = text.substr(from + run.any_before, count + run.elements.size() - 1);
            std::vector<std::uint64_t> places((count + 63) / 64, ~std::uint64_t{0});
            if (count % 64 != 0) places.back() >>= 64 - count % 64;
            bool left = true;
            for (std::size_t first = 0; left && first < kinds.elements.size(); first += kBatch) {
                const Fitting fitting = WhereKindsFit(UnitsOf(kinds, first), part);
                for (std::size_t i = 0; left && i < run.elements.size(); ++i) {
                    if (i % kLong == 0) Work::Look();
                    const std::size_t kind = kinds.numbers[i] - first;  // those before are very large
                    if (kind < fitting.size()) left = StrikeOut(places, fitting[kind], i);
                }
            }
            if (!left) continue;
            std::size_t word = 0;
            while (places[word] == 0) ++word;
            return from + 64 * word + static_cast<std::size_t>(std::countr_zero(places[word]));
        }
        return Finder::kNowhere;
    }

    // The different elements of a run.
    struct Kinds {
        std::vector<Element> elements;
        std::vector<std::size_t> numbers;  // by place in the run; none for "?"
    };
    static constexpr std::size_t kBatch = 64;  // as many as a unit has bits
    static constexpr std::size_t kNoKind = SIZE_MAX;

    static Kinds KindsOf(const Run& run) {
        Kinds kinds;
        std::unordered_map<Element, std::size_t> known{{kAny, kNoKind}};
        for (const Element element : run.elements) {
            const auto [place, added] = known.try_emplace(element, kinds.elements.size());
            if (added) kinds.elements.push_back(element);
            kinds.numbers.push_back(place->second);
        }
        return kinds;
    }

    // By folded unit: which of a batch of kinds it fits, with a bit for each.
    struct Units {
        std::size_t count = 0;
        std::vector<std::uint64_t> kinds;
    };

    Units UnitsOf(const Kinds& kinds, std::size_t first) const {
        Units units{std::min(kBatch, kinds.elements.size() - first), std::vector<std::uint64_t>(kAny)};
        for (std::size_t i = 0; i < units.count; ++i) {
            const Element element = kinds.elements[first + i];
            const std::uint64_t bit = std::uint64_t{1} << i;
            if (element < kAny) units.kinds[element] |= bit;
            if (element >= kFirstSet) {
                sets_[element - kFirstSet].ForEach([&](char16_t unit) { units.kinds[unit] |= bit; });
            }
        }
        return units;
    }

    // For each kind a bit for each unit of the text, with spare words at the end, which a shifted reader looks at.
    using Fitting = std::vector<std::vector<std::uint64_t>>;

    static Fitting WhereKindsFit(const Units& units, std::u16string_view text) {
        const std::size_t words = text.size() / 64 + 2;
        Work::RequireRoom(units.count * words * sizeof(std::uint64_t));
        Fitting fitting(units.count, std::vector<std::uint64_t>(words));
        for (std::size_t i = 0; i < text.size(); ++i) {
            for (std::uint64_t left = units.kinds[Fold(text[i])]; left != 0; left &= left - 1) {
                fitting[std::countr_zero(left)][i / 64] |= std::uint64_t{1} << (i % 64);
            }
        }
        return fitting;
    }

    // False when no place is left.
    static bool StrikeOut(std::vector<std::uint64_t>& places, const std::vector<std::uint64_t>& fitting,
                          std::size_t shift) {
        const std::uint64_t* from = &fitting[shift / 64];
        const unsigned low = shift % 64;
        std::uint64_t left = 0;
        for (std::size_t i = 0; i < places.size(); ++i) {
            // Two shifts, since a shift by 64 is undefined.
            left |= places[i] &= from[i] >> low | from[i + 1] << 1U << (63U - low);
        }
        return left != 0;
    }

    std::vector<Run> runs_;
    std::vector<UnitSet> sets_;
};

class LikeCondition : public Condition {
public:
    LikeCondition(ExpressionPtr subject, ExpressionPtr pattern)
        : subject_(std::move(subject)),
          pattern_(std::move(pattern)),
          constant_(dynamic_cast<const LiteralExpression*>(pattern_.get()) != nullptr) {}

    Truth Test() override {
        if (read_ && constant_) {
            if (const auto narrow = subject_->NarrowText()) return MakeTruth(read_->Matches(*narrow));
        }
        const Value& subject = subject_->Evaluate();
        const Value& pattern = pattern_->Evaluate();
        if (subject.IsNull() || pattern.IsNull()) return Truth::Unknown;
        if (!read_ || !constant_) Read(Text(pattern, pattern_text_));
        const std::u16string_view text = Text(subject, subject_text_);
        if (text.size() > kLongText) Work::Look();
        return MakeTruth(read_->Matches(text));
    }

private:
    // Numbers and dates are matched as they are shown.
    static std::u16string_view Text(const Value& value, std::u16string& buffer) {
        if (value.IsText()) return value.Text();
        buffer = ToText(value);
        return buffer;
    }

    // One row's pattern is often that of the row before.
    void Read(std::u16string_view pattern) {
        if (read_ && pattern == read_text_) return;
        read_.reset();
        read_.emplace(pattern);
        read_text_ = pattern;
    }

    ExpressionPtr subject_;
    ExpressionPtr pattern_;
    bool constant_;
    std::optional<Pattern> read_;
    std::u16string read_text_;
    std::u16string subject_text_;
    std::u16string pattern_text_;
};

}  // namespace

std::u16string_view FixedPrefix(std::u16string_view pattern) {
    const auto ends = [](char16_t unit) {
        return unit == u'*' || unit == u'?' || unit == u'#' || unit == u'[' || HasOddCase(unit);
    };
    const auto end = std::find_if(pattern.begin(), pattern.end(), ends);
    return pattern.substr(0, static_cast<std::size_t>(end - pattern.begin()));
}

ExpressionPtr MakeLike(ExpressionPtr subject, ExpressionPtr pattern) {
    return std::make_unique<LikeCondition>(std::move(subject), std::move(pattern));
}

}  // namespace qmtrain::sql
