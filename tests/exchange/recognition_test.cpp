// Which questions of a file are taken for which of a bank.

#include "exchange/recognition.h"

#include <gtest/gtest.h>

#include "core/text.h"
#include "exchange/formats.h"

namespace qmtrain::exchange {
namespace {

// "X1 X2* new again, -X3": the number of the same question, of a changed one; then those that are not in the file.
std::string Outcome(std::u16string_view bank, std::u16string_view file) {
    const std::vector<Question> stored = ReadGift(bank).questions;
    const Recognition recognition = Recognise(stored, ReadGift(file).questions);
    std::string out;
    for (const Recognised& one : recognition.questions) {
        if (!out.empty()) out += " ";
        switch (one.as) {
            case Recognised::As::New: out += "new"; break;
            case Recognised::As::Repeated: out += "again"; break;
            case Recognised::As::Impossible: out += "impossible"; break;
            case Recognised::As::Changed: out += ToUtf8(stored[one.existing].rec_no) + "*"; break;
            case Recognised::As::Same: out += ToUtf8(stored[one.existing].rec_no); break;
        }
    }
    for (const std::size_t gone : recognition.not_found) out += ", -" + ToUtf8(stored[gone].rec_no);
    return out;
}

// A bank is written as a file is, with its record numbers.
TEST(RecognitionTest, WhichQuestionIsWhich) {
    constexpr const char16_t* kTwins = u"// [id:X1]\n输出{=17}\n\n// [id:X2]\n输出{=25}\n\n";
    constexpr const char16_t* kRepeats = u"// [id:X1]\n栈{=一}\n\n// [id:X2]\n栈{=一}\n\n";
    constexpr const char16_t* kStatements =
        u"// [id:X1]\n下列说法正确的是（　　）。{=栈先进后出 ~栈先进先出 ~以上都对 ~以上都不对}\n\n"
        u"// [id:X2]\n下列关于栈的叙述中，正确的是{=先进后出 ~先进先出 ~随机存取}\n\n";
    constexpr const char16_t* kFour = u"// [id:X1]\n正确的是{=栈有顶 ~栈有底 ~栈可空 ~栈可满}\n\n";
    const struct {
        const char* name;
        const char16_t* bank;
        const char16_t* file;
        const char* outcome;
    } cases[] = {
        {"the bank's own export", kRepeats, kRepeats, "X1 X2"},
        {"the export twice", kRepeats, u"// [id:X1]\n栈{=一}\n\n// [id:X2]\n栈{=一}\n\n// [id:X1]\n栈{=一}",
         "X1 X2 again"},
        {"repeated in both, without numbers", kRepeats, u"栈{=一}\n\n栈{=一}\n\n栈{=一}", "X1 X2 again"},
        {"repeated, and its stem is another's too", kTwins, u"输出{=17}\n\n输出{=17}", "X1 again, -X2"},
        {"operations of one stem, another explanation", u"// [id:X1]\n写程序{####甲}\n\n// [id:X2]\n写程序{####乙}\n\n",
         u"// [id:X2]\n写程序{####乙}\n\n// [id:X1]\n写程序{####丙}", "X2 X1*"},
        {"one stem, edited answers, turned round", kTwins, u"// [id:X2]\n输出{=26}\n\n// [id:X1]\n输出{=18}",
         "X2* X1*"},
        {"one stem, the other's answer", kTwins, u"// [id:X1]\n输出{=25}\n\n// [id:X2]\n输出{=30}", "X1* X2*"},
        {"its number on quite another question", kTwins, u"// [id:X1]\n完全不同{=x}", "new, -X2"},
        {"options that point at others only", kStatements,
         u"下列说法正确的是（　　）。{=图有顶点 ~树有环 ~以上都对 ~以上都不对}", "new, -X1, -X2"},
        {"one option of two that tell", kStatements,
         u"下列说法正确的是（　　）。{=栈先进后出 ~树有环 ~A 和 B 都对 ~以上都不对}", "new, -X1, -X2"},
        {"both that tell", kStatements, u"下列说法正确的是（　　）。{=栈先进后出 ~栈先进先出 ~A、B}", "X1*, -X2"},
        {"letters that are contents", u"// [id:X1]\n输出{=a ~b ~c ~abs(x)}\n\n", u"输出{=a ~b ~c ~abs(y)}", "X1*"},
        {"half of the options", kFour, u"正确的是{=栈有顶 ~栈有底 ~图有边 ~树有环}", "new, -X1"},
        {"half of the options, and its number", kFour, u"// [id:X1]\n正确的是{=栈有顶 ~栈有底 ~图有边 ~树有环}", "X1*"},
        {"one option twice", kFour, u"正确的是{=栈有顶 ~栈有顶 ~栈有顶 ~树有环}", "new, -X1"},
        {"a new question before the edited one", u"// [id:X1]\n正确的是{=栈有顶 ~栈有底 ~栈可空 ~栈可满 ~栈可增}\n\n",
         u"正确的是{=栈有顶 ~栈有底 ~栈可空 ~树有环 ~树有根}\n\n正确的是{=栈有顶 ~栈有底 ~栈可空 ~栈可满 ~树有环}",
         "new X1*"},
        {"its number, a like stem, no option", kStatements,
         u"// [id:X2]\n下列关于二叉树的叙述中，错误的是{=有环 ~有根 ~有叶}", "new, -X1"},
        {"its number, a like stem, one option", kStatements,
         u"// [id:X2]\n下列关于二叉树的叙述中，错误的是{=有环 ~有根 ~随机存取}", "new, -X1"},
        {"its number, nearly its stem, no option", kStatements,
         u"// [id:X2]\n下列有关栈的叙述中，正确的是{=后进的先出 ~先进的先出 ~任意存取}", "new, -X1"},
        {"its number, nearly its stem, one option", kStatements,
         u"// [id:X2]\n下列有关栈的叙述中，正确的是{=后进的先出 ~先进的先出 ~随机存取}", "X2*, -X1"},
        {"its number, a like stem, another answer",
         u"// [id:X1]\n在关系数据库中，用来表示实体之间联系的是____。{=关系}\n\n",
         u"// [id:X1]\n在关系数据库中，能够唯一标识一个元组的属性称为____。{=主键}", "new"},
        {"its number, a like stem, its answer",
         u"// [id:X1]\n在关系数据库中，用来表示实体之间联系的是____。{=关系}\n\n",
         u"// [id:X1]\n在关系模型中，实体之间的联系用____表示。{=关系}", "X1*"},
        {"its number, a like statement, as true", u"// [id:X1]\n栈是一种线性表{T}\n\n",
         u"// [id:X1]\n队列是一种广义表{T}", "new"},
    };
    for (const auto& one : cases) EXPECT_EQ(Outcome(one.bank, one.file), one.outcome) << one.name;
}

// As many questions under one stem as a large bank may have.
TEST(RecognitionTest, ManyOfOneStem) {
    std::u16string bank;
    std::u16string file;
    for (int i = 0; i < 1200; ++i) {
        const std::u16string number = ToText(i);
        bank += u"输出{=" + number + u"}\n\n";
        file += u"输出{=" + number + u"x}\n\n";
    }
    const Recognition recognition = Recognise(ReadGift(bank).questions, ReadGift(file).questions);
    EXPECT_EQ(recognition.Count(Recognised::As::Changed), 1200U);
}

}  // namespace
}  // namespace qmtrain::exchange
