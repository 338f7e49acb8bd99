#include "document/rtf_lexer.h"

#include <algorithm>

namespace qmtrain::document {
namespace {

bool IsLetter(char16_t unit) {
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

bool IsDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

bool MeansNothing(char16_t unit) {
    return unit == u'\r' || unit == u'\n' || unit == u'\0';
}

bool EndsText(char16_t unit) {
    return unit == u'\\' || unit == u'{' || unit == u'}' || MeansNothing(unit);
}

}  // namespace

int HexDigit(char16_t unit) {
    if (IsDigit(unit)) return unit - u'0';
    const int letter = (unit | 0x20) - u'a';
    return unit < 0x80 && letter >= 0 && letter < 6 ? letter + 10 : -1;
}

RtfToken RtfLexer::Next() {
    while (position_ < text_.size() && MeansNothing(text_[position_])) ++position_;
    if (position_ == text_.size()) return {};
    switch (text_[position_]) {
        case u'{': return One(RtfToken::Kind::Open);
        case u'}': return One(RtfToken::Kind::Close);
        case u'\\': return TakeEscape();
        default: return TakeText();
    }
}

RtfToken RtfLexer::One(RtfToken::Kind kind) {
    ++position_;
    return {.kind = kind, .text = text_.substr(position_ - 1, 1)};
}

RtfToken RtfLexer::TakeText() {
    const std::size_t start = position_;
    while (position_ < text_.size() && !EndsText(text_[position_])) ++position_;
    return {.kind = RtfToken::Kind::Text, .text = From(start)};
}

RtfToken RtfLexer::TakeEscape() {
    ++position_;
    if (position_ == text_.size()) return {};
    if (IsLetter(Peek())) return TakeWord();
    if (Peek() == u'\'' && HexDigit(Peek(1)) >= 0 && HexDigit(Peek(2)) >= 0) return TakeByte();
    return One(RtfToken::Kind::Symbol);
}

// A word ends with its number or its last letter; one blank after it belongs to it.
RtfToken RtfLexer::TakeWord() {
    const std::size_t start = position_;
    while (IsLetter(Peek())) ++position_;
    RtfToken word{.kind = RtfToken::Kind::Word, .text = From(start)};
    word.number = TakeNumber();
    if (Peek() == u' ') ++position_;
    return word.text == u"bin" ? TakeBinary(word.NumberOr(0)) : word;
}

std::optional<int> RtfLexer::TakeNumber() {
    constexpr std::int64_t kMost = std::numeric_limits<int>::max();
    const bool negative = Peek() == u'-' && IsDigit(Peek(1));
    if (negative) ++position_;
    if (!IsDigit(Peek())) return std::nullopt;
    std::int64_t number = 0;
    for (; IsDigit(Peek()); ++position_) number = std::min<std::int64_t>(kMost, number * 10 + (Peek() - u'0'));
    return static_cast<int>(negative ? -number : number);
}

RtfToken RtfLexer::TakeByte() {
    const int byte = HexDigit(Peek(1)) * 16 + HexDigit(Peek(2));
    position_ += 3;
    return {.kind = RtfToken::Kind::Byte, .text = From(position_ - 3), .number = byte};
}

RtfToken RtfLexer::TakeBinary(int length) {
    const std::size_t start = position_;
    position_ += std::min<std::size_t>(std::max(length, 0), text_.size() - start);
    return {.kind = RtfToken::Kind::Binary, .text = From(start)};
}

char16_t RtfLexer::Peek(std::size_t ahead) const {
    return position_ + ahead < text_.size() ? text_[position_ + ahead] : u'\0';
}

}  // namespace qmtrain::document
