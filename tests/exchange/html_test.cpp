// Formatted texts of question files.

#include "exchange/html.h"

#include <gtest/gtest.h>

#include "shown.h"

namespace qmtrain::exchange {
namespace {

struct Case {
    const char16_t* html;
    const char* expected;  // as ToHtml writes it
};

TEST(Html, IsReadAs) {
    const Case cases[] = {
        {u"平常 的  文字\n两行", "平常 的 文字 两行"},
        {u"<p>一</p><p>二</p>", "一/二"},
        {u"<div><p>一</p></div>\n<p>二<br></p>三", "一/二/三"},
        {u"<p>一</p><p><br></p><p>三</p>", "一//三"},
        {u"<b>粗<i>斜</b>还斜</i>", "<p><b>粗</b><b><i>斜</i></b>还斜</p>"},
        {u"x<sup>2</sup><strong>a</strong> <u>b</u>", "<p>x<sup>2</sup><b>a</b> <u>b</u></p>"},
        {u"a &lt; b &amp;&amp; c&nbsp;&gt; d &#20013;", "a < b && c > d 中"},
        {u"<pre>int i;\n  i++;</pre>完",
         "<p><code>int i;</code></p><p style=\"white-space: pre-wrap\"><code>  i++;</code></p><p>完</p>"},
        {u"<ul><li>一</li><li>二</li></ul>尾", "<ul><li>一</li><li>二</li></ul><p>尾</p>"},
        {u"<ol><li>一<li>二</ol>", "<ol><li>一</li><li>二</li></ol>"},
        {u"<ol start=\"3\"><li>三</ol>间<ol start=4><li>四</ol>",
         "<ol start=\"3\"><li>三</li></ol><p>间</p><ol start=\"4\"><li>四</li></ol>"},
        {u"<ol type=a><li>甲<li value=9>乙<li>丙</ol>",
         "<ol type=\"a\"><li>甲</li></ol><ol type=\"a\" start=\"9\"><li>乙</li><li>丙</li></ol>"},
        {u"<ol><li></li></ol>后", "后"},
        {u"<ul><li>一<ol><li>甲<li>乙</ol></li><li>二</ul>",
         "<ul><li>一<ol><li>甲</li><li>乙</li></ol></li><li>二</li></ul>"},
        {u"一<wbr>二<hr>三<embed src='x'>四", "一二/三四"},
        {u"<table><tr><td>a</td><td>b</td></tr><tr><td>c</td><td>d</td></tr></table>", "a\tb/c\td"},
        {u"看<a href=\"http://x.cn/\">这里</a>", "看这里（http://x.cn/）"},
        {u"<script>alert(1)</script>好<style>p{}</style>", "好"},
        {u"<span style=\"font-weight: bold\">粗</span>", "<p><b>粗</b></p>"},
        {u"a<unknown>b</unknown>c", "abc"},
        {u"<b", ""},
        {u"</p></div>x</b>", "x"},
        {u"<img src=\"http://x.cn/a.png\">", "［图片：http://x.cn/a.png］"},
    };
    for (const Case& one : cases) {
        TextNotes notes;
        EXPECT_EQ(ShownText(Canonical(FromHtml(one.html, {}, notes))), one.expected) << ToUtf8(one.html);
        EXPECT_TRUE(notes.errors.empty());
    }
}

// "1. 一/  a. 甲": what stands before an item, and how far within the text.
std::string Items(std::u16string_view html) {
    TextNotes notes;
    std::string out;
    const document::RichText text = Canonical(FromHtml(html, {}, notes));
    for (const document::Paragraph& paragraph : text.Paragraphs()) {
        if (!out.empty()) out += '/';
        out.append(static_cast<std::size_t>(paragraph.format.left_indent / 180), ' ');
        if (!paragraph.format.bullet.empty()) out += ToUtf8(paragraph.format.bullet) + ' ';
        for (const document::Run& run : paragraph.runs) out += ToUtf8(run.text);
    }
    TextNotes again;
    EXPECT_EQ(Canonical(FromHtml(ToHtml(text), {}, again)), text) << out;
    return out;
}

TEST(Html, ListsAreNumberedAsInABrowser) {
    const Case cases[] = {
        {u"<ol start=\"-1\"><li>x<li>y<li>z</ol>", "  -1. x/  0. y/  1. z"},
        {u"<ol type='A' start='26'><li>x<li>y</ol>", "  Z. x/  AA. y"},
        {u"<ol type=a start=0><li>x<li>y</ol>", "  0. x/  a. y"},
        {u"<ol type=i start=8><li>x<li>y<li>z</ol>", "  viii. x/  ix. y/  x. z"},
        {u"<ol type=I start=3999><li>x<li>y</ol>", "  MMMCMXCIX. x/  4000. y"},
        {u"<ol style='list-style-type: lower-roman;'><li>x<li value=5>y<li>z</ol>", "  i. x/  v. y/  vi. z"},
        {u"<ol type=a start=9><li>x<li>y</ol>", "  i. x/  j. y"},
        {u"<ol reversed start=3><li>x<li>y</ol>", "  3. x/  2. y"},
        {u"<ol start=x><li>x</ol><ol start='99999999999999999999'><li>x</ol>", "  1. x/  1. x"},
        {u"<ol><li>一<ol type=a><li>甲<li>乙<ul><li>点</ul></ol><li>二</ol>",
         "  1. 一/    a. 甲/    b. 乙/      • 点/  2. 二"},
        {u"<ol><li>一<p>续</p><li>二</ol>", "  1. 一/续/  2. 二"},
        {u"<ul style=\"list-style-type: '◆ '\"><li>x<li>y</ul><ul style='list-style-type:none'><li>z</ul>",
         "  ◆ x/  ◆ y/z"},
        {u"<li>x</li>", "  • x"},
    };
    for (const Case& one : cases) EXPECT_EQ(Items(one.html), one.expected) << ToUtf8(one.html);
    std::u16string deep, many = u"深";
    for (int i = 0; i < 30; ++i) deep += u"<ul><li>x";
    EXPECT_TRUE(Items(deep).ends_with(std::string(18, ' ') + "• x")) << "no deeper than nine";
    for (int i = 0; i < 1000; ++i) many += u"<wbr><col><input><embed>";
    EXPECT_EQ(Items(many + u"处"), "深处") << "what has no content is not deep";
}

TEST(Html, WhatIsLostIsTold) {
    TextNotes notes;
    FromHtml(u"<a href='http://a'>x</a><table><tr><td>1<td>2</table><script>1</script><img src='http://x/y.png'>", {},
             notes);
    EXPECT_EQ(notes.changed,
              (std::vector<std::u16string>{u"链接改为文字。", u"表格改为用制表符分开的文字。",
                                           u"略去网页内容 <script>。", u"图片“http://x/y.png”不在文件里，改为文字。"}));
}

TEST(Html, PicturesComeFromTheFileOrTheText) {
    const PictureFiles files = [](std::u16string_view name) -> std::optional<Bytes> {
        if (name == u"dot.png") return DotBytes();
        if (name == u"text.png") return Bytes{'n', 'o'};
        if (name.ends_with(u".jpg")) {
            // A segment with a small picture in it, the frame of 2 by 1 pixels, and the data.
            Bytes photo = {0xFF, 0xD8, 0xFF, 0xE1, 0, 8,    0xFF, 0xDA, 0xFF, 0xD9, 0,    0,    0xFF, 0xC0,
                           0,    11,   8,    0,    1, 0,    2,    1,    1,    0x11, 0,    0xFF, 0xDA, 0,
                           8,    1,    1,    0,    0, 0x3F, 0,    0x12, 0xFF, 0,    0x34, 0xFF, 0xD9};
            if (name == u"cut.jpg") photo.resize(photo.size() - 2);
            if (name == u"head.jpg") photo.resize(25);
            return photo;
        }
        if (name == u"half.png") {
            Bytes half = DotBytes();
            half.resize(40);
            return half;
        }
        return std::nullopt;
    };
    TextNotes notes;
    const document::RichText text = FromHtml(u"看<img src=\"@@PLUGINFILE@@/dot.png\" width=\"20\">", files, notes);
    const document::Run& run = text.Paragraphs()[0].runs[1];
    ASSERT_TRUE(notes.errors.empty()) << ToUtf8(notes.errors[0]);
    ASSERT_NE(run.picture, nullptr);
    EXPECT_EQ(run.picture->kind, document::Picture::Kind::Png);
    EXPECT_EQ(run.picture->width, 20 * document::kTwipsPerPixel);
    EXPECT_EQ(run.picture->height, 10 * document::kTwipsPerPixel);
    const std::u16string data = u"<img src=\"data:image/png;base64," + FromUtf8(kDot) + u"\">";
    ASSERT_TRUE(notes.errors.empty()) << ToUtf8(notes.errors[0]);
    EXPECT_NE(FromHtml(data, {}, notes).Paragraphs()[0].runs[0].picture, nullptr);
    EXPECT_TRUE(notes.errors.empty());
    const document::RichText photo = FromHtml(u"<img src='@@PLUGINFILE@@/whole.jpg'>", files, notes);
    ASSERT_TRUE(notes.errors.empty()) << ToUtf8(notes.errors[0]);
    EXPECT_EQ(photo.Paragraphs()[0].runs[0].picture->kind, document::Picture::Kind::Jpeg);
    for (const char16_t* bad :
         {u"@@PLUGINFILE@@/cut.jpg", u"@@PLUGINFILE@@/head.jpg", u"@@PLUGINFILE@@/text.png", u"@@PLUGINFILE@@/half.png",
          u"@@PLUGINFILE@@/none.png", u"data:image/png;base64,!!", u"data:image/gif;base64,R0lGODlhAQABAAAAACw="}) {
        TextNotes bad_notes;
        FromHtml(u"<img src='" + std::u16string(bad) + u"'>", files, bad_notes);
        EXPECT_EQ(bad_notes.errors.size(), 1U) << ToUtf8(bad);
    }
}

TEST(Html, ProgramsAreNoTags) {
    for (const char16_t* text : {u"#include <stdio.h>", u"a<b && c>d", u"x <y", u"i<s>j", u"p<"}) {
        EXPECT_EQ(HasTags(text), std::u16string_view(text) == u"i<s>j") << ToUtf8(text);
    }
    EXPECT_TRUE(HasTags(u"H<sub>2</sub>"));
    EXPECT_TRUE(HasTags(u"<p style=\"color:red\">x"));
    EXPECT_TRUE(HasTags(u"a<br/>b"));
}

TEST(BlankMarks, AreFoundInEveryForm) {
    const auto count = [](std::u16string_view stem) { return BlankMarks(stem).size(); };
    EXPECT_EQ(count(u"甲【1】乙【2】"), 2U);
    EXPECT_EQ(count(u"甲【2】乙"), 0U);
    EXPECT_EQ(count(u"甲____乙__"), 2U);
    EXPECT_EQ(count(u"snake_case 不算"), 0U);
    EXPECT_EQ(count(u"甲（　　）乙( )，函数 f() 不算"), 2U);
}

}  // namespace
}  // namespace qmtrain::exchange
