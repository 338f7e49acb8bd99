#include "jet/code_page_text.h"

namespace qmtrain::jet {
namespace {

std::u16string_view FirstLacking(std::u16string_view text, int code_page) {
    for (std::size_t at = 0; at < text.size();) {
        const bool pair = IsHighSurrogate(text[at]) && at + 1 < text.size() && IsLowSurrogate(text[at + 1]);
        const std::u16string_view character = text.substr(at, pair ? 2 : 1);
        if (!ToCodePage(character, code_page)) return character;
        at += character.size();
    }
    return text.substr(0, 1);
}

// "U+9F98"
std::u16string CodeOf(std::u16string_view character) {
    constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    std::uint32_t code = character[0];
    if (character.size() == 2) code = 0x10000 + ((code - 0xD800) << 10) + (character[1] - 0xDC00U);
    std::u16string text = u"U+";
    for (int shift = code > 0xFFFFF ? 20 : code > 0xFFFF ? 16 : 12; shift >= 0; shift -= 4)
        text += kDigits[code >> shift & 15];
    return text;
}

}  // namespace

std::u16string FromStored(const ByteView& bytes, int code_page) {
    return FromCodePage({reinterpret_cast<const char*>(bytes.Data()), bytes.Size()}, code_page);
}

std::u16string CharacterLackingIn(int code_page, std::u16string_view text) {
    if (ToCodePage(text, code_page)) return {};
    const std::u16string_view lacking = FirstLacking(text, code_page);
    const bool half = lacking.size() == 1 && (IsHighSurrogate(lacking[0]) || IsLowSurrogate(lacking[0]));
    return (half ? std::u16string() : u"“" + std::u16string(lacking) + u"”") + u"（" + CodeOf(lacking) + u"）";
}

std::string ToStored(std::u16string_view text, int code_page, ErrorNumber error, std::u16string_view what) {
    if (auto stored = ToCodePage(text, code_page)) return std::move(*stored);
    Raise(error, {what, u"数据库的代码页 " + ToText(code_page) + u" 中没有字符" + CharacterLackingIn(code_page, text) +
                            u"。"});
}

}  // namespace qmtrain::jet
