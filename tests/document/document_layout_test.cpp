// Line breaking and places of rich texts, with letters ten pixels wide and Chinese characters twenty.

#include "document/document_layout.h"

#include <gtest/gtest.h>

#include "core/text.h"
#include "document/support/fixed_measurer.h"

namespace qmtrain::document {
namespace {

using test::FixedMeasurer;
using test::kLetter;

const CharacterFormat kBold{.bold = true};

RichText TextOf(std::initializer_list<std::u16string_view> runs) {
    RichText text;
    bool bold = false;
    for (const std::u16string_view run : runs) {
        text.AppendText(run, bold ? kBold : CharacterFormat{});
        bold = !bold;
    }
    return text;
}

std::u16string Shown(const DocumentLayout& layout) {
    std::u16string out;
    for (const Line& line : layout.Lines()) {
        if (&line != &layout.Lines().front()) out += u"/";
        for (const Piece& piece : line.pieces) out += piece.text;
    }
    return out;
}

// Lines follow one another without a gap in text and height, and pieces without one in text and width.
void ExpectSound(const RichText& text, const DocumentLayout& layout) {
    std::int64_t top = 0;
    std::u16string shown;
    const std::u16string plain = text.PlainText();
    for (const Line& line : layout.Lines()) {
        EXPECT_GE(line.top, top);
        top = line.top + line.height;
        EXPECT_GT(line.height, 0);
        std::size_t position = line.position;
        int x = line.pieces.empty() ? 0 : line.pieces.front().x;
        for (const Piece& piece : line.pieces) {
            EXPECT_EQ(piece.position, position);
            EXPECT_EQ(piece.x, x);
            EXPECT_EQ(plain.substr(position, piece.text.size()), piece.text);
            position += piece.text.size();
            x += piece.width;
            shown += piece.text;
        }
    }
    EXPECT_EQ(top, layout.Height());
    std::u16string without_ends = plain;
    std::erase(without_ends, kParagraphEnd);
    EXPECT_EQ(shown, without_ends);
}

TEST(DocumentLayout, BreaksLines) {
    struct Case {
        const char* name;
        std::initializer_list<std::u16string_view> runs;  // every second one bold
        int letters;                                      // the width
        std::u16string lines;
    };
    const Case cases[] = {
        {"fits", {u"ab cd"}, 5, u"ab cd"},
        {"at blanks", {u"ab cd ef"}, 6, u"ab cd /ef"},
        {"blanks hang over the edge", {u"abcde   f"}, 5, u"abcde   /f"},
        {"also at the end", {u"ab abc   "}, 3, u"ab /abc   "},
        {"and before the next run", {u"abc  ", u"d"}, 3, u"abc  /d"},
        {"a long word", {u"abcdefgh ij"}, 3, u"abc/def/gh /ij"},
        {"between Chinese characters", {u"中文字符"}, 5, u"中文/字符"},
        {"between Chinese and Latin", {u"中文abc"}, 6, u"中文/abc"},
        {"not before closing punctuation", {u"中文字。符"}, 6, u"中文/字。符"},
        {"not after opening punctuation", {u"中文（字"}, 6, u"中文/（字"},
        {"nor between two of them", {u"中文字”。"}, 8, u"中文/字”。"},
        {"no place to break", {u"。。。。"}, 4, u"。。/。。"},
        {"a word across runs", {u"ab c", u"de"}, 5, u"ab /cde"},
        {"a word across three runs", {u"ab c", u"d", u"e"}, 5, u"ab /cde"},
        {"closing punctuation in the next run", {u"中文字", u"。"}, 6, u"中文/字。"},
        {"opening punctuation in the run before", {u"中文（", u"字"}, 6, u"中文/（字"},
        {"a run that may be alone", {u"中文", u"字"}, 5, u"中文/字"},
        {"no place to break across runs", {u"abc", u"de"}, 4, u"abc/de"},
        {"nor with what was carried over", {u"x abc", u"de"}, 4, u"x /abc/de"},
        {"a tab to the next half inch", {u"a\tb"}, 9, u"a\tb"},
        {"a tab beyond the edge", {u"abcdef\tgh"}, 9, u"abcdef\t/gh"},
        {"a line break", {u"ab\vcd"}, 9, u"ab\v/cd"},
        {"paragraphs", {u"ab\n\ncd"}, 9, u"ab//cd"},
        {"pairs of surrogates stay whole", {u"\U00020000\U00020001"}, 1, u"\U00020000/\U00020001"},
        {"nothing", {u""}, 5, u""},
        {"no room at all", {u"ab"}, 0, u"a/b"},
    };
    FixedMeasurer measurer;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const RichText text = TextOf(c.runs);
        const DocumentLayout layout(text, c.letters * kLetter, measurer);
        EXPECT_EQ(ToUtf8(Shown(layout)), ToUtf8(c.lines));
        ExpectSound(text, layout);
    }
}

TEST(DocumentLayout, PlacesLinesByFormat) {
    struct Case {
        const char* name;
        ParagraphFormat format;
        std::vector<int> lefts;  // of the lines "aaa bbb " and "cccc" in a hundred pixels
    };
    const Case cases[] = {
        {"left", {}, {0, 0}},
        {"centred", {.alignment = Alignment::Center}, {15, 30}},
        {"right", {.alignment = Alignment::Right}, {30, 60}},
        {"indented", {.left_indent = 150, .first_line_indent = 150}, {20, 10}},
        {"hanging", {.left_indent = 300, .first_line_indent = -300}, {0, 20}},
        {"after a bullet", {.left_indent = 300, .first_line_indent = -300, .bullet = u"1."}, {30, 20}},
    };
    FixedMeasurer measurer;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        RichText text = TextOf({u"aaa bbb cccc"});
        text.SetParagraphFormat(c.format);
        const DocumentLayout layout(text, 100, measurer);
        std::vector<int> lefts;
        for (const Line& line : layout.Lines()) lefts.push_back(line.pieces.front().x);
        EXPECT_EQ(lefts, c.lefts);
        EXPECT_EQ(layout.Lines().front().bullet_of != nullptr, !c.format.bullet.empty());
        ExpectSound(text, layout);
    }
}

