#include "sql/like.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "core/convert.h"
#include "core/error.h"
#include "core/finder.h"
#include "core/text.h"
#include "core/work.h"
#include "sql/operators.h"

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

bool IsDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

class Matcher {
public:
    Matcher(std::u16string_view text, std::u16string_view pattern) : text_(text), pattern_(pattern) {}

    // Going back to the last "*" is enough: what an earlier one could take, the last one can take as well.
    bool Run() {
        constexpr std::size_t kNone = std::u16string_view::npos;
        std::size_t star = kNone;  // the pattern behind the last "*"
        std::size_t star_text = 0;
        std::size_t t = 0;
        std::size_t p = 0;
        WorkSteps steps;
        while (t < text_.size()) {
            steps.Next();
            if (p < pattern_.size() && pattern_[p] == u'*') {
                star = ++p;
                star_text = t;
            } else if (std::size_t next = p; p < pattern_.size() && MatchesUnit(text_[t], next)) {
                p = next;
                ++t;
            } else if (star != kNone) {
                p = star;
                t = ++star_text;
            } else {
                return false;
            }
        }
        while (p < pattern_.size()) {
            // "[]" stands for nothing.
            if (pattern_[p] == u'*')
                ++p;
            else if (pattern_.substr(p, 2) == u"[]")
                p += 2;
            else
                return false;
        }
        return true;
    }

private:
    // One unit of the text against one element of the pattern at `p`, which then moves behind it.
    bool MatchesUnit(char16_t unit, std::size_t& p) const {
        while (pattern_.substr(p, 2) == u"[]") p += 2;
        if (p >= pattern_.size() || pattern_[p] == u'*') return false;
        const char16_t element = pattern_[p];
        if (element == u'[') return MatchesSet(unit, p);
        ++p;
        if (element == u'?') return true;
        if (element == u'#') return IsDigit(unit);
        return Fold(element) == Fold(unit);
    }

    bool MatchesSet(char16_t unit, std::size_t& p) const {
        const std::size_t end = pattern_.find(u']', p + 1);
        if (end == std::u16string_view::npos) Fail();
        std::u16string_view set = pattern_.substr(p + 1, end - p - 1);
        p = end + 1;
        const bool negated = set.size() > 1 && set.front() == u'!';
        if (negated) set.remove_prefix(1);
        return Contains(set, Fold(unit)) != negated;
    }

    bool Contains(std::u16string_view set, char16_t unit) const {
        for (std::size_t i = 0; i < set.size(); ++i) {
            const char16_t low = Fold(set[i]);
            if (i + 2 < set.size() && set[i + 1] == u'-') {
                const char16_t high = Fold(set[i + 2]);
                if (high < low) Fail();
                if (unit >= low && unit <= high) return true;
                i += 2;
            } else if (unit == low) {
                return true;
            }
        }
        return false;
    }

    [[noreturn]] void Fail() const { Raise(ErrorNumber::SyntaxInExpression, {pattern_}); }

    std::u16string_view text_;
    std::u16string_view pattern_;
};

// A pattern with no other signs than "*", taken apart once: its pieces are looked for one behind the other.
class PlainPattern {
public:
    // Nothing when the pattern has other signs.
    static std::optional<PlainPattern> Make(std::u16string_view pattern) {
        if (pattern.find_first_of(u"?#[") != std::u16string_view::npos) return std::nullopt;
        PlainPattern plain;
        for (std::size_t from = 0, to = 0; to != pattern.npos; from = to + 1) {
            to = pattern.find(u'*', from);
            std::u16string piece(pattern.substr(from, to - from));
            std::ranges::transform(piece, piece.begin(), Fold);
            plain.pieces_.emplace_back(piece);
        }
        return plain;
    }

