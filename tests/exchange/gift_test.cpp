// GIFT and Aiken: what becomes of the formats' own signs, and what is reported of bad files.

#include <gtest/gtest.h>

#include "exchange/formats.h"
#include "shown.h"

namespace qmtrain::exchange {
namespace {

struct Case {
    const char* name;
    const char16_t* text;
    const char* expected;
};

void PrintTo(const Case& one, std::ostream* out) {
    *out << one.name;
}
std::string NameOfCase(const testing::TestParamInfo<Case>& info) {
    return info.param.name;
}

class GiftTest : public testing::TestWithParam<Case> {};

TEST_P(GiftTest, IsReadAs) {
    EXPECT_EQ(Shown(ReadGift(GetParam().text)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, GiftTest,
    testing::Values(
        Case{"Single", u"栈的特点是{~先进先出 =先进后出 ~随机存取}",
             "单选题|栈的特点是|-先进先出|+先进后出|-随机存取\n"},
        Case{"NameFormatAndComment", u"// 注释\n::栈::[plain]栈是\n// 中间\n什么?{\n=线性表\n~树\n}",
             "单选题|栈是/什么?|+线性表|-树\n"},
        Case{"CharactersThatFilesCannotHold",
             u"栈\xD800的\x01特点{=先进\x17"
             "后出}",
             "填空题|栈\uFFFD的特点|先进后出\n"},
        Case{"TextAfterTheAnswers", u"二叉树有{=五 ~六}种形态", "单选题|二叉树有_____种形态|+五|-六\n"},
        Case{"Multiple", u"哪些是线性结构{~%50%栈 ~%50%队列 ~%-100%树}", "多选题|哪些是线性结构|+栈|+队列|-树\n"},
        Case{"UnevenWeights", u"哪些{~%70%栈 ~%30%队列 ~树}",
             "多选题|哪些|+栈|+队列|-树\n第 1 行“哪些”：选择项的分数比例略去：答案全对才得分。\n"},
        Case{"SeveralRight", u"哪个{=栈 =队列 ~树}",
             "多选题|哪个|+栈|+队列|-树\n第 1 行“哪个”：有几个全对的选择项，改为多选题。\n"},
        Case{"TruthWithFeedback", u"地球是圆的{T#再想想#很好####总的说明}",
             "是非题|地球是圆的|对|解析:总的说明/答错时：再想想/答对时：很好\n"
             "第 1 行“地球是圆的”：答案的反馈并入解析。\n"},
        Case{"TruthInFull", u"水比油轻{FALSE}", "是非题|水比油轻|错\n"},
        Case{"ShortAnswers", u"首都是{=北京 =Beijing =%50%京}",
             "填空题|首都是|北京#Beijing\n第 1 行“首都是”：只得部分分数的答案“京”略去。\n"},
        Case{"Escapes", uR"(\{a\:b\} \~ \= \# \\n {=x\=y ~\~z})", "单选题|{a:b} ~ = # \\n|+x=y|-~z\n"},
        Case{"LineBreakEscape", uR"(第一行\n第二行{T})", "是非题|第一行/第二行|对\n"},
        Case{"OtherBackslashesStay", uR"(路径 C\d 中{T})", "是非题|路径 C\\d 中|对\n"},
        Case{"FeedbackOfOptions", u"选{=甲#对了 ~乙#错了}",
             "单选题|选|+甲|-乙|解析:A：对了/B：错了\n第 1 行“选”：选择项的反馈并入解析。\n"},
        Case{"Numbers", u"圆周率{#3.14:0.01}\n\n范围{#1..5}\n\n几个{#=1:0 =2}",
             "填空题|圆周率|3.14\n填空题|范围|3\n填空题|几个|1#2\n"
             "第 1 行“圆周率”：允许的误差 0.01 略去：答案要与 3.14 相同。\n"
             "第 3 行“范围”：数值范围 1..5 改为中间的数 3。\n"},
        Case{"NumbersWithFeedback", u"几个{#=1#对了 =%50%2#差一点}",
             "填空题|几个|1|解析:1：对了/2：差一点\n第 1 行“几个”：答案的反馈并入解析。\n"
             "第 1 行“几个”：只得部分分数的答案“2”略去。\n"},
        Case{"Pairs", u"配对{=中国 -> 北京 =法国 -> 巴黎 = -> 伦敦}",
             "填空题|配对/中国 — 【1】/法国 — 【2】/可选答案：伦敦；北京；巴黎|北京@巴黎\n"
             "第 1 行“配对”：配对题改为填空题，每一对一个空，可选答案列在题干后面。\n"},
        Case{"Essay", u"写一个程序{}", "操作题|写一个程序\n"},
        Case{"Html", u"[html]H<sub>2</sub>O 是 <b>水</b>{T}", "是非题|<p>H<sub>2</sub>O 是 <b>水</b></p>|对\n"},
        Case{"CodeIsNoHtml", u"if (a<b && c>d) #include <stdio.h> 对吗{T}",
             "是非题|if (a<b && c>d) #include <stdio.h> 对吗|对\n"},
        Case{"Categories", u"$CATEGORY: 数据结构/栈\n\n甲{T}\n\n$CATEGORY: 网络\n乙{F}",
             "是非题|甲|对|分类:数据结构/栈\n是非题|乙|错|分类:网络\n"},
        Case{"CategoryRoots",
             u"$CATEGORY: $course$/top/网络/TCP//IP\n甲{T}\n\n$CATEGORY: $course$\n乙{F}\n\n"
             u"$CATEGORY: $cat12$/栈\n丙{F}",
             "是非题|甲|对|分类:网络/TCP／IP\n是非题|乙|错\n是非题|丙|错|分类:栈\n"},
        Case{"Number", u"// 旧题 [id:JC010003] [tag:x]\n甲{T}", "是非题|甲|对|编号:JC010003\n"},
        Case{"Description", u"下面是说明\n\n甲{T}",
             "是非题|甲|对\n第 1 行“下面是说明”：略过：没有答案的说明文字不是试题。\n"},
        Case{"PercentInAnswers", u"格式是{=%100%%d =%s}", "第 1 行“格式是”：错误：“%”后面的分数比例无法识别。\n"},
        Case{"WildcardStar", u"甲{=北* =\\*}", "填空题|甲|北*#*\n第 1 行“甲”：答案“北*”中的“*”按普通字符处理。\n"},
        Case{"Separators", u"邮箱{=a@b.com}",
             "第 1 行“邮箱”：错误：第 1 "
             "空的答案“a@b.com”中有“@”：题库用“@”分隔各空、用“#”分隔同一空的几个答案，答案本身不能含有它们。\n"},
        Case{"NoClosingBrace", u"甲{T}\n\n乙{=一 ~二\n\n丙{F}",
             "是非题|甲|对\n是非题|丙|错\n第 3 行“乙”：错误：答案的“{”没有对应的“}”。\n"},
        Case{"NoOpeningBrace", u"甲 }", "第 1 行“甲 }”：错误：有“}”而没有“{”。\n"},
        Case{"TwoAnswers", u"甲{=一}乙{=二}",
             "第 1 行“甲”：错误：一道题只能有一对大括号；几个空的填空题请用 Moodle XML 或 CSV。\n"},
        Case{"UnclosedName", u"::甲{T}", "第 1 行“::甲{T}”：错误：名称开头的“::”没有对应的“::”。\n"},
        Case{"BrokenEscape", u"甲{T}\\", "第 1 行“甲{T}\\”：错误：末尾的“\\”后面没有字符。\n"},
        Case{"OneOption", u"甲{=一 ~}", "第 1 行“甲”：错误：选择项 B 是空的。\n"},
        Case{"NoStem", u"{T}", "第 1 行：错误：没有题干。\n"}),
    NameOfCase);

class AikenTest : public testing::TestWithParam<Case> {};

TEST_P(AikenTest, IsReadAs) {
    EXPECT_EQ(Shown(ReadAiken(GetParam().text)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, AikenTest,
    testing::Values(
        Case{"BothMarks", u"栈是?\nA. 线性表\nB) 树\nANSWER: A\n\n队列是?\nA.先进先出\nB.后进先出\nANSWER:A",
             "单选题|栈是?|+线性表|-树\n单选题|队列是?|+先进先出|-后进先出\n"},
        Case{"SeveralLines", u"下面的程序\nprintf();\n输出?\nA. 1\nB. 2\nANSWER: B",
             "单选题|下面的程序/printf();/输出?|-1|+2\n"},
        Case{"OptionsOfAProgram", u"哪个是类型?\nA.int\nB.for\nC.C语言\nD)x\nANSWER: A\u200B",
             "单选题|哪个是类型?|+int|-for|-C语言|-x\n"},
        Case{"NamesWithDots", u"C.x 是什么?\nB.x 呢?\nA. 成员\nB. 函数\nANSWER: A",
             "单选题|C.x 是什么?/B.x 呢?|+成员|-函数\n"},
        Case{"NoAnswer", u"甲?\nA. 1\nB. 2\n\n乙?\nA. 1\nB. 2\nANSWER: B",
             "单选题|乙?|-1|+2\n第 1 行“甲?”：错误：没有“ANSWER:”一行。\n"},
        Case{"CutOff", u"甲?\nA. 1\nB. 2", "第 1 行“甲?”：错误：没有“ANSWER:”一行。\n"},
        Case{"SmallLetters", u"甲?\nA. 1\nB. 2\nAnswer: B", "第 1 行“甲?”：错误：“ANSWER:”应当全部大写。\n"},
        Case{"NoSuchOption", u"甲?\nA. 1\nB. 2\nANSWER: C", "第 1 行“甲?”：错误：没有答案所说的选择项 C。\n"},
        Case{"TwoLetters", u"甲?\nA. 1\nB. 2\nANSWER: AB", "第 1 行“甲?”：错误：“ANSWER:”后面应当是一个大写字母。\n"},
        Case{"OneOption", u"甲?\nA. 1\nANSWER: A", "第 1 行“甲?”：错误：选择项少于两个。\n"},
        Case{"OutOfOrder", u"甲?\nA. 1\nC. 2\nANSWER: A", "第 1 行“甲?”：错误：第 3 行：选择项 C 的次序不对。\n"}),
    NameOfCase);

}  // namespace
}  // namespace qmtrain::exchange
