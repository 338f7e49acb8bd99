// Writing RTF, and reading back what was written.

#include "document/rtf_writer.h"

#include <random>

#include <gtest/gtest.h>

#include "core/text.h"
#include "document/rtf_reader.h"

namespace qmtrain::document {
namespace {

RichText Sample() {
    RichText text;
    text.AppendText(u"中A{\\}", {.font = u"宋体", .half_points = 21});
    text.AppendText(u"x\ty\v;", {.font = u"Arial", .bold = true, .color = Rgb{255, 0, 0}, .background = Rgb{1, 2, 3}});
    text.SetParagraphFormat({.alignment = Alignment::Center, .left_indent = 400, .tab_stops = {720}, .bullet = u"•"});
    text.EndParagraph();
    text.SetParagraphFormat({});
    text.AppendPicture({.kind = Picture::Kind::Png, .bytes = {0x89, 0x50}, .width = 300, .height = 150});
    text.AppendText(u"1", {.script = Script::Superscript});
    return text;
}

TEST(RtfWriter, Writes) {
    EXPECT_EQ(
        WriteRtf(Sample()),
        "{\\rtf1\\ansi\\ansicpg936\\uc1{\\fonttbl{\\f0\\fnil\\fcharset134 \\u23435?\\u20307?;}"
        "{\\f1\\fnil\\fcharset0 Arial;}}{\\colortbl ;\\red255\\green0\\blue0;\\red1\\green2\\blue3;}\r\n"
        "\\pard\\qc\\li400\\tx720 {\\pntext \\u8226?\\tab}"
        "\\plain\\f0\\fs21 \\u20013?A\\{\\\\\\}\\plain\\f1\\b\\cf1\\highlight2 x\\tab y\\line ;\\par\r\n"
        "\\pard \\plain {\\pict\\pngblip\\picw20\\pich10\\picwgoal300\\pichgoal150\r\n8950}\\plain\\super 1\\par\r\n"
        "}\r\n");
    EXPECT_EQ(WriteRtf({}), "{\\rtf1\\ansi\\ansicpg936\\uc1\r\n\\pard \\par\r\n}\r\n");
}

TEST(RtfWriter, RoundTripOfTexts) {
    const std::u16string texts[] = {
        u"",
        u"\n",
        u"\n\na\n\n",
        u" leading and trailing ",
        u"\\par {\\b} \\'d6 \\u20013? ;",
        u"-1?\n5",
        u"\t\v\t",
        u"\x7F\x80\xA0\xAD\x2011\x2022",
        u"\xD83D\xDE00\xD800\xFFFF\xFFFD",
        std::u16string(u"\x01\x00\x1F", 3),
    };
    for (const std::u16string& written : texts) {
        RichText text;
        text.AppendText(written);
        const RichText read = ReadRtf(FromUtf8(WriteRtf(text)));
        EXPECT_EQ(read.PlainText(), written);
        EXPECT_EQ(read, text);
    }
}

class RandomText {
public:
    explicit RandomText(unsigned seed) : random_(seed) {}

    RichText Make() {
        RichText text;
        for (int pieces = Number(0, 20); pieces > 0; --pieces) AppendPiece(text);
        return text;
    }

private:
    int Number(int least, int most) { return std::uniform_int_distribution(least, most)(random_); }
    bool Flag() { return Number(0, 1) == 1; }
    template <class T, std::size_t size>
    const T& OneOf(const T (&list)[size]) {
        return list[Number(0, size - 1)];
    }
    std::optional<Rgb> Color() {
        constexpr std::optional<Rgb> kColors[] = {std::nullopt, Rgb{0, 0, 0}, Rgb{255, 255, 255}, Rgb{12, 34, 56}};
        return OneOf(kColors);
    }

    void AppendPiece(RichText& text) {
        switch (Number(0, 5)) {
            case 0: text.EndParagraph(); [[fallthrough]];
            case 1: return text.SetParagraphFormat(Paragraph());
            case 2: return text.AppendPicture(Image(), Characters());
            default: return text.AppendText(Words(), Characters());
        }
    }

    CharacterFormat Characters() {
        static const std::u16string kFonts[] = {u"", u"宋体", u"Arial", u"a;b\\c{d}", u"Times New Roman"};
        return {.font = OneOf(kFonts),
                .half_points = Number(0, 1) * Number(0, 3276),
                .bold = Flag(),
                .italic = Flag(),
                .underline = Flag(),
                .strike_out = Flag(),
                .script = static_cast<Script>(Number(0, 2)),
                .color = Color(),
                .background = Color()};
    }

    ParagraphFormat Paragraph() {
        static const std::u16string kBullets[] = {u"", u"•", u"1.", u"(甲)", u"\\"};
        ParagraphFormat format{.alignment = static_cast<Alignment>(Number(0, 3)),
                               .left_indent = Number(-31680, 31680),
                               .right_indent = Number(0, 1),
                               .first_line_indent = Number(-500, 500),
                               .space_before = Number(0, 300),
                               .space_after = Number(0, 300),
                               .bullet = OneOf(kBullets)};
        for (int stops = Number(0, 4); stops > 0; --stops) format.tab_stops.push_back(Number(0, 31680));
        return format;
    }

    Picture Image() {
        constexpr Picture::Kind kKinds[] = {Picture::Kind::Png, Picture::Kind::Jpeg, Picture::Kind::Dib,
                                            Picture::Kind::Metafile};
        Picture picture{.kind = OneOf(kKinds),
                        .bytes = Bytes(Number(1, 300)),
                        .width = Number(1, 31680),
                        .height = Number(1, 31680)};
        for (auto& byte : picture.bytes) byte = static_cast<std::uint8_t>(Number(0, 255));
        return picture;
    }

    std::u16string Words() {
        static const std::u16string kWords[] = {u"答案", u"a", u" ", u"\\", u"{",  u"}",   u"\t",  u"\v",
                                                u"?",    u"7", u"-", u"😀",  u"\n", u"'d6", u"\r\n"};
        std::u16string text;
        for (int words = Number(0, 12); words > 0; --words) text += OneOf(kWords);
        return text;
    }

    std::mt19937 random_;
};

TEST(RtfWriter, RoundTripOfRandomDocuments) {
    for (unsigned seed = 0; seed < 500; ++seed) {
        const RichText text = RandomText(seed).Make();
        const std::string rtf = WriteRtf(text);
        for (const char byte : rtf) ASSERT_GE(byte, 0);
        ASSERT_EQ(ReadRtf(FromUtf8(rtf)), text) << "seed " << seed << "\n" << rtf;
    }
}

}  // namespace
}  // namespace qmtrain::document