    // A narrow text has a byte for each of its units.
    template <class Unit>
    bool Matches(std::basic_string_view<Unit> text) const {
        const std::u16string& first = pieces_.front().Wanted();
        const std::u16string& last = pieces_.back().Wanted();
        if (pieces_.size() == 1) return text.size() == first.size() && StandsAt(first, text, 0);
        if (text.size() < first.size() + last.size() || !StandsAt(first, text, 0)) return false;
        std::size_t at = first.size();
        for (std::size_t i = 1; i + 1 < pieces_.size(); ++i) {
            at = FindPiece(pieces_[i], text, at);
            if (at == Finder::kNowhere) return false;
            at += pieces_[i].Wanted().size();
        }
        return at + last.size() <= text.size() && StandsAt(last, text, text.size() - last.size());
    }

private:
    template <class Unit>
    static bool StandsAt(const std::u16string& piece, std::basic_string_view<Unit> text, std::size_t at) {
        for (std::size_t i = 0; i < piece.size(); ++i) {
            const char16_t unit = UnitOf(text[at + i]);
            if (unit != piece[i] && Fold(unit) != piece[i]) return false;
        }
        return true;
    }

    // A short piece is found faster by looking for it everywhere.
    static std::size_t FindPiece(const Finder& finder, std::u16string_view text, std::size_t at) {
        constexpr std::size_t kShort = 16;
        const std::u16string& piece = finder.Wanted();
        if (piece.size() > kShort) return finder.In(text, at, Fold);
        for (; at + piece.size() <= text.size(); ++at) {
            if (StandsAt(piece, text, at)) return at;
        }
        return Finder::kNowhere;
    }

    // A narrow text is short: it stands on one page.
    static std::size_t FindPiece(const Finder& finder, std::string_view text, std::size_t at) {
        const std::u16string& piece = finder.Wanted();
        if (piece.empty()) return at;
        const bool has_case = piece[0] >= 0x80 || ToLower(piece[0]) != piece[0];
        while (at + piece.size() <= text.size()) {
            if (!has_case) at = text.find(static_cast<char>(piece[0]), at);
            if (at == text.npos || at + piece.size() > text.size()) break;
            if (StandsAt(piece, text, at)) return at;
            ++at;
        }
        return Finder::kNowhere;
    }

    std::vector<Finder> pieces_;  // before, between and behind the "*"
};

// Other signs than "*" are compared with the text over and over again at worst, and can be stopped.
bool MatchesOnce(std::u16string_view text, std::u16string_view pattern) {
    constexpr std::size_t kShort = 64;
    if (pattern.size() > kShort) {
        if (const auto plain = PlainPattern::Make(pattern)) return plain->Matches(text);
    }
    return Matcher(text, pattern).Run();
}

class LikeCondition : public Condition {
public:
    LikeCondition(ExpressionPtr subject, ExpressionPtr pattern)
        : subject_(std::move(subject)), pattern_(std::move(pattern)) {
        const auto* literal = dynamic_cast<const LiteralExpression*>(pattern_.get());
        if (literal != nullptr && literal->GetValue().IsText()) plain_ = PlainPattern::Make(literal->GetValue().Text());
    }

    Truth Test() override {
        if (plain_) {
            if (const auto narrow = subject_->NarrowText()) return MakeTruth(plain_->Matches(*narrow));
        }
        const Value& subject = subject_->Evaluate();
        if (plain_) {
            if (subject.IsNull()) return Truth::Unknown;
            return MakeTruth(plain_->Matches(Text(subject, subject_text_)));
        }
        const Value& pattern = pattern_->Evaluate();
        if (subject.IsNull() || pattern.IsNull()) return Truth::Unknown;
        return MakeTruth(MatchesLike(Text(subject, subject_text_), Text(pattern, pattern_text_)));
    }

private:
    // Numbers and dates are matched as they are shown.
    static std::u16string_view Text(const Value& value, std::u16string& buffer) {
        if (value.IsText()) return value.Text();
        buffer = ToText(value);
        return buffer;
    }

    ExpressionPtr subject_;
    ExpressionPtr pattern_;
    std::optional<PlainPattern> plain_;
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

bool MatchesLike(std::u16string_view text, std::u16string_view pattern) {
    return MatchesOnce(text, pattern);
}

ExpressionPtr MakeLike(ExpressionPtr subject, ExpressionPtr pattern) {
    return std::make_unique<LikeCondition>(std::move(subject), std::move(pattern));
}

}  // namespace qmtrain::sql
