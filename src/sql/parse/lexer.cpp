#include "sql/parse/lexer.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

#include "core/convert.h"
#include "core/error.h"

namespace qmtrain::sql {
namespace {

char16_t AsciiUpper(char16_t unit) {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
}

bool IsDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

bool IsHexDigit(char16_t unit) {
    const char16_t upper = AsciiUpper(unit);
    return IsDigit(unit) || (upper >= u'A' && upper <= u'F');
}

bool IsBlank(char16_t unit) {
    return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == u'\u3000' || unit == u'\u00A0';
}

bool StartsName(char16_t unit) {
    const char16_t upper = AsciiUpper(unit);
    return (upper >= u'A' && upper <= u'Z') || unit == u'_' || (unit >= 0x80 && !IsBlank(unit));
}

bool ContinuesName(char16_t unit) {
    return StartsName(unit) || IsDigit(unit) || unit == u'$';
}

class Lexer {
public:
    explicit Lexer(std::u16string_view text) : text_(text) {}

    std::vector<Token> Run() {
        // Long statements are mostly lists of short values.
        constexpr std::size_t kLong = 150;
        tokens_.reserve(text_.size() / (text_.size() < kLong ? 5 : 3) + 4);
        for (SkipBlanks(); position_ < text_.size(); SkipBlanks()) {
            first_ = position_;
            Take();
        }
        first_ = position_;
        Add(TokenKind::End, {});
        return std::move(tokens_);
    }

private:
    void SkipBlanks() {
        while (position_ < text_.size() && IsBlank(text_[position_])) ++position_;
    }

    char16_t Peek(std::size_t ahead = 0) const {
        return position_ + ahead < text_.size() ? text_[position_ + ahead] : u'\0';
    }

    void Take() {
        const char16_t unit = Peek();
        if (StartsName(unit)) return TakeName();
        if (IsDigit(unit) || (unit == u'.' && IsDigit(Peek(1)))) return TakeNumber();
        if (unit == u'&' && StartsRadix()) return TakeRadix();
        switch (unit) {
            case u'\'':
            case u'"': return TakeText(unit);
            case u'[': return TakeQuotedName(u']');
            case u'`': return TakeQuotedName(u'`');
            case u'#': return TakeDate();
            default: return TakeSymbol();
        }
    }

    void TakeName() {
        while (ContinuesName(Peek())) ++position_;
        Add(TokenKind::Name, text_.substr(first_, position_ - first_));
    }

    void TakeQuotedName(char16_t closing) {
        const std::size_t end = text_.find(closing, first_ + 1);
        if (end == std::u16string_view::npos || end == first_ + 1) Fail();
        position_ = end + 1;
        Add(TokenKind::QuotedName, text_.substr(first_ + 1, end - first_ - 1));
    }

    void TakeNumber() {
        while (IsDigit(Peek())) ++position_;
        if (Peek() == u'.') ++position_;
        while (IsDigit(Peek())) ++position_;
        if (AsciiUpper(Peek()) == u'E') {
            const std::size_t sign = Peek(1) == u'+' || Peek(1) == u'-' ? 1 : 0;
            if (IsDigit(Peek(1 + sign))) {
                position_ += 1 + sign;
                while (IsDigit(Peek())) ++position_;
            }
        }
        AddNumber(text_.substr(first_, position_ - first_));
    }

    // "a&H" joins two columns, "= &H1F" is a number: it depends on whether an operand stands before.
    bool StartsRadix() const {
        const char16_t kind = AsciiUpper(Peek(1));
        if ((kind != u'H' && kind != u'O') || !IsHexDigit(Peek(2))) return false;
        if (tokens_.empty()) return true;
        const Token& last = tokens_.back();
        if (last.kind == TokenKind::Name) return IsReserved(last.text);
        return last.kind == TokenKind::Symbol && last.text != u")";
    }

    void TakeRadix() {
        position_ += 2;
        while (IsHexDigit(Peek())) ++position_;
        AddNumber(text_.substr(first_, position_ - first_));
    }

    // More digits than a Double has, and no exponent.
    static bool IsLongDecimal(std::u16string_view digits) {
        constexpr std::ptrdiff_t kDoubleDigits = 15;
        constexpr std::ptrdiff_t kMostDigits = 28;
        if (!std::ranges::all_of(digits, [](char16_t unit) { return IsDigit(unit) || unit == u'.'; })) return false;
        const auto first = std::ranges::find_if(digits, [](char16_t unit) { return unit != u'0' && unit != u'.'; });
        const auto count = std::count_if(first, digits.end(), IsDigit);
        const auto after_point = digits.end() - std::ranges::find(digits, u'.');
        return count > kDoubleDigits && count <= kMostDigits && after_point <= kMostDigits + 1;
    }

