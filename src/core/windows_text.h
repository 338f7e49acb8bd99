// Text on its way to Windows and back: its wide characters are our UTF-16 units.
#pragma once

#include <string>
#include <string_view>

namespace qmtrain {

inline std::wstring ToWide(std::u16string_view text) {
    return {text.begin(), text.end()};
}
inline std::u16string FromWide(std::wstring_view text) {
    return {text.begin(), text.end()};
}

}  // namespace qmtrain
