#include "exchange/text_file.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"

namespace qmtrain::exchange {
namespace {

constexpr std::uint64_t kLargest = std::uint64_t{512} << 20;
constexpr int kChinese = 936;

std::u16string FromUtf16(std::string_view bytes, bool big_endian) {
    std::u16string out(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < out.size(); ++i) {
        const auto first = static_cast<std::uint8_t>(bytes[2 * i]);
        const auto second = static_cast<std::uint8_t>(bytes[2 * i + 1]);
        out[i] = static_cast<char16_t>(big_endian ? first << 8 | second : second << 8 | first);
    }
    return out;
}

// The sign for what cannot be read may stand in a text itself; there must be no more of it than that.
bool IsUtf8(std::string_view bytes, std::u16string_view text) {
    constexpr std::string_view kSign = "\xEF\xBF\xBD";
    std::ptrdiff_t own = 0;
    for (std::size_t at = 0; (at = bytes.find(kSign, at)) != std::string_view::npos; at += kSign.size()) ++own;
    return std::count(text.begin(), text.end(), kReplacementCharacter) == own;
}

// Whether the bytes are UTF-8 but for a last character that is cut off.
bool IsCutOff(std::string_view bytes) {
    constexpr std::size_t kLongest = 4;
    for (std::size_t back = 1; back < kLongest && back <= bytes.size(); ++back) {
        const auto byte = static_cast<std::uint8_t>(bytes[bytes.size() - back]);
        if (byte < 0x80) return false;
        if (byte < 0xC0) continue;
        const std::string_view whole = bytes.substr(0, bytes.size() - back);
        const std::u16string text = FromUtf8(whole);
        return IsUtf8(whole, text) && std::any_of(text.begin(), text.end(), [](char16_t unit) { return unit >= 0x80; });
    }
    return false;
}

std::u16string FromChinese(std::string_view bytes) {
    std::u16string text = FromCodePage(bytes, kChinese);
    if (text.find(kReplacementCharacter) == text.npos) return text;
    try {
        std::u16string more = FromCodePage(bytes, kGb18030);
        return more.find(kReplacementCharacter) == more.npos ? more : text;
    } catch (const AutomationError& error) {
        if (!error.Is(ErrorNumber::OperationNotSupported)) throw;
        return text;  // not every system has it
    }
}

template <class Text>
void EndLinesWithLf(Text& text) {
    std::size_t to = 0;
    for (std::size_t from = 0; from < text.size(); ++from) {
        if (text[from] != '\r') {
            text[to++] = text[from];
        } else if (from + 1 >= text.size() || text[from + 1] != '\n') {
            text[to++] = '\n';
        }
    }
    text.resize(to);
}

// Whether it is text in UTF-8, checked in pieces that end between two characters.
bool IsUtf8Text(std::string_view bytes) {
    constexpr std::size_t kPiece = std::size_t{64} << 10;
    while (!bytes.empty()) {
        std::size_t size = std::min(kPiece, bytes.size());
        while (size < bytes.size() && static_cast<std::uint8_t>(bytes[size]) >= 0x80) ++size;
        const std::string_view piece = bytes.substr(0, size);
        if (piece.find('\0') != piece.npos || !IsUtf8(piece, FromUtf8(piece))) return false;
        bytes.remove_prefix(size);
    }
    return true;
}

}  // namespace

std::string ReadBytes(std::u16string_view file) {
    if (!FileExists(file)) {
        RaiseComponentError(u"qmtrain", std::u16string(u"文件“").append(file).append(u"”不存在。"));
    }
    const std::unique_ptr<File> open = FileSystem::Native().Open(ToNativePath(file), OpenMode::ReadOnly);
    const std::uint64_t size = open->Size();
    if (size > kLargest) {
        RaiseComponentError(u"qmtrain", std::u16string(u"文件“").append(file).append(u"”超过 512 MB，不能导入。"));
    }
    std::string bytes(static_cast<std::size_t>(size), '\0');
    bytes.resize(open->ReadAt(0, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
    return bytes;
}

std::u16string DecodeText(std::string_view bytes) {
    const bool marked = bytes.starts_with("\xEF\xBB\xBF");
    if (marked) bytes.remove_prefix(3);
    std::u16string text;
    std::size_t unreadable = std::u16string::npos;
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
        text = FromUtf16(bytes.substr(2), bytes.front() == '\xFE');
    } else if (text = FromUtf8(bytes); !IsUtf8(bytes, text)) {
        if (!marked && !IsCutOff(bytes)) text = FromChinese(bytes);
        unreadable = text.find(kReplacementCharacter);
    }
    unreadable = std::min(unreadable, text.find(u'\0'));
    if (unreadable != std::u16string::npos) {
        const std::size_t line = LineAt(text, unreadable);
        RaiseComponentError(
            u"qmtrain",
            u"第 " + ToText(line) + u" 行不是文本：编码应当是 UTF-8、GBK 或 GB18030，文件应当是完整的文本文件。");
    }
    EndLinesWithLf(text);
    return text;
}

std::u16string DecodeLoosely(std::string_view bytes) {
    const std::u16string text = FromUtf8(bytes);
    const std::u16string chinese = FromCodePage(bytes, kChinese);
    const auto unreadable = [](std::u16string_view of) {
        return std::count(of.begin(), of.end(), kReplacementCharacter);
    };
    return unreadable(chinese) < unreadable(text) ? chinese : text;
}

std::string DecodeToUtf8(std::string bytes) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    if (!IsUtf8Text(bytes)) return ToUtf8(DecodeText(bytes));
    if (bytes.starts_with(kMark)) bytes.erase(0, kMark.size());
    EndLinesWithLf(bytes);
    return bytes;
}

std::size_t LineAt(std::u16string_view text, std::size_t position) {
    const auto end = text.begin() + std::min(position, text.size());
    return static_cast<std::size_t>(std::count(text.begin(), end, u'\n')) + 1;
}

}  // namespace qmtrain::exchange
