// Which pictures a text takes in.

#include "exchange/pictures.h"

#include <gtest/gtest.h>

#include "exchange/shown.h"

namespace qmtrain::exchange {
namespace {

// A PNG that says of itself that it is so large.
Bytes Png(std::uint32_t width, std::uint32_t height) {
    Bytes bytes = DotBytes();
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[16 + i] = static_cast<std::uint8_t>(width >> (24 - 8 * i));
        bytes[20 + i] = static_cast<std::uint8_t>(height >> (24 - 8 * i));
    }
    return bytes;
}

TEST(Pictures, AreTakenInWhenTheyCanBeShown) {
    const struct {
        std::uint32_t width;
        std::uint32_t height;
        bool taken;
    } cases[] = {{2, 1, true}, {8000, 4000, true}, {8000, 4001, false}, {8192, 4096, false}, {60000, 60000, false}};
    for (const auto& c : cases) {
        EXPECT_EQ(MakePicture(Png(c.width, c.height)).has_value(), c.taken) << c.width << " by " << c.height;
    }
}

}  // namespace
}  // namespace qmtrain::exchange
