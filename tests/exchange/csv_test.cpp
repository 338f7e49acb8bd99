// Sheets as spreadsheets save them, in any encoding and with any separator.

#include "core/csv.h"

#include <gtest/gtest.h>

#include "core/error.h"
#include "exchange/formats.h"
#include "exchange/text_file.h"
#include "shown.h"
#include "support/raised.h"

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

class CsvTest : public testing::TestWithParam<Case> {};

TEST_P(CsvTest, IsReadAs) {
    EXPECT_EQ(Shown(ReadCsv(GetParam().text)), GetParam().expected);
}

constexpr char16_t kEveryKind[] =
    u"题型,题干,A,B,C,答案,解析,难度\n"
    u"单选,栈是,线性表,树,,A,见第三章,易\n"
    u"多选题,线性的有,栈,队列,树,\"A、B\",,3\n"
    u"判断,地球是圆的,,,,√,,\n"
    u"填空,首都【1】建于【2】,,,,北京#Beijing@1949,,\n"
    u"操作,写程序,,,,要有循环,,\n";

INSTANTIATE_TEST_SUITE_P(
    Cases, CsvTest,
    testing::Values(
        Case{"EveryKind", kEveryKind,
             "单选题|栈是|+线性表|-树|解析:见第三章|难度:1\n"
             "多选题|线性的有|+栈|+队列|-树|难度:3\n"
             "是非题|地球是圆的|对\n"
             "填空题|首都【1】建于【2】|北京#Beijing@1949\n"
             "操作题|写程序|要求:要有循环\n"},
        Case{"EnglishHeadings", u"type,question,option a,option b,answer\nsingle choice,1+1=,2,3,A",
             "单选题|1+1=|+2|-3\n"},
        Case{"TabsAndOptionsInACell", u"题干\t选项\t答案\n栈是\t\"A. 线性表\nB. 树\"\tB", "单选题|栈是|-线性表|+树\n"},
        Case{"SemicolonsAndQuotes", u"题干;A;B;答案\n\"a;\"\"b\"\"\";x;y;B", "单选题|a;\"b\"|-x|+y\n"},
        Case{"KindsAreGuessed", u"题干,A,B,C,答案\n甲,1,2,3,AC\n乙,,,,错\n丙,,,,42\n丁,,,,",
             "多选题|甲|+1|-2|+3\n是非题|乙|错\n填空题|丙|42\n操作题|丁\n"},
        Case{"Html", u"题干,答案,题型\n\"[html]H<sub>2</sub>O\",对,判断", "是非题|<p>H<sub>2</sub>O</p>|对\n"},
        Case{"FormulasAndApostrophes", u"题干,A,B,C,D,E,答案\n'=1+1 是,'+2,'3,=2,''=4,-5,B",
             "单选题|=1+1 是|-+2|+'3|-=2|-'=4|--5\n"},
        Case{"CharactersOfAProgram", u"题干,A,B,C,D,答案\nC 的字符,'+','=','-1',''a',A",
             "单选题|C 的字符|+'+'|-'='|-'-1'|-''a'\n"},
        Case{"LettersOfTheOptionsThemselves",
             u"题干,选项,答案\n甲,\"a.out\nb.out\",A\n乙,\"A.x\nB. y\",A\n丙,\"A. 一\n其他\",B\n丁,\"a) 1\nB、2\",B",
             "单选题|甲|+a.out|-b.out\n单选题|乙|+A.x|-B. y\n单选题|丙|-A. 一|+其他\n单选题|丁|-1|+2\n"},
        Case{"MoreCellsThanHeadings", u"题型,题干,答案,解析\n填空,你好,世界____,答案,解析\n判断,甲,对,,,",
             "是非题|甲|对\n第 2 行“你好”：错误：这一行比标题多出几格：文字中的分隔符要放在引号里。\n"},
        Case{"TruthsAsOptions",
             u"题型,题干,A,B,答案\n判断,甲,对,错,A\n判断,乙,错误,正确,A\n判断,丙,对,错,错\n判断,丁,甲,乙,A",
             "是非题|甲|对\n是非题|乙|错\n是非题|丙|错\n"
             "第 5 行“丁”：错误：判断题的答案“A”应当是“对”或“错”。\n"},
        Case{"WhatNobodyCanType",
             u"\uFEFF题型\u200B,题干,A,B,答案\n填空,首都【1】,,,\u200B北\u00A0京\uFEFF#\u200E北京\u200F\n"
             u"单选\u200B,甲,一,二,B\u200B\n判断,乙,,,\u00A0对\u200D\n填空,丙____,,,\u200B",
             "填空题|首都【1】|北 京#北京\n单选题|甲|-一|+二\n是非题|乙|对\n"
             "第 5 行“丙____”：错误：第 1 空有一个空的答案。\n"},
        Case{"OptionHeadings", u"题干,A选项,B 选项,选项C,备选项D,option_e,2. x,答案\n甲,1,2,3,4,5,6,E",
             "单选题|甲|-1|-2|-3|-4|+5\n第 1 行：不认识的列“2. x”，略去。\n"},
        Case{"UnknownColumn", u"题干,答案,出题人\n甲,对,王", "是非题|甲|对\n第 1 行：不认识的列“出题人”，略去。\n"},
        Case{"LinesCountAsInTheFile", u"题干,A,B,答案\n\"两\n行\",1,2,A\n坏,1,2,Z\n",
             "单选题|两/行|+1|-2\n第 4 行“坏”：错误：没有答案所说的选择项 Z。\n"},
        Case{"NoAnswerColumn", u"题型,题干,A,B\n单选,甲,1,2",
             "第 1 行：错误：表格没有“答案”一列。第一行应当是列的名称，例如：题型、题干、A、B、C、D、答案、解析。\n"},
        Case{"TwoColumnsAlike", u"题干,答案,正确答案\n甲,对,对", "第 1 行：错误：有两列都是“正确答案”。\n"},
        Case{"GapInOptions", u"题干,A,B,C,答案\n甲,1,,3,C", "第 2 行“甲”：错误：选择项 B 是空的。\n"},
        Case{"EmptyLinesAndASeparatorThatIsNamed", u"\n,,,\n\"\"\n题干;A;B;答案\n甲,乙;1;2;C",
             "第 5 行“甲,乙”：错误：没有答案所说的选择项 C。\n"},
        Case{"NamedSeparator", u"sep=|\n题干|A|B|答案\n甲;乙,丙|1|2|B", "单选题|甲;乙,丙|-1|+2\n"},
        Case{"UnknownKind", u"题型,题干,答案\n连线,甲,乙",
             "第 2 行“甲”：错误：题型“连线”无法识别：应当是单选、多选、判断、填空或操作。\n"},
        Case{"RealAtSign", u"题型,题干,答案\n填空,邮箱是____,a@b.com",
             "第 2 行“邮箱是____”：错误：题干中有 1 个空，答案有 2 "
             "个：各空之间用“@”，同一空的几个答案之间用“#”，答案本身不能含有“@”和“#”。\n"},
        Case{"ParenthesesThatAreNoBlanks", u"题型,题干,答案\n填空,main( ) 调用 f( ) 得到,1#一",
             "填空题|main( ) 调用 f( ) 得到|1#一\n"
             "第 2 行“main( ) 调用 f( ) 得到”：题干中有 2 个空，答案有 1 个，请核对。\n"},
        Case{"ALineForEachBlank", u"题型,题干,答案\n填空,f( ) 得到,\"1#一\n2\"\n填空,邮箱____,\"甲\na@b\"",
             "填空题|f( ) 得到|1#一@2\n第 2 行“f( ) 得到”：题干中有 1 个空，答案有 2 个，请核对。\n"
             "第 4 行“邮箱____”：错误：第 2 空的答案“a@b”中有“@”：题库用“@”分隔各空、用“#”分隔同一空的几个答案，"
             "答案本身不能含有它们。\n"},
        Case{"QuotesOfTheTextItself", u"题干,A,B,C,答案\n\"栈\"的特点,\"先进\"后出,\"x, y\" ,\"a\n\"\"b\"c,A",
             "单选题|\"栈\"的特点|+\"先进\"后出|-x, y|-a/\"bc\n"},
        Case{"OpenQuote", u"题干,答案\n甲,对\n\"乙,错",
             "是非题|甲|对\n第 3 行：错误：引号没有结束；文件可能不完整。\n"},
        Case{
            "CutOffRow", u"题型,题干,答案,解析,难度\n判断,甲,对,因为,1\n操作,乙,要",
            "是非题|甲|对|解析:因为|难度:1\n第 3 行：错误：最后一行比标题少几格，也没有换行；文件可能不完整。空的格也要"
            "写出分隔符。\n"},
        Case{"ShortRows", u"题型,题干,答案,解析,难度\n判断,甲,对\n判断,乙,对\n", "是非题|甲|对\n是非题|乙|对\n"},
        Case{"Empty", u"\n,,\n", "第 1 行：错误：文件是空的。\n"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(CsvCell, NoTextIsTakenForAFormulaAndAllComeBack) {
    for (const std::u16string_view text : {u"=1+1", u"=f'", u"-x'", u"'+'", u"''-x'", u"'''-x'", u"'=1", u"@a", u"-5",
                                           u"+3%", u"=cmd|'/C calc'!'A0'", u"'", u"''", u"=", u"='"}) {
        std::string written;
        CsvWriter(written).Cell(text);
        const std::u16string cell = FromUtf8(written);
        const bool is_number = text == u"-5" || text == u"+3%";
        EXPECT_EQ(std::u16string_view(u"=+-@").find(cell.front()) != std::u16string_view::npos, is_number)
            << ToUtf8(cell);
        EXPECT_EQ(CsvCellText(cell), text) << ToUtf8(cell);
    }
}

std::string Utf16(std::u16string_view text) {
    std::string bytes = "\xFF\xFE";
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

TEST(TextFile, KnowsEncodings) {
    const std::u16string text = u"题干,答案\n首都,北京";
    const std::string gbk = ToCodePage(text, 936).value();
    const std::string utf16 = Utf16(text);
    EXPECT_EQ(DecodeText(ToUtf8(text)), text);
    EXPECT_EQ(DecodeText("\xEF\xBB\xBF" + ToUtf8(text)), text);
    EXPECT_EQ(DecodeText(gbk), text);
    EXPECT_EQ(DecodeText(utf16), text);
    // Not every system has GB18030.
    const bool reads_all = ErrorOf([] { FromCodePage("\x81\x30\x81\x30", kGb18030); }) == 0;
    const auto four_bytes = [] { EXPECT_EQ(DecodeText("\xB2\xE2\xCA\xD4\x81\x30\x81\x30"), u"测试\x80"); };
    EXPECT_EQ(ErrorOf(four_bytes) == 0, reads_all);
    EXPECT_EQ(DecodeText("a\r\nb\rc\n"), u"a\nb\nc\n");
    const std::string whole = ToUtf8(u"甲\n题");
    // No bytes of text; and UTF-8 that is cut off, which GBK would make other characters of.
    for (const std::string& bytes : {std::string("ok\nbad \xFF\x81 byte"), whole.substr(0, whole.size() - 1),
                                     "\xEF\xBB\xBF" + whole.substr(0, whole.size() - 2)}) {
        try {
            ADD_FAILURE() << ToUtf8(DecodeText(bytes));
        } catch (const AutomationError& error) {
            EXPECT_EQ(ToUtf8(error.Description()).substr(0, 9), "第 2 行");
        }
    }
}

TEST(Formats, AreFoundOut) {
    EXPECT_EQ(DetectFormat(u"a.txt", "x\nA. 1\nB. 2\nANSWER: A"), QuestionFormat::Aiken);
    EXPECT_EQ(DetectFormat(u"a.txt", "甲{T}"), QuestionFormat::Gift);
    EXPECT_EQ(DetectFormat(u"a.txt", "\xEF\xBB\xBF<?xml version='1.0'?><quiz/>"), QuestionFormat::MoodleXml);
    EXPECT_EQ(DetectFormat(u"A.CSV", "x"), QuestionFormat::Csv);
    // A part of an ending is none; and a bad byte does not hide the format.
    for (const char16_t* name : {u"q.c", u"q.t", u"q.x", u"q.gif", u"q.", u"q.csv "}) {
        EXPECT_EQ(DetectFormat(name, "x\nA. 1\nB. 2\nANSWER: A"), QuestionFormat::Aiken) << ToUtf8(name);
    }
    EXPECT_EQ(DetectFormat(u"a.txt", ToCodePage(u"题型,题干,答案\n判断,甲,对", 936).value() + "\n\xFF"),
              QuestionFormat::Csv);
    EXPECT_EQ(DetectFormat(u"a.txt", "x\nA. 1\nB. 2\nAnswer: A"), QuestionFormat::Aiken);
    const struct {
        QuestionFormat format;
        const char16_t* text;
    } texts[] = {
        {QuestionFormat::Csv, u"\n题型\t题干\tA\tB\t答案\n单选\t{甲}\t1\t2\tA"},
        {QuestionFormat::Aiken, u"甲\nA. 1\nB. 2\nANSWER: A"},
        {QuestionFormat::Gift, u"甲\t乙{T}"},
        {QuestionFormat::MoodleXml, u"<?xml version='1.0'?><quiz></quiz>"},
    };
    for (const auto& one : texts) {
        for (const std::string& bytes : {ToUtf8(one.text), Utf16(one.text), ToCodePage(one.text, 936).value()}) {
            EXPECT_EQ(DetectFormat(u"a.txt", bytes), one.format) << ToUtf8(one.text);
        }
    }
    std::u16string large = texts[0].text;
    while (large.size() < 100'000) large += u"\n单选\t题，\t1\t2\tA";
    EXPECT_EQ(DetectFormat(u"a.txt", ToUtf8(large)), QuestionFormat::Csv);
    EXPECT_EQ(DetectFormat(u"a.txt", Utf16(large)), QuestionFormat::Csv);
    for (const auto& [bytes, reason] : {std::pair{"PK\x03\x04zip", "Excel"}, std::pair{"%PDF-1.4", "PDF"},
                                        std::pair{"", "空"}, std::pair{"just words", "看不出"}}) {
        try {
            DetectFormat(u"a.txt", bytes);
            ADD_FAILURE() << reason;
        } catch (const AutomationError& error) {
            EXPECT_NE(ToUtf8(error.Description()).find(reason), std::string::npos) << error.what();
        }
    }
}

TEST(Formats, NothingReadIsTold) {
    const std::pair<QuestionFormat, std::string> files[] = {{QuestionFormat::Gift, "// 注释\n"},
                                                            {QuestionFormat::Aiken, "\n\n"},
                                                            {QuestionFormat::Csv, "题干,答案\n"},
                                                            {QuestionFormat::MoodleXml, "<quiz/>"}};
    for (const auto& [format, bytes] : files) {
        EXPECT_EQ(Shown(ReadQuestions(bytes, format)), "错误：按 " + ToUtf8(NameOf(format)) + " 格式没有读出试题。\n");
    }
}

TEST(CsvTemplate, IsReadWithoutANotice) {
    const Import import = ReadQuestions(CsvTemplate(), QuestionFormat::Csv);
    EXPECT_EQ(import.questions.size(), 5U);
    EXPECT_TRUE(import.notices.empty()) << Shown(import);
}

}  // namespace
}  // namespace qmtrain::exchange
