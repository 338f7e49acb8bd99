#include <algorithm>
#include <clocale>
#include <memory>

#include <iconv.h>
#include <langinfo.h>
#include <locale.h>

#include "core/error.h"
#include "core/text.h"

namespace qmtrain {
namespace {

struct IconvCloser {
    void operator()(void* handle) const { iconv_close(handle); }
};
using IconvHandle = std::unique_ptr<void, IconvCloser>;

std::string CodePageName(int code_page) {
    if (code_page == 65001) return "UTF-8";
    return code_page == kGb18030 ? "GB18030" : "CP" + std::to_string(code_page);
}

IconvHandle OpenConverter(const std::string& to, const std::string& from, int code_page) {
    iconv_t handle = iconv_open(to.c_str(), from.c_str());
    if (handle == reinterpret_cast<iconv_t>(-1))  // NOLINT(performance-no-int-to-ptr): so the system says it
        Raise(ErrorNumber::OperationNotSupported, {u"代码页 " + ToText(code_page)});
    return IconvHandle(handle);
}

// Opening a converter costs more than using it, so each thread keeps its last one.
class KeptConverter {
public:
    iconv_t Get(const std::string& to, const std::string& from, int code_page) {
        if (!handle_ || code_page != code_page_) {
            handle_ = OpenConverter(to, from, code_page);
            code_page_ = code_page;
        }
        iconv(handle_.get(), nullptr, nullptr, nullptr, nullptr);
        return handle_.get();
    }

private:
    IconvHandle handle_;
    int code_page_ = 0;
};

// Of the locale that the environment names, whatever the program has set.
std::string LocaleEncoding() {
    locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr) return "UTF-8";
    std::string encoding = nl_langinfo_l(CODESET, locale);
    freelocale(locale);
    return encoding == "ANSI_X3.4-1968" ? "UTF-8" : encoding;
}

}  // namespace

std::u16string FromCodePage(std::string_view bytes, int code_page) {
    std::u16string out;
    if (std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<std::uint8_t>(c) < 0x80; })) {
        out.assign(bytes.begin(), bytes.end());  // every Windows code page begins with ASCII
        return out;
    }
    thread_local KeptConverter kept;
    iconv_t converter = kept.Get("UTF-16LE", CodePageName(code_page), code_page);
    std::string buffer(bytes);
    char* in = buffer.data();
    std::size_t in_left = buffer.size();
    out.resize(bytes.size());  // no code page needs more than one unit per byte
    char* to = reinterpret_cast<char*>(out.data());
    std::size_t to_left = out.size() * 2;
    while (in_left > 0) {
        if (iconv(converter, &in, &in_left, &to, &to_left) != static_cast<std::size_t>(-1)) break;
        if (in_left == 0 || to_left < 2) break;
        *reinterpret_cast<char16_t*>(to) = kReplacementCharacter;
        to += 2;
        to_left -= 2;
        ++in;
        --in_left;
    }
    out.resize(out.size() - to_left / 2);
    return out;
}

std::optional<std::string> ToCodePage(std::u16string_view text, int code_page) {
    if (std::ranges::all_of(text, [](char16_t unit) { return unit < 0x80; }))
        return std::string(text.begin(), text.end());
    thread_local KeptConverter kept;
    iconv_t converter = kept.Get(CodePageName(code_page), "UTF-16LE", code_page);
    std::u16string buffer(text);
    char* in = reinterpret_cast<char*>(buffer.data());
    std::size_t in_left = buffer.size() * 2;
    std::string out(text.size() * 4, '\0');
    char* to = out.data();
    std::size_t to_left = out.size();
    if (iconv(converter, &in, &in_left, &to, &to_left) == static_cast<std::size_t>(-1)) return std::nullopt;
    out.resize(out.size() - to_left);
    return out;
}

std::string ToEncoding(std::u16string_view text, const std::string& encoding) {
    if (encoding == "UTF-8") return ToUtf8(text);
    const IconvHandle converter = OpenConverter(encoding, "UTF-16LE", 0);
    std::u16string buffer(text);
    char* in = reinterpret_cast<char*>(buffer.data());
    std::size_t in_left = buffer.size() * 2;
    std::string out(text.size() * 4, '\0');
    char* to = out.data();
    std::size_t to_left = out.size();
    while (in_left > 0 && iconv(converter.get(), &in, &in_left, &to, &to_left) == static_cast<std::size_t>(-1) &&
           in_left >= 2) {
        *to++ = '?';
        --to_left;
        const auto* units = reinterpret_cast<const char16_t*>(in);
        const bool pair = in_left >= 4 && IsHighSurrogate(units[0]) && IsLowSurrogate(units[1]);
        const std::size_t skipped = pair ? 4 : 2;
        in += skipped;
        in_left -= skipped;
    }
    out.resize(out.size() - to_left);
    return out;
}

std::string ToAnsi(std::u16string_view text) {
    static const std::string encoding = LocaleEncoding();
    return ToEncoding(text, encoding);
}

}  // namespace qmtrain
