#include "ui/wx_text.h"

#include <algorithm>

#include "core/text.h"

namespace qmtrain::ui {
namespace {

bool IsHigh(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool IsLow(char16_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

// wxWidgets refuses a whole text for one half of a pair that stands alone.
std::u16string WithoutLoneSurrogates(std::u16string_view text) {
    std::u16string out(text);
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (IsHigh(out[i]) && i + 1 < out.size() && IsLow(out[i + 1])) {
            ++i;
        } else if (IsHigh(out[i]) || IsLow(out[i])) {
            out[i] = 0xFFFD;
        }
    }
    return out;
}

}  // namespace

wxString ToWx(std::u16string_view text) {
    const bool plain =
        std::none_of(text.begin(), text.end(), [](char16_t unit) { return IsHigh(unit) || IsLow(unit); });
    return wxString::FromUTF8(plain ? ToUtf8(text) : ToUtf8(WithoutLoneSurrogates(text)));
}

std::u16string FromWx(const wxString& text) {
    const wxScopedCharBuffer utf8 = text.utf8_str();
    return FromUtf8({utf8.data(), utf8.length()});
}

std::u16string StoredLines(const wxString& text) {
    std::u16string out;
    for (const char16_t unit : FromWx(text)) {
        if (unit == u'\n' && !out.ends_with(u'\r')) out += u'\r';
        out += unit;
    }
    return out;
}

}  // namespace qmtrain::ui
