// Moodle XML: every type of question, pictures, cloze fields, and files that are broken.

#include <gtest/gtest.h>

#include "core/error.h"
#include "exchange/formats.h"
#include "shown.h"

namespace qmtrain::exchange {
namespace {

struct Case {
    const char* name;
    std::string body;
    std::string expected;
};

void PrintTo(const Case& one, std::ostream* out) {
    *out << one.name;
}

std::string Html(const std::string& element, const std::string& html) {
    return "<" + element + " format=\"html\"><text><![CDATA[" + html + "]]></text></" + element + ">";
}
std::string Asked(const std::string& type, const std::string& stem, const std::string& rest) {
    return "<question type=\"" + type + "\"><name><text>甲</text></name>" + Html("questiontext", stem) + rest +
           "</question>";
}
std::string Answer(const std::string& fraction, const std::string& text, const std::string& feedback = "") {
    return "<answer fraction=\"" + fraction + "\" format=\"html\"><text>" + text +
           "</text><feedback format=\"html\"><text>" + feedback + "</text></feedback></answer>";
}

class MoodleTest : public testing::TestWithParam<Case> {};

TEST_P(MoodleTest, IsReadAs) {
    EXPECT_EQ(
        Shown(ReadMoodleXml("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<quiz>\n" + GetParam().body + "</quiz>")),
        GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MoodleTest,
    testing::Values(
        Case{"Single",
             Asked("multichoice", "<p>栈<b>是</b></p>",
                   "<single>true</single>" + Answer("100", "&lt;p&gt;线性表&lt;/p&gt;") + Answer("0", "树", "不对")),
             "单选题|<p>栈<b>是</b></p>|+线性表|-树|解析:B：不对\n第 3 行“甲”：答案的反馈并入解析。\n"},
        Case{"Multiple",
             Asked("multichoice", "有",
                   "<single>false</single>" + Answer("50", "a") + Answer("50", "b") + Answer("-100", "c")),
             "多选题|有|+a|+b|-c\n"},
        Case{"Truth", Asked("truefalse", "圆", Answer("0", "true") + Answer("100", "false")), "是非题|圆|错\n"},
        Case{"LocalisedTruth", Asked("truefalse", "圆", Answer("100", "Wahr") + Answer("0", "Falsch")),
             "是非题|圆|对\n"},
        Case{"ShortAnswer",
             Asked("shortanswer", "首都",
                   "<usecase>1</usecase>" + Answer("100", "北京") + Answer("50", "京") + Answer("100", "5\\*3")),
             "填空题|首都|北京#5*3\n第 3 行“甲”：只得部分分数的答案“京”略去。\n第 3 行“甲”：答案不再区分大小写。\n"},
        Case{"Number",
             Asked("numerical", "π", "<answer fraction=\"100\"><text>3.14</text><tolerance>0.01</tolerance></answer>"),
             "填空题|π|3.14\n第 3 行“甲”：允许的误差 0.01 略去：答案要与 3.14 相同。\n"},
        Case{"Matching",
             Asked("matching", "配",
                   "<subquestion><text>中</text><answer><text>北京</text></answer></subquestion>"
                   "<subquestion><text></text><answer><text>伦敦</text></answer></subquestion>"),
             "填空题|配/中 — 【1】/可选答案：伦敦；北京|北京\n第 3 "
             "行“甲”：配对题改为填空题，每一对一个空，可选答案列在题干后面。\n"},
        Case{"Essay", Asked("essay", "写", Html("graderinfo", "要有<p>循环</p>") + Html("responsetemplate", "main()")),
             "操作题|写/答案的开头：/main()|要求:要有\n循环\n第 3 行“甲”：作答模板并入题干。\n"},
        Case{"Cloze",
             Asked("cloze",
                   "首都{1:SHORTANSWER:=北京~=Beijing~%50%京#差点}建于{2:NM:=1949:0}，{1:MCV:一~=二}；{不是空}", ""),
             "填空题|首都【1】建于【2】，【3】（可选：一；二）；{不是空}|北京#Beijing@1949@二|解析:【1】京：差点\n"
             "第 3 行“甲”：各空的分数不同，改为平均分配。\n第 3 行“甲”：只得部分分数的答案“京”略去。\n"
             "第 3 行“甲”：答案的反馈并入解析。\n第 3 行“甲”：选择的空改为填空，可选的答案列在空的后面。\n"},
        Case{"ClozeSeveralChoices", Asked("cloze", "有{1:MR:=a~=b~c}", ""),
             "填空题|有【1】（可选：a；b；c）|a#b\n第 3 行“甲”：选择的空改为填空，可选的答案列在空的后面。\n"
             "第 3 行“甲”：要选几项的空改为填空以后，填写其中一项就算对。\n"},
        Case{"ClozeEscapes", Asked("cloze", "集合{:SA:=\\{a\\}~=x\\~y~=a&lt;b}", ""), "填空题|集合【1】|{a}#x~y#a<b\n"},
        Case{"Category",
             "<question type=\"category\"><category><text>$course$/top/数据结构/栈</text></category></question>" +
                 Asked("truefalse", "圆", Answer("100", "true")),
             "是非题|圆|对|分类:数据结构/栈\n"},
        Case{"Number_and_analysis",
             Asked("truefalse", "圆",
                   "<idnumber>JC030001</idnumber>" + Html("generalfeedback", "因为") + Answer("100", "true")),
             "是非题|圆|对|解析:因为|编号:JC030001\n"},
        Case{"Picture",
             "<question type=\"essay\"><name><text>甲</text></name><questiontext format=\"html\"><text>看<![CDATA[<img "
             "src=\"@@PLUGINFILE@@/%E5%9B%BE.png?time=17\" width=\"2\" height=\"1\">]]></text><file name=\"图.png\" "
             "encoding=\"base64\">" +
                 std::string(kDot) + "</file></questiontext></question>",
             "操作题|<p>看<img src=\"data:image/png;base64," + std::string(kDot) +
                 "\" width=\"2\" height=\"1\" alt=\"\"></p>\n"},
        Case{"PictureThatIsNone",
             "<question type=\"essay\"><name><text>甲</text></name><questiontext format=\"html\"><text><![CDATA[看<img "
             "src=\"@@PLUGINFILE@@/a.png\">]]></text><file name=\"a.png\" "
             "encoding=\"base64\">aGVsbG8=</file></questiontext></question>",
             "第 3 行“甲”：错误：有一个图片不是完整的 PNG、JPEG 或 BMP 图片。\n"},
        Case{"DescriptionAndUnknown", Asked("description", "说明", "") + "\n" + Asked("ddwtos", "拖", ""),
             "第 3 行“甲”：略过：说明文字不是试题。\n第 4 行“甲”：错误：题型“ddwtos”不能导入。\n"},
        Case{"ClozeWithoutFields", Asked("cloze", "什么也没有", ""), "第 3 行“甲”：错误：完形填空中没有空。\n"},
        Case{"ClozeOpenField", Asked("cloze", "首都{1:SA:=北京", ""),
             "第 3 行“甲”：错误：完形填空的“{”没有对应的“}”。\n"},
        Case{"NoRightOption", Asked("multichoice", "有", Answer("0", "a") + Answer("0", "b")),
             "第 3 行“甲”：错误：没有指明正确的选择项。\n"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Moodle, BrokenFilesGiveWhatIsWhole) {
    const std::string first = Asked("truefalse", "圆", Answer("100", "true"));
    const struct {
        const char* name;
        std::string text;
        std::string expected;
    } cases[] = {
        {"cut off", "<quiz>\n" + first + "\n<question type=\"truefalse\"><name><text>乙</te",
         "是非题|圆|对\n第 3 行：错误：元素没有结束，或者结束的次序不对；文件可能不完整。\n"},
        {"an element that is not closed",
         "<quiz>\n" + first + "\n<question type=\"essay\"><name><text>乙</name></question></quiz>",
         "是非题|圆|对\n第 3 行：错误：元素没有结束，或者结束的次序不对；文件可能不完整。\n"},
        {"open CDATA", "<quiz>" + first + "<question><![CDATA[",
         "是非题|圆|对\n第 1 行：错误：CDATA 没有结束；文件可能不完整。\n"},
        {"another document", "<html><body/></html>", "第 1 行：错误：不是 Moodle 的题库：没有 <quiz> 元素。\n"},
        {"nothing", "<?xml version='1.0'?>", "第 1 行：错误：没有任何内容。\n"},
    };
    for (const auto& one : cases) EXPECT_EQ(Shown(ReadMoodleXml(one.text)), one.expected) << one.name;
}

TEST(Moodle, EncodingOfTheFileCounts) {
    const std::u16string text = u"<?xml version=\"1.0\" encoding=\"GB2312\"?><quiz>" +
                                FromUtf8(Asked("truefalse", "首都", Answer("100", "true"))) + u"</quiz>";
    EXPECT_EQ(Shown(ReadMoodleXml(ToCodePage(text, 936).value())), "是非题|首都|对\n");
    std::u16string wrong = text;
    wrong.replace(wrong.find(u"GB2312"), 6, u"UTF-8");
    EXPECT_EQ(Shown(ReadMoodleXml(ToCodePage(wrong, 936).value())), "是非题|首都|对\n") << "it says so itself, wrongly";
}

// Elements within elements, 100,000 of them; the stack holds a few thousand calls.
TEST(Moodle, DeepElements) {
    std::string deep;
    for (int i = 0; i < 100'000; ++i) deep += "<a>";
    std::string ends;
    for (int i = 0; i < 100'000; ++i) ends += "</a>";
    const std::string good = Asked("truefalse", "圆", Answer("100", "true"));
    EXPECT_EQ(Shown(ReadMoodleXml("<quiz>" + good + "\n<question type=\"essay\">" + deep + ends + "</question>\n" +
                                  deep + ends + good + "</quiz>")),
              "是非题|圆|对\n是非题|圆|对\n第 2 行：错误：元素嵌套太深。\n第 3 行：错误：元素嵌套太深。\n");
    EXPECT_EQ(Shown(ReadMoodleXml("<quiz>" + good + "\n" + deep)),
              "是非题|圆|对\n第 2 行：错误：元素没有结束，或者结束的次序不对；文件可能不完整。\n");
    // Each end would look through all that is open.
    std::string bold = "深";
    for (int i = 0; i < 100'000; ++i) bold += "<b>";
    for (int i = 0; i < 100'000; ++i) bold += "</i>";
    EXPECT_EQ(Shown(ReadMoodleXml("<quiz>" + Asked("essay", bold, "") + "</quiz>")),
              "第 1 行“甲”：错误：元素嵌套太深。\n");
}

// In a time that grows with the text, not with its square.
TEST(Moodle, ManyClozeFields) {
    constexpr int kFields = 4000;
    std::string open, closed, within;
    for (int i = 0; i < kFields; ++i) {
        open += "{1:SA:=x~";
        closed += "{1:SA:=}\n";
        within += "{1:SA:=\\}~";
    }
    for (const std::string& stem : {open, within}) {
        const Import import = ReadMoodleXml("<quiz>" + Asked("cloze", stem, "") + "</quiz>");
        EXPECT_EQ(Shown(import), "第 1 行“甲”：错误：完形填空的“{”没有对应的“}”。\n");
    }
    EXPECT_EQ(Shown(ReadMoodleXml("<quiz>" + Asked("cloze", closed, "") + "</quiz>")),
              "第 1 行“甲”：错误：完形填空的空太多：题库最多存放 128 个。\n");
    std::string half = "{1:SA:=x";
    for (int i = 0; i < kFields; ++i) half += "~%50%" + std::to_string(i);
    EXPECT_EQ(ReadMoodleXml("<quiz>" + Asked("cloze", half + "}", "") + "</quiz>").notices.size(), 101U);
    EXPECT_EQ(Shown(ReadMoodleXml("<quiz>" + Asked("cloze", within + "}", "") + "</quiz>")), "填空题|【1】|}\n");
}

TEST(Moodle, ManyPictures) {
    constexpr int kPictures = 5000;
    std::string stem, files;
    for (int i = 0; i < kPictures; ++i) {
        const std::string name = "p" + std::to_string(i) + ".png\"";
        stem += "<img src=\"@@PLUGINFILE@@/" + name + ">";
        files += "<file name=\"" + name + " encoding=\"base64\">" + std::string(kDot) + "</file>";
    }
    const Import import = ReadMoodleXml(
        "<quiz><question type=\"essay\"><name><text>甲</text></name><questiontext format=\"html\"><text>"
        "<![CDATA[" +
        stem + "]]></text>" + files + "</questiontext></question></quiz>");
    ASSERT_EQ(import.questions.size(), 1U) << Shown(import);
    EXPECT_EQ(import.questions[0].stem.Length(), std::size_t{kPictures});
}

// The text is parsed in place, after it was checked in pieces: line numbers are those of the file all the same.
TEST(Moodle, LinesOfALongFile) {
    constexpr std::size_t kQuestions = 1000;
    std::string text = "<quiz>\r\n<!-- ";
    for (int i = 0; i < 50'000; ++i) text += "题";
    text += " -->\r\n";
    for (std::size_t i = 0; i < kQuestions; ++i) {
        text += "<question type=\"truefalse\"><name><text>&lt;a&gt; &amp;\r\nb</text></name><questiontext\n><text>" +
                std::to_string(i) +
                "&#x9898;</text></questiontext><answer fraction=\"100\"><text>true</text></answer>"
                "</question>\r";
    }
    text += "<odd/>\r\n</quiz>";
    for (const std::string& bytes : {text, "\xEF\xBB\xBF" + text, ToCodePage(FromUtf8(text), 936).value()}) {
        const Import import = ReadMoodleXml(bytes);
        ASSERT_EQ(import.questions.size(), kQuestions);
        for (std::size_t i = 0; i < kQuestions; ++i) {
            ASSERT_EQ(import.questions[i].line, 3 + 3 * i);
            ASSERT_EQ(ToUtf8(import.questions[i].stem.PlainText()), std::to_string(i) + "题");
        }
        ASSERT_EQ(import.notices.size(), 1U);
        EXPECT_EQ(import.notices[0].line, 3 + 3 * kQuestions);
    }
    const Import broken = ReadMoodleXml(text.substr(0, text.size() - 20));
    EXPECT_EQ(broken.notices.back().kind, Notice::Kind::Error);
    EXPECT_EQ(broken.notices.back().line, 2 + 3 * kQuestions);
}

}  // namespace
}  // namespace qmtrain::exchange
