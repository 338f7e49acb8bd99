// Signs beside words. They are of GB 2312, so that every Chinese font has them, on Windows too: ticks and crosses from
// further up in Unicode are empty boxes there.
#pragma once

#include <string>
#include <string_view>

namespace qmtrain::host {

inline constexpr std::u16string_view kRightSign = u"√";
inline constexpr std::u16string_view kWrongSign = u"×";
inline constexpr std::u16string_view kPartlySign = u"△";
inline constexpr std::u16string_view kMarkedSign = u"★";

inline std::u16string WithSign(std::u16string_view sign, std::u16string_view text) {
    return std::u16string(sign).append(u" ").append(text);
}

}  // namespace qmtrain::host
