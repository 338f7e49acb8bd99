// Text: UTF-16 inside, UTF-8 at terminals and in files of ours, code pages in old databases.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace qmtrain {

// What replaces bytes that cannot be decoded.
inline constexpr char16_t kReplacementCharacter = 0xFFFD;

// The halves of a pair that stands for one character beyond U+FFFF.
constexpr bool IsHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool IsLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

// Lone surrogates pass through as three-byte sequences, so that any text survives the round trip.
std::string ToUtf8(std::u16string_view text);
void AppendUtf8(std::u16string_view text, std::string& out);

// Writes the character at `at` in UTF-8, moves `at` past it, and returns the end of what it wrote. Requires: room for
// kMostUtf8 bytes for each unit of the text.
inline constexpr std::size_t kMostUtf8 = 3;
inline char* PutUtf8(std::u16string_view text, std::size_t& at, char* to) {
    char32_t code = text[at++];
    if (code < 0x80) {
        *to++ = static_cast<char>(code);
        return to;
    }
    if (IsHighSurrogate(text[at - 1]) && at < text.size() && IsLowSurrogate(text[at])) {
        code = 0x10000 + ((code - 0xD800) << 10) + (text[at++] - 0xDC00);
    }
    const auto tail = [&](int shift) { *to++ = static_cast<char>(0x80 | (code >> shift & 0x3F)); };
    if (code < 0x800) {
        *to++ = static_cast<char>(0xC0 | code >> 6);
    } else if (code < 0x10000) {
        *to++ = static_cast<char>(0xE0 | code >> 12);
        tail(6);
    } else {
        *to++ = static_cast<char>(0xF0 | code >> 18);
        tail(12);
        tail(6);
    }
    tail(0);
    return to;
}

// Ill-formed input becomes U+FFFD, one for each byte that cannot be read.
std::u16string FromUtf8(std::string_view text);

// Text of a Windows code page (936, 1252 …) through the system's converter; bytes that cannot be decoded become U+FFFD.
// Raises OperationNotSupported when the system does not know the code page.
std::u16string FromCodePage(std::string_view bytes, int code_page);

// The code page GB18030: all of Chinese, with characters of four bytes. Not every system has it.
inline constexpr int kGb18030 = 54936;

// The way back; nothing when a character has no byte there.
std::optional<std::string> ToCodePage(std::u16string_view text, int code_page);

// Text in the encoding of that name ("GB18030"); a character that has no byte there becomes "?". Raises
// OperationNotSupported when the system does not know the encoding.
std::string ToEncoding(std::u16string_view text, const std::string& encoding);

// Text for files and devices that take the system's own encoding: the ANSI code page of Windows, the locale's encoding
// elsewhere. A locale that says nothing ("C") counts as UTF-8.
std::string ToAnsi(std::u16string_view text);

// Upper and lower case of one UTF-16 unit after Unicode, the same on every system: Latin, Greek, Cyrillic, full-width
// forms. Surrogates are returned unchanged.
char16_t ToUpper(char16_t unit);
char16_t ToLower(char16_t unit);
std::u16string ToUpper(std::u16string_view text);
std::u16string ToLower(std::u16string_view text);

// Where `wanted` stands in `text` at `from` or after it; npos when nowhere. An empty text is found at once.
enum class Case : std::uint8_t { Counts, Ignored };
std::size_t Find(std::u16string_view text, std::u16string_view wanted, std::size_t from, Case letter_case);

// Names (tables, columns, indexes) are the same when they differ in case only.
bool EqualNames(std::u16string_view a, std::u16string_view b);

// A name folded so that two names are the same exactly when their folded forms are equal.
std::u16string FoldName(std::u16string_view name);

// The items between the delimiters; one empty item for an empty text.
std::vector<std::u16string> Split(std::u16string_view text, char16_t delimiter);

// Decimal text of an integer.
std::u16string ToText(std::int64_t number);
std::u16string ToText(std::uint64_t number);
template <std::integral T>
std::u16string ToText(T number) {
    return ToText(std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>{number});
}
template <std::floating_point T>
std::u16string ToText(T) = delete;  // as a Value it gets the form that Visual Basic gives it

}  // namespace qmtrain