TEST(DocumentLayout, TabsGoToTheirStops) {
    FixedMeasurer measurer;
    RichText text = TextOf({u"a\tb\tc\td"});
    text.SetParagraphFormat({.tab_stops = {300, 750}});
    const DocumentLayout layout(text, 400, measurer);
    std::vector<int> letters;
    for (const Piece& piece : layout.Lines()[0].pieces) {
        if (piece.text != u"\t") letters.push_back(piece.x);
    }
    EXPECT_EQ(letters, (std::vector<int>{0, 20, 50, 96}));  // past its own stops every half inch
}

TEST(DocumentLayout, LinesAreAsHighAsTheirHighestPartAndPicturesShrink) {
    FixedMeasurer measurer;
    RichText text = TextOf({u"a"});
    text.AppendText(u"B", {.half_points = 48});
    text.AppendText(u"\nc ");
    text.AppendPicture({.width = 3000, .height = 1500});  // 200 by 100 pixels
    text.AppendText(u"，d");
    const DocumentLayout layout(text, 100, measurer);
    ASSERT_EQ(layout.Lines().size(), 4U);
    EXPECT_EQ(layout.Lines()[0].height, 28);
    EXPECT_EQ(layout.Lines()[0].ascent, 20);
    const Piece& picture = layout.Lines()[2].pieces.front();
    EXPECT_EQ(picture.width, 100);
    EXPECT_EQ(picture.picture_height, 50);
    EXPECT_EQ(layout.Lines()[2].height, 54);
    ExpectSound(text, layout);

    RichText inline_picture = TextOf({u"中"});
    inline_picture.AppendPicture({.width = 450, .height = 150});
    inline_picture.AppendText(u"，文");
    EXPECT_EQ(Shown(DocumentLayout(inline_picture, 60, measurer)), u"中/\uFFFC，/文") << "a comma begins a line";
}

TEST(DocumentLayout, PositionsFromPoints) {
    FixedMeasurer measurer;
    RichText text = TextOf({u"ab", u"中", u"\tx\ncd\vef"});
    text.AppendPicture({.width = 600, .height = 300});
    const DocumentLayout layout(text, 200, measurer);
    struct Case {
        int x;
        int y;
        std::size_t position;
    };
    for (const Case& c : {Case{-5, 0, 0}, Case{4, 0, 0}, Case{5, 0, 1}, Case{20, 0, 2}, Case{29, 0, 2}, Case{30, 0, 3},
                          Case{500, 0, 5}, Case{0, -50, 0}, Case{0, 14, 6}, Case{500, 14, 8}, Case{0, 28, 9},
                          Case{39, 40, 11}, Case{41, 40, 12}, Case{500, 900, 12}}) {
        EXPECT_EQ(layout.PositionAt(c.x, c.y, measurer), c.position) << c.x << ", " << c.y;
    }
    EXPECT_EQ(layout.LineAt(13), 0U);
    EXPECT_EQ(layout.LineAt(14), 1U);
    EXPECT_EQ(layout.LineAt(9999), layout.Lines().size());
    EXPECT_EQ(DocumentLayout().PositionAt(0, 0, measurer), 0U);
}

// Whatever the text and the width, nothing is lost and the end is reached.
TEST(DocumentLayout, AnyTextInAnyWidth) {
    constexpr std::u16string_view kUnits = u"ab 中。（\t\v\n";
    FixedMeasurer measurer;
    std::uint32_t random = 1;
    for (int i = 0; i < 2000; ++i) {
        RichText text;
        for (int runs = 0; runs < 4; ++runs) {
            std::u16string run;
            for (int units = 0; units < 6; ++units) {
                random = random * 1664525 + 1013904223;
                run += kUnits[(random >> 16) % kUnits.size()];
            }
            text.AppendText(run, runs % 2 == 0 ? CharacterFormat{} : kBold);
            if (i % 3 == 0) text.AppendPicture({.width = 450, .height = 150});
        }
        ExpectSound(text, DocumentLayout(text, i % 13 * kLetter, measurer));
        if (HasFailure()) FAIL() << ToUtf8(text.PlainText()) << " in " << i % 13;
    }
}

}  // namespace
}  // namespace qmtrain::document
