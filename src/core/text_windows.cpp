#include <algorithm>
#include <array>

#include <windows.h>

#include "core/error.h"
#include "core/text.h"
#include "core/windows_text.h"

namespace qmtrain {
namespace {

void RequireCodePage(int code_page) {
    if (IsValidCodePage(static_cast<UINT>(code_page)) == 0)
        Raise(ErrorNumber::OperationNotSupported, {u"代码页 " + ToText(code_page)});
}

// Nothing when a byte cannot be decoded.
std::optional<std::u16string> Decoded(std::string_view bytes, int code_page) {
    const auto size = static_cast<int>(bytes.size());
    std::wstring out(bytes.size(), L'\0');  // no code page needs more than one unit per byte
    const int length =
        MultiByteToWideChar(static_cast<UINT>(code_page), MB_ERR_INVALID_CHARS, bytes.data(), size, out.data(), size);
    if (length == 0) return std::nullopt;
    out.resize(static_cast<std::size_t>(length));
    return FromWide(out);
}

// Appends the first character and returns its length in bytes; only GB18030 has characters of more than two.
std::size_t LengthOfFirst(std::string_view bytes, int code_page, std::u16string& out) {
    for (const std::size_t length : {1, 2, 4}) {
        if (length > bytes.size() || (length == 4 && code_page != kGb18030)) break;
        if (const auto text = Decoded(bytes.substr(0, length), code_page)) {
            out += *text;
            return length;
        }
    }
    out += kReplacementCharacter;
    return 1;
}

bool HasHalfPair(std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1]))
            ++i;
        else if (IsHighSurrogate(text[i]) || IsLowSurrogate(text[i]))
            return true;
    }
    return false;
}

// Nothing when a character has no byte there. Requires: no half pairs.
std::optional<std::string> Encoded(std::u16string_view text, int code_page) {
    // GB18030 has every character, and the system refuses to be asked about it.
    const bool complete = code_page == kGb18030;
    const DWORD flags = complete ? 0 : WC_NO_BEST_FIT_CHARS;
    const std::wstring wide = ToWide(text);
    std::string out(text.size() * 4, '\0');
    BOOL replaced = FALSE;
    const int length =
        WideCharToMultiByte(static_cast<UINT>(code_page), flags, wide.data(), static_cast<int>(wide.size()), out.data(),
                            static_cast<int>(out.size()), nullptr, complete ? nullptr : &replaced);
    if (length == 0 || replaced != FALSE) return std::nullopt;
    out.resize(static_cast<std::size_t>(length));
    return out;
}

// What has no byte becomes "?".
std::string EncodedOrMarked(std::u16string_view text, int code_page) {
    if (auto whole = ToCodePage(text, code_page)) return *whole;
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length =
            IsHighSurrogate(text[at]) && at + 1 < text.size() && IsLowSurrogate(text[at + 1]) ? 2 : 1;
        out += ToCodePage(text.substr(at, length), code_page).value_or("?");
        at += length;
    }
    return out;
}

struct EncodingName {
    std::string_view name;
    int code_page;
};

constexpr std::array<EncodingName, 5> kEncodings = {
    {{"GBK", 936}, {"GB2312", 936}, {"GB18030", kGb18030}, {"BIG5", 950}, {"ISO-8859-1", 28591}}};

}  // namespace

std::u16string FromCodePage(std::string_view bytes, int code_page) {
    if (std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<std::uint8_t>(c) < 0x80; })) {
        return {bytes.begin(), bytes.end()};  // every Windows code page begins with ASCII
    }
    if (code_page == CP_UTF8) return FromUtf8(bytes);
    RequireCodePage(code_page);
    if (auto whole = Decoded(bytes, code_page)) return *whole;
    std::u16string out;
    while (!bytes.empty()) bytes.remove_prefix(LengthOfFirst(bytes, code_page, out));
    return out;
}

std::optional<std::string> ToCodePage(std::u16string_view text, int code_page) {
    RequireCodePage(code_page);
    if (text.empty()) return std::string();
    if (HasHalfPair(text)) return std::nullopt;
    if (code_page == CP_UTF8) return ToUtf8(text);
    return Encoded(text, code_page);
}

std::string ToEncoding(std::u16string_view text, const std::string& encoding) {
    if (encoding == "UTF-8") return ToUtf8(text);
    const auto known = std::ranges::find(kEncodings, encoding, &EncodingName::name);
    if (known == kEncodings.end()) Raise(ErrorNumber::OperationNotSupported, {u"编码 " + FromUtf8(encoding)});
    return EncodedOrMarked(text, known->code_page);
}

std::string ToAnsi(std::u16string_view text) {
    const auto code_page = static_cast<int>(GetACP());
    return code_page == CP_UTF8 ? ToUtf8(text) : EncodedOrMarked(text, code_page);
}

}  // namespace qmtrain