    void AddNumber(std::u16string_view digits) {
        constexpr std::size_t kSurelyLong = 9;
        if (digits.size() <= kSurelyLong && std::ranges::all_of(digits, IsDigit)) {
            std::int32_t number = 0;
            for (const char16_t digit : digits) number = number * 10 + (digit - u'0');
            return Add(TokenKind::Literal, {}, Value(number));
        }
        if (IsLongDecimal(digits)) return Add(TokenKind::Literal, {}, ToDecimal(Value(digits)));
        const auto number = ParseNumber(digits);
        if (!number) Fail();
        const bool whole = digits.find_first_of(u".eE") == std::u16string_view::npos || digits.front() == u'&';
        const bool fits = *number <= std::numeric_limits<std::int32_t>::max();
        Add(TokenKind::Literal, {}, whole && fits ? Value(static_cast<std::int32_t>(*number)) : Value(*number));
    }

    void TakeText(char16_t quote) {
        std::u16string text;
        for (++position_;; ++position_) {
            if (position_ >= text_.size()) Fail();
            if (Peek() == quote) {
                if (Peek(1) != quote) break;
                ++position_;
            }
            text += Peek();
        }
        ++position_;
        Add(TokenKind::Literal, {}, Value(std::move(text)));
    }

    void TakeDate() {
        const std::size_t end = text_.find(u'#', first_ + 1);
        if (end == std::u16string_view::npos) Fail();
        position_ = end + 1;
        const auto date = ParseDate(text_.substr(first_ + 1, end - first_ - 1), DateOrder::MonthFirst);
        if (!date) Fail();
        Add(TokenKind::Literal, {}, Value(*date));
    }

    void TakeSymbol() {
        constexpr std::array<std::u16string_view, 3> kDouble = {u"<=", u">=", u"<>"};
        constexpr std::u16string_view kSingle = u"(),.;*/\\^+-&=<>!";
        const std::u16string_view two = text_.substr(first_, 2);
        if (std::ranges::find(kDouble, two) != kDouble.end()) {
            position_ += 2;
        } else if (kSingle.find(Peek()) != std::u16string_view::npos) {
            ++position_;
        } else {
            Fail();
        }
        Add(TokenKind::Symbol, text_.substr(first_, position_ - first_));
    }

    void Add(TokenKind kind, std::u16string_view text, Value value = {}) {
        tokens_.push_back({kind, text, std::move(value), first_});
    }

    [[noreturn]] void Fail() const { Raise(ErrorNumber::SyntaxInExpression, {text_.substr(first_, 60)}); }

    std::u16string_view text_;
    std::size_t position_ = 0;
    std::size_t first_ = 0;  // of the token being read
    std::vector<Token> tokens_;
};

constexpr std::array<std::u16string_view, 47> kReserved = {
    u"ADD",    u"ALL",        u"ALTER",  u"AND",    u"AS",     u"ASC",      u"BETWEEN",     u"BY",
    u"COLUMN", u"CONSTRAINT", u"CREATE", u"DELETE", u"DESC",   u"DISTINCT", u"DISTINCTROW", u"DROP",
    u"EQV",    u"EXISTS",     u"FROM",   u"GROUP",  u"HAVING", u"IMP",      u"IN",          u"INDEX",
    u"INNER",  u"INSERT",     u"INTO",   u"IS",     u"JOIN",   u"LEFT",     u"LIKE",        u"MOD",
    u"NOT",    u"NULL",       u"ON",     u"OR",     u"ORDER",  u"RIGHT",    u"SELECT",      u"SET",
    u"TABLE",  u"TOP",        u"UNION",  u"UPDATE", u"VALUES", u"WHERE",    u"XOR"};
static_assert(std::ranges::is_sorted(kReserved));

// For each letter the index of the first word that begins with it or with a later one; the last element is the end.
constexpr std::array<std::uint8_t, 27> kFirstOf = [] {
    std::array<std::uint8_t, 27> first{};
    for (std::size_t letter = 0; letter < first.size(); ++letter) {
        const auto is_earlier = [&](std::u16string_view word) { return word.front() < u'A' + letter; };
        first[letter] = static_cast<std::uint8_t>(std::ranges::count_if(kReserved, is_earlier));
    }
    return first;
}();

}  // namespace

bool Token::SpellsKeyword(std::u16string_view keyword) const {
    return std::ranges::equal(text, keyword, {}, AsciiUpper);
}

bool IsReserved(std::u16string_view word) {
    const char16_t initial = word.empty() ? u'\0' : AsciiUpper(word.front());
    if (initial < u'A' || initial > u'Z') return false;
    const auto first = kReserved.begin() + kFirstOf[initial - u'A'];
    const auto last = kReserved.begin() + kFirstOf[initial - u'A' + 1];
    return std::any_of(first, last, [&](std::u16string_view reserved) {
        return word.size() == reserved.size() && std::ranges::equal(word, reserved, {}, AsciiUpper);
    });
}

std::vector<Token> Tokenize(std::u16string_view text) {
    return Lexer(text).Run();
}

}  // namespace qmtrain::sql
