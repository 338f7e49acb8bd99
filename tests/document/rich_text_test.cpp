// The document: find, replace, runs that merge.

#include "document/rich_text.h"

#include <random>

#include <gtest/gtest.h>

namespace qmtrain::document {
namespace {

using TextRun = Run;  // GoogleTest's tests have a Run of their own

const CharacterFormat kPlain;
const CharacterFormat kBold{.bold = true};
const CharacterFormat kItalic{.italic = true};

// "单选题" in bold and the question's text; a second paragraph with a picture and a third one.
RichText Question() {
    RichText text;
    text.AppendText(u"单选题", kBold);
    text.AppendText(u"：[%User%]下列\r\n图", kPlain);
    text.SetParagraphFormat({.alignment = Alignment::Center});
    text.AppendPicture({.kind = Picture::Kind::Png, .bytes = {1, 2}, .width = 15, .height = 15}, kPlain);
    text.AppendText(u"\nABC", kItalic);
    return text;
}

TEST(RichText, PicturesAndParagraphEndsAreOnePosition) {
    const RichText text = Question();
    EXPECT_EQ(text.PlainText(), u"单选题：[%User%]下列\n图\xFFFC\nABC");
    EXPECT_EQ(text.Length(), 21U);
    EXPECT_EQ(RichText().Length(), 0U);
    EXPECT_EQ(RichText().Paragraphs().size(), 1U);
}

TEST(RichText, EqualNeighboursMerge) {
    RichText text;
    for (const char16_t* piece : {u"a", u"", u"b"}) text.AppendText(piece, kBold);
    text.AppendText(u"c", kPlain);
    RichText more;
    more.AppendText(u"d\xFFFC\n", kPlain);
    more.AppendText(u"e", kPlain);
    text.Append(more);
    ASSERT_EQ(text.Paragraphs().size(), 2U);
    const auto& runs = text.Paragraphs()[0].runs;
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[0], (TextRun{u"ab", kBold}));
    EXPECT_EQ(runs[1], (TextRun{u"cd\xFFFD", kPlain}));  // a mark without a picture is none
}

TEST(RichText, PicturesAreEqualByContent) {
    EXPECT_EQ(Question(), Question());
    RichText other;
    other.AppendPicture({.kind = Picture::Kind::Png, .bytes = {1, 3}, .width = 15, .height = 15});
    RichText another;
    another.AppendPicture({.kind = Picture::Kind::Png, .bytes = {1, 2}, .width = 15, .height = 15});
    EXPECT_NE(other, another);
    RichText mark;
    mark.AppendText(u"\xFFFD");
    EXPECT_NE(other, mark);
}

TEST(RichText, AnEmptyParagraphTakesTheFormatOfWhatIsAppended) {
    const ParagraphFormat centered{.alignment = Alignment::Center};
    RichText title;
    title.SetParagraphFormat(centered);
    title.AppendText(u"标题", kBold);
    RichText text;
    text.Append(title);
    text.EndParagraph();
    text.SetParagraphFormat({});
    text.AppendText(u"正文");
    text.Append(title);
    ASSERT_EQ(text.PlainText(), u"标题\n正文标题");
    EXPECT_EQ(text.Paragraphs()[0].format, centered);
    EXPECT_EQ(text.Paragraphs()[1].format, ParagraphFormat());
}

TEST(RichText, Find) {
    constexpr auto kExact = RichText::Case::Sensitive;
    constexpr auto kAny = RichText::Case::Insensitive;
    struct Case {
        const char* name;
        std::u16string text;
        std::size_t from;
        RichText::Case how;
        std::optional<std::size_t> position;
    };
    const Case cases[] = {
        {"other case", u"[%user%]", 0, kAny, 4},
        {"other case, exactly", u"[%user%]", 0, kExact, std::nullopt},
        {"across runs", u"题：", 0, kExact, 2},
        {"across paragraphs", u"列\n图", 0, kExact, 13},
        {"after a picture", u"abc", 0, kAny, 18},
        {"from its own place", u"[%USER%]", 4, kAny, 4},
        {"from after it", u"[%USER%]", 5, kAny, std::nullopt},
        {"from beyond the end", u"a", 100, kAny, std::nullopt},
        {"nothing", u"", 0, kAny, std::nullopt},
    };
    for (const Case& test : cases)
        EXPECT_EQ(Question().Find(test.text, test.from, test.how), test.position) << test.name;
}

TEST(RichText, ReplaceKeepsTheFirstFormat) {
    struct Case {
        const char* name;
        std::size_t position;
        std::size_t length;
        std::u16string text;
        std::u16string result;
        std::vector<TextRun> first;  // the runs of the first paragraph
    };
    const std::u16string rest = u"\n图\xFFFC\nABC";
    const Case cases[] = {
        {"within a run", 4, 8, u"", u"单选题：下列" + rest, {{u"单选题", kBold}, {u"：下列", kPlain}}},
        {"across runs", 1, 3, u"项", u"单项[%User%]下列" + rest, {{u"单项", kBold}, {u"[%User%]下列", kPlain}}},
        {"nothing replaced",
         3,
         0,
         u"!",
         u"单选题!：[%User%]下列" + rest,
         {{u"单选题!", kBold}, {u"：[%User%]下列", kPlain}}},
        {"at the start",
         0,
         0,
         u"1.",
         u"1.单选题：[%User%]下列" + rest,
         {{u"1.单选题", kBold}, {u"：[%User%]下列", kPlain}}},
        {"across paragraphs",
         13,
         6,
         u"",
         u"单选题：[%User%]下BC",
         {{u"单选题", kBold}, {u"：[%User%]下", kPlain}, {u"BC", kItalic}}},
        {"a paragraph more", 3, 11, u"\n", u"单选题\n" + rest, {{u"单选题", kBold}}},
        {"everything", 0, 999, u"x", u"x", {{u"x", kBold}}},
        {"beyond the end",
         999,
         1,
         u"D",
         u"单选题：[%User%]下列" + rest + u"D",
         {{u"单选题", kBold}, {u"：[%User%]下列", kPlain}}},
    };
    for (const Case& test : cases) {
        RichText text = Question();
        text.Replace(test.position, test.length, test.text);
        EXPECT_EQ(text.PlainText(), test.result) << test.name;
        EXPECT_EQ(text.Paragraphs()[0].runs, test.first) << test.name;
        EXPECT_EQ(text.Paragraphs()[0].format, ParagraphFormat()) << test.name;
    }
}

bool RunsAreMerged(const RichText& text) {
    for (const Paragraph& paragraph : text.Paragraphs()) {
        for (std::size_t i = 0; i < paragraph.runs.size(); ++i) {
            if (paragraph.runs[i].text.empty()) return false;
            if (i > 0 && paragraph.runs[i].format == paragraph.runs[i - 1].format) return false;
        }
    }
    return true;
}

TEST(RichText, ReplacesLikeAString) {
    std::mt19937 random(7);  // NOLINT: the same edits every time
    const std::u16string pieces[] = {u"", u"a", u"\n", u"中文\n", u"xyz", u"\n\n"};
    RichText text;
    std::u16string model;
    for (int i = 0; i < 3000; ++i) {
        const std::size_t position = random() % (model.size() + 1);
        const std::size_t length = random() % 6;
        const std::u16string& piece = pieces[random() % std::size(pieces)];
        if (i % 3 == 0) {
            text.AppendText(piece, i % 2 == 0 ? kBold : kItalic);
            model += piece;
        } else {
            text.Replace(position, length, piece);
            model.replace(position, length, piece);
        }
        ASSERT_EQ(text.PlainText(), model) << i;
        ASSERT_EQ(text.Length(), model.size()) << i;
        ASSERT_TRUE(RunsAreMerged(text)) << i;
    }
}

}  // namespace
}  // namespace qmtrain::document
