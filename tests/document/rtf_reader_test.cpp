// Reading RTF: characters in every form, formats, groups that are not text, damage.

#include "document/rtf_reader.h"

#include <span>

#include <gtest/gtest.h>

#include "core/text.h"
#include "document/rtf_writer.h"

namespace qmtrain::document {
namespace {

struct TextCase {
    const char* name;
    std::u16string rtf;
    std::u16string text;
};

void ExpectTexts(std::span<const TextCase> cases) {
    for (const TextCase& test : cases) EXPECT_EQ(ReadRtf(test.rtf).PlainText(), test.text) << test.name;
}

// A document of Chinese Windows around a body; fonts of several character sets.
std::u16string Document(std::u16string_view body) {
    return uR"({\rtf1\ansi\ansicpg936\deff0\deflang1033\deflangfe2052{\fonttbl)"
           uR"({\f0\fnil\fprq2\fcharset134 \'cb\'ce\'cc\'e5;}{\f1\fswiss\fprq2\fcharset0 Arial;})"
           uR"({\f2\fnil\fcharset2 Symbol;}{\f3\froman\fcharset136 \'b7\'73\'b2\'d3\'a9\'fa\'c5\'e9;})"
           uR"({\f4\fnil\fcharset128 MS Mincho;}{\f5\fnil\fcharset129 Batang;}{\f6\fnil\fcharset204 Arial Cyr;}})"
           u"\r\n"
           uR"({\colortbl ;\red255\green0\blue0;\red0\green128\blue255;})"
           u"\r\n"
           uR"({\*\generator Riched20 5.40.11.2210;}\viewkind4\uc1\pard\lang2052\f0\fs21 )" +
           std::u16string(body) + u"\\par\r\n}\r\n";
}

TEST(RtfReader, CharactersInEveryForm) {
    const TextCase cases[] = {
        {"two bytes", Document(uR"(\'bf\'bc\'c9\'fa 1)"), u"考生 1"},
        {"second byte as a letter", Document(uR"(\'e9F\'81@)"), u"镕丂"},
        {"second byte as a brace", Document(uR"(\f4\'96\{\'93\'fa)"), u"本日"},
        {"line end between the bytes", Document(u"\\'d6\r\n\\'d0"), u"中"},
        {"half a character", Document(uR"(\'d6\b x)"), u"\xFFFDx"},
        {"ANSI font, Chinese text", Document(uR"(\f1\'d6\'d0\'ce\'c4)"), u"中文"},
        {"ANSI font, French text", Document(uR"(\f1 caf\'e9s, Gr\'fcn)"), u"cafés, Grün"},
        {"traditional Chinese", Document(uR"(\f3\'a4\'a4\'a4\'e5)"), u"中文"},
        {"Korean", Document(uR"(\f5\'c7\'d1\'b1\'db)"), u"한글"},
        {"Cyrillic", Document(uR"(\f6\'cf\'f0)"), u"Пр"},
        {"unknown font", Document(uR"(\f77\'d6\'d0)"), u"中"},
        {"Western document", uR"({\rtf1\ansi\ansicpg1252{\fonttbl{\f0 Arial;}}\f0 Gr\'f6\'dfe})", u"Größe"},
        {"UTF-8 document", uR"({\rtf1\ansi\ansicpg65001 \'e4\'b8\'ad})", u"中"},
        {"code page of no meaning", uR"({\rtf1\ansi\ansicpg99999 \'d6\'d0})", u"中"},
        {"no code page", uR"({\rtf1\'d6\'d0})", u"中"},
        {"not hexadecimal", Document(uR"(a\'gg b)"), u"agg b"},

        {"numbers", Document(uR"(\u20013?\u25991 ?x)"), u"中文x"},
        {"negative numbers", Document(uR"(\u-28688?)"), u"\x8FF0"},
        {"a pair of surrogates", Document(uR"(\u-10179?\u-8704?)"), u"\xD83D\xDE00"},
        {"fallback in bytes", Document(uR"(\uc2\u20013\'d6\'d0\u25991\'ce\'c4.)"), u"中文."},
        {"fallback escaped", Document(uR"(\u20013\{x)"), u"中x"},
        {"no fallback", Document(uR"(\uc0\u20013\u25991 x)"), u"中文x"},
        {"fallback ends with its group", Document(uR"({\uc3\u20013?}abc\u25991?d)"), u"中abc文d"},
        {"forgotten fallback", Document(uR"(\u20013\b x)"), u"中x"},

        {"characters as they are", u"{\\rtf1下列\\b 叙述é\\par 😀}", u"下列叙述é\n😀"},
        {"names of characters", Document(uR"(\lquote\rquote\ldblquote\rdblquote\emdash\endash\bullet)"), u"‘’“”—–•"},
        {"symbols", Document(uR"(a\~b\_c\-d\{\}\\)"),
         u"a\xA0"
         u"b\x2011"
         u"c\xAD"
         u"d{}\\"},
        {"breaks", Document(u"a\\tab b\tc\\line d\\\r\ne"), u"a\tb\tc\vd\ne"},
        {"one blank belongs to the word", Document(uR"(a\b  b\b0 c)"), u"a bc"},
        {"a table", Document(uR"(\trowd\cellx900 a\cell b\cell\row c)"), u"a\tb\t\nc"},
    };
    ExpectTexts(cases);
}

TEST(RtfReader, GroupsThatAreNotText) {
    const TextCase cases[] = {
        {"unknown, starred", Document(uR"(a{\*\unknown b{\b c}\{}d)"), u"ad"},
        {"unknown, not starred", Document(uR"(a{\unknown b}c)"), u"abc"},
        {"a star alone", Document(uR"(a{\*}\b b{\*c\b d}e)"), u"abcde"},
        {"styles", Document(uR"({\stylesheet{\s0 Normal;}{\s1\b heading 1;}}a)"), u"a"},
        {"description", Document(uR"({\info{\title b}{\author c}}a)"), u"a"},
        {"a link", Document(uR"({\field{\*\fldinst HYPERLINK "x"}{\fldrslt{\ul a}}}b)"), u"ab"},
        {"braces in binary data", Document(u"{\\*\\data\\bin4 }}{\\}a"), u"a"},
        {"binary data without a length", Document(uR"(a\bin b\bin-5 c)"), u"abc"},
        {"the word of a group inside of text", Document(uR"(C:\info\a b)"), u"C:b"},
        {"hidden", Document(uR"(a{\v b}c\v d\v0 e)"), u"ace"},
        {"colours and fonts inside of skipped groups",
         Document(uR"({\*\x{\colortbl;}{\fonttbl{\f0\fcharset136 x;}}}\'d6\'d0)"), u"中"},
        {"an object", Document(uR"(a{\object\objemb{\*\objclass Package}{\*\objdata 0105}{\result b}}c)"), u"abc"},
        {"a document in a document",
         uR"({\rtf1\b A\par {\rtf1\ansi\deff0{\fonttbl{\f0\fcharset136 x;}}\'a4\'a4\par }\par \'d6\'d0\par })",
         u"A\n中\n\n中"},
    };
    ExpectTexts(cases);
}

TEST(RtfReader, BeginningAndEnd) {
    const TextCase cases[] = {
        {"the last \\par begins no paragraph", u"{\\rtf1 a\\par\r\n}", u"a"},
        {"but the one before does", uR"({\rtf1 a\par\par})", u"a\n"},
        {"no \\par", uR"({\rtf1 a})", u"a"},
        {"nothing", uR"({\rtf1})", u""},
        {"after the end", uR"({\rtf1 a}b{\rtf1 c})", u"a"},
        {"blanks before", u"\xFEFF \r\n\t{\\rtf1 a}", u"a"},
        {"no closing braces", uR"({\rtf1 a{\b b)", u"ab"},
        {"ends in a word", uR"({\rtf1 a\)", u"a"},
        {"ends in a byte", uR"({\rtf1 a\'d)", u"ad"},
        {"no text, only a brace", u"{", u"{"},
        {"not quite RTF", uR"({\rt1 a})", uR"({\rt1 a})"},
        {"plain text", u"a\r\nb\rc\n\nd", u"a\nb\nc\n\nd"},
        {"nothing at all", u"", u""},
    };
    ExpectTexts(cases);
}

// The format of the last character.
TEST(RtfReader, CharacterFormats) {
    struct Case {
        std::u16string body;
        CharacterFormat format;
    };
    constexpr Rgb kRed{255, 0, 0};
    constexpr Rgb kBlue{0, 128, 255};
    const std::u16string song = u"宋体";
    const Case cases[] = {
        {u"x", {.font = song, .half_points = 21}},
        {uR"(\f1\fs36 x)", {.font = u"Arial", .half_points = 36}},
        {uR"(\f3\fs x)", {.font = u"新細明體", .half_points = 24}},
        {uR"(\f9 x)", {.half_points = 21}},
        {uR"(\b\i\ul\strike x)",
         {.font = song, .half_points = 21, .bold = true, .italic = true, .underline = true, .strike_out = true}},
        {uR"(\b\i\ul\strike\b0\i0\ulnone\strike0 x)", {.font = song, .half_points = 21}},
        {uR"(\uldb x)", {.font = song, .half_points = 21, .underline = true}},
        {uR"(\super x)", {.font = song, .half_points = 21, .script = Script::Superscript}},
        {uR"(\dn6 x)", {.font = song, .half_points = 21, .script = Script::Subscript}},
        {uR"(\sub a\nosupersub x)", {.font = song, .half_points = 21}},
        {uR"(\cf1\highlight2 x)", {.font = song, .half_points = 21, .color = kRed, .background = kBlue}},
        {uR"(\cf2\cb1 x)", {.font = song, .half_points = 21, .color = kBlue, .background = kRed}},
        {uR"(\cf1 a\cf0 x)", {.font = song, .half_points = 21}},
        {uR"(\cf3 x)", {.font = song, .half_points = 21}},
        {uR"({\b\f1\cf1 a}x)", {.font = song, .half_points = 21}},
        {uR"(\b\fs50\f1\plain x)", {.font = song}},
        {uR"(\fs999999 x)", {.font = song, .half_points = 3276}},
        {uR"({\rtf1\i x})", {.italic = true}},
    };
    for (const Case& test : cases) {
        const RichText text = ReadRtf(Document(test.body));
        EXPECT_EQ(text.Paragraphs().back().runs.back().format, test.format) << ToUtf8(test.body);
    }
}

TEST(RtfReader, ATextWithoutFontsLeavesThemToTheView) {
    EXPECT_EQ(ReadRtf(uR"({\rtf1 x\par })").Paragraphs()[0].runs[0].format, CharacterFormat());
}

TEST(RtfReader, AFontNameEndsWithItsSemicolonOrGroup) {
    struct Case {
        std::u16string table;
        std::u16string name;
    };
    const Case cases[] = {
        {uR"({\f0\fnil\fcharset134 \'cb\'ce\'cc\'e5{\*\falt SimSun};})", u"宋体"},
        {uR"(\f0\fnil Arial;\f1 Other;)", u"Arial"},
        {uR"({\f0 {\*\panose 020b}  Arial ;})", u"Arial"},
        {uR"({\f0\fcharset134 \u23435?\u20307?})", u"宋体"},
        {uR"({\f0 a\u59?b;c})", u"a;b"},
        {u"{\\f0 宋体;}", u"宋体"},
        {u"{\\f0 " + std::u16string(5000, u'x') + u";}", std::u16string(31, u'x')},
    };
    for (const Case& test : cases) {
        const RichText text = ReadRtf(u"{\\rtf1\\deff0{\\fonttbl" + test.table + u"}x}");
        EXPECT_EQ(text.Paragraphs()[0].runs[0].format.font, test.name) << ToUtf8(test.table);
    }
}

TEST(RtfReader, ParagraphFormats) {
    const RichText text = ReadRtf(
        Document(uR"(a\par\qc b\par\pard\qr\li400\ri300\fi-200\sb100\sa50\tx720\tx1440 c\par {\qj d\par}e\qj)"));
    const ParagraphFormat centered{.alignment = Alignment::Center};
    ParagraphFormat third{.alignment = Alignment::Right,
                          .left_indent = 400,
                          .right_indent = 300,
                          .first_line_indent = -200,
                          .space_before = 100,
                          .space_after = 50,
                          .tab_stops = {720, 1440}};
    ASSERT_EQ(text.Paragraphs().size(), 5U);
    EXPECT_EQ(text.Paragraphs()[0].format, ParagraphFormat());
    EXPECT_EQ(text.Paragraphs()[1].format, centered);
    EXPECT_EQ(text.Paragraphs()[2].format, third);
    third.alignment = Alignment::Justify;
    EXPECT_EQ(text.Paragraphs()[3].format, third);  // ended inside of its group
    EXPECT_EQ(text.Paragraphs()[4].format, third);  // ended by the document
}

TEST(RtfReader, Bullets) {
    const RichText text =
        ReadRtf(Document(uR"(\pard{\pntext\f2\'B7\tab}{\*\pn\pnlvlblt\pnf2{\pntxtb\'B7}}\fi-200 a\par )"
                         uR"({\listtext\f0 1.\tab}\u20013?\par c)"));
    ASSERT_EQ(text.PlainText(), u"a\n中\nc");
    EXPECT_EQ(text.Paragraphs()[0].format.bullet, u"•");
    EXPECT_EQ(text.Paragraphs()[1].format.bullet, u"1.");
    EXPECT_EQ(text.Paragraphs()[2].format.bullet, u"");
}

// Each gives a text that can be written and read again, and the sanitizers watch.
TEST(RtfReader, SurvivesDamage) {
    const std::u16string whole = Document(
        uR"(\'d6\'d0{\b\u20013?}{\pntext\'B7\tab}{\pict\pngblip\picw10\pich10 89504e47}{\*\x{\bin3 }}}}\cf1 a\par\line\super b)");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        std::u16string changed = whole;
        changed[length] = u"{}\\9 "[length % 5];
        for (const std::u16string& rtf : {whole.substr(0, length), changed}) {
            const RichText text = ReadRtf(rtf);
            ASSERT_EQ(ReadRtf(FromUtf8(WriteRtf(text))), text) << ToUtf8(rtf);
        }
    }
}

TEST(RtfReader, KeepsWithinBounds) {
    const std::u16string deep(1000000, u'{');
    const std::u16string shut(1000000, u'}');
    const TextCase cases[] = {
        {"nested", u"{\\rtf1 a" + deep.substr(0, 200) + u"b" + shut.substr(0, 200) + u"c}d", u"abc"},
        {"far too deep", u"{\\rtf1 a" + deep + u"b{\\pict 0", u"a"},
        {"far too deep and back", u"{\\rtf1 a" + deep + u"b" + shut + u"c}d", u"ac"},
        {"binary data beyond the end", u"{\\rtf1 a{\\pict\\pngblip\\bin2147483647 b", u"a\xFFFC"},
        {"numbers beyond any bound", uR"({\rtf1\li99999999999999999999\u99999999999?\fs-99999999999 a})",
         u"\xFFFF"
         u"a"},
        {"a long bullet", uR"({\rtf1{\pntext )" + std::u16string(100000, u'x') + u"}a}", u"a"},
    };
    ExpectTexts(cases);
}

}  // namespace
}  // namespace qmtrain::document
