// The table of error texts against the numbers that have a name.

#include "core/error.h"

#include <array>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

namespace qmtrain {
namespace {

// The compiler spells a value that has no name as a cast: "(qmtrain::ErrorNumber)8".
template <ErrorNumber number>
constexpr bool HasName() {
    return std::string_view(__PRETTY_FUNCTION__).find("ErrorNumber)") == std::string_view::npos;
}
static_assert(HasName<ErrorNumber::Overflow>() && !HasName<static_cast<ErrorNumber>(1)>());

constexpr std::size_t kNumbers = 3700;  // more than the highest

template <std::size_t... numbers>
constexpr std::array<bool, kNumbers> Named(std::index_sequence<numbers...>) {
    return {HasName<static_cast<ErrorNumber>(numbers)>()...};
}

TEST(ErrorTexts, EveryNumberHasOne) {
    static constexpr std::array<bool, kNumbers> named = Named(std::make_index_sequence<kNumbers>());
    const std::u16string unknown = DescriptionOf(static_cast<ErrorNumber>(1));
    int names = 0;
    for (std::size_t number = 0; number < kNumbers; ++number) {
        if (!named[number]) continue;
        ++names;
        EXPECT_NE(DescriptionOf(static_cast<ErrorNumber>(number)), unknown) << number;
    }
    EXPECT_GT(names, 100);
}

TEST(ErrorTexts, DetailsStandWhereTheTextNamesThem) {
    EXPECT_EQ(DescriptionOf(ErrorNumber::NoSuchTable, {u"Notes"}), u"找不到表或查询“Notes”。");
    EXPECT_EQ(DescriptionOf(ErrorNumber::IndexExists, {u"%2", u"甲"}), u"表“%2”已经有名为“甲”的索引。");
    EXPECT_EQ(DescriptionOf(ErrorNumber::CannotCreateObject), u"不能创建对象：");
}

}  // namespace
}  // namespace qmtrain
