// Files with bytes changed, removed, duplicated and cut off.

#include <random>

#include <gtest/gtest.h>

#include "random_questions.h"
#include "what_holds.h"

namespace qmtrain::exchange {
namespace {

class DamageTest : public testing::TestWithParam<QuestionFormat> {};

std::string Seed(QuestionFormat format, unsigned seed) {
    if (format == QuestionFormat::Aiken)
        return "一加一是?\nA. 一\nB. 二\nANSWER: B\n\n天是?\nA) 蓝\nB) 绿\nANSWER: A\n";
    std::vector<Notice> notices;
    return WriteQuestions(RandomQuestions(seed).Make(4, format != QuestionFormat::Gift, format != QuestionFormat::Gift),
                          format, notices);
}

TEST_P(DamageTest, NothingWrongComesOfIt) {
    constexpr std::string_view kParts[] = {
        "{", "}",    "=",        "~",       "\\",     "#",  "\n\n", "<",  "</text>", "]]>",      "\"", ",",
        "@", "\xFF", "<ul><li>", "{1:SA:=", "[html]", "::", "->",   "&#", "%50%",    "ANSWER: ", "\t", "【1】"};
    std::mt19937 random(5);
    for (int turn = 0; turn < 400; ++turn) {
        std::string text = Seed(GetParam(), random() % 8);
        for (int change = static_cast<int>(random() % 4); change >= 0 && !text.empty(); --change) {
            const std::size_t at = random() % text.size();
            switch (random() % 4) {
                case 0: text.resize(at); break;
                case 1: text.erase(at, random() % 20); break;
                case 2: text.insert(at, kParts[random() % std::size(kParts)]); break;
                default: text.insert(at, text.substr(random() % text.size(), random() % 60)); break;
            }
        }
        ASSERT_EQ(Broken(text, GetParam()), "") << text;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, DamageTest,
                         testing::Values(QuestionFormat::Gift, QuestionFormat::Aiken, QuestionFormat::Csv,
                                         QuestionFormat::MoodleXml),
                         [](const auto& info) { return std::to_string(static_cast<int>(info.param)); });

}  // namespace
}  // namespace qmtrain::exchange
