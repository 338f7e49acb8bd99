#include "jet/unique_name.h"

#include <array>
#include <random>

namespace qmtrain::jet {

std::string UniqueName(std::string_view before, std::string_view after) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr int kLength = 16;
    std::random_device random;
    std::string name(before);
    for (int i = 0; i < kLength; ++i) name += kDigits[random() % kDigits.size()];
    return name += after;
}

}  // namespace qmtrain::jet
