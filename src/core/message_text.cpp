#include "core/message_text.h"

#include <algorithm>

#include "core/text.h"

namespace qmtrain {
namespace {

// Those of ASCII and of Latin-1, and the separators of lines and paragraphs.
bool IsControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x2028 || unit == 0x2029;
}

}  // namespace

std::u16string ForMessage(std::u16string_view text) {
    const bool cut = text.size() > kLongestQuotation;
    std::size_t length = cut ? kLongestQuotation - 1 : text.size();
    if (cut && IsHighSurrogate(text[length - 1])) --length;
    std::u16string out(text.substr(0, length));
    std::replace_if(out.begin(), out.end(), IsControl, u' ');
    if (cut) out += u'…';
    return out;
}

}  // namespace qmtrain
