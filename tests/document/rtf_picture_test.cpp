// Pictures: their kinds, their sizes, bitmaps inside of metafiles, bitmaps as files.

#include <gtest/gtest.h>

#include "core/text.h"
#include "document/picture.h"
#include "document/rtf_reader.h"

namespace qmtrain::document {
namespace {

using Kind = Picture::Kind;

// 3 by 2 pixels each.
const std::string kPng = "89504e470d0a1a0a0000000d494844520000000300000002";
const std::string kJpeg =
    "ffd8"
    "ffe000040000"
    "ffc0000b080002000301011100";
const std::string kDib =
    "28000000"
    "03000000"
    "02000000"
    "0100"
    "1800"
    "00000000"
    "00000000"
    "00000000"
    "00000000"
    "00000000"
    "00000000"
    "0000ff00ff00ff0000000000"
    "ff000000ff000000ff000000";
const std::string kMask =
    "0c000000"
    "0300"
    "0200"
    "0100"
    "0100"
    "000000ffffff"
    "a0000000"
    "40000000";

// Header of 9 words, the records, the end.
std::string Metafile(const std::string& records) {
    return "010009000003"
           "00000000"
           "0000"
           "00000000"
           "0000" +
           records + "030000000000";
}
std::string Record(int words, const std::string& function, const std::string& parameters) {
    constexpr char kDigits[] = "0123456789abcdef";
    return std::string{kDigits[words >> 4 & 15], kDigits[words & 15]} + "000000" + function + parameters;
}
// Raster operation, usage, eight coordinates.
std::string StretchDibits(const std::string& dib) {
    const std::string parameters =
        "2000cc00"
        "0000" +
        std::string(32, '0') + dib;
    return Record(static_cast<int>(3 + parameters.size() / 4), "430f", parameters);
}
std::string DibStretchBlt(const std::string& dib) {
    const std::string parameters = "c6008800" + std::string(32, '0') + dib;
    return Record(static_cast<int>(3 + parameters.size() / 4), "410b", parameters);
}
const std::string kSetMapMode =
    "04000000"
    "0301"
    "0800";

Bytes FromHex(const std::string& hex) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

RichText Read(const std::string& body) {
    return ReadRtf(FromUtf8("{\\rtf1\\ansi " + body + "\\par}"));
}

TEST(RtfPicture, KindsAndSizes) {
    struct Case {
        const char* name;
        std::string group;
        Kind kind;
        std::string hex;
        int width;
        int height;
    };
    const Case cases[] = {
        {"PNG, all sizes", "{\\pict\\pngblip\\picw79\\pich53\\picwgoal300\\pichgoal150 " + kPng + "}", Kind::Png, kPng,
         300, 150},
        {"PNG, its own size", "{\\pict\\pngblip " + kPng + "}", Kind::Png, kPng, 45, 30},
        {"PNG, pixels", "{\\pict\\pngblip\\picw10\\pich20\r\n" + kPng + "}", Kind::Png, kPng, 150, 300},
        {"scaled", "{\\pict\\picscalex50\\picscaley200\\picwgoal300\\pichgoal150\\pngblip\n" + kPng + "}", Kind::Png,
         kPng, 150, 300},
        {"JPEG", "{\\pict\\jpegblip\\picscalex100 " + kJpeg + "}", Kind::Jpeg, kJpeg, 45, 30},
        {"JPEG, cut off", "{\\pict\\jpegblip ffd8ff}", Kind::Jpeg, "ffd8ff", 480, 480},
        {"bitmap", "{\\pict\\dibitmap0\\wbmbitspixel24 " + kDib + "}", Kind::Dib, kDib, 45, 30},
        {"metafile with a bitmap",
         "{\\pict\\wmetafile8\\picw254\\pich127 " + Metafile(kSetMapMode + StretchDibits(kDib)) + "}", Kind::Dib, kDib,
         144, 72},
        {"mask and bitmap", "{\\pict\\wmetafile8 " + Metafile(DibStretchBlt(kMask) + StretchDibits(kDib)) + "}",
         Kind::Dib, kDib, 45, 30},
        {"metafile of lines", "{\\pict\\wmetafile8\\picwgoal90\\pichgoal60 " + Metafile(kSetMapMode) + "}",
         Kind::Metafile, Metafile(kSetMapMode), 90, 60},
        {"record without a length", "{\\pict\\wmetafile8 " + Metafile("00000000430f") + "}", Kind::Metafile,
         Metafile("00000000430f"), 480, 480},
        {"properties before the data",
         "{\\pict{\\*\\picprop{\\sp{\\sn a}{\\sv 12}}}\\pngblip{\\*\\blipuid 00ff}" + kPng + "}", Kind::Png, kPng, 45,
         30},
        {"lines and blanks in the data", "{\\pict\\pngblip 8 9\r\n5\r\n0}", Kind::Png, "8950", 480, 480},
        {"binary data", "{\\pict\\pngblip\\bin3 {}\\}", Kind::Png, "7b7d5c", 480, 480},
        {"sizes out of bounds", "{\\pict\\pngblip\\picwgoal999999\\pichgoal-5\\picscaley0 " + kPng + "}", Kind::Png,
         kPng, 31680, 30},
        {"the picture of an object",
         "{\\object\\objemb\\objw45\\objh30{\\*\\objclass Paint.Picture}{\\*\\objdata "
         "0105}{\\result{\\pict\\dibitmap0 " +
             kDib + "}}}",
         Kind::Dib, kDib, 45, 30},
        {"new and old form", "{\\*\\shppict{\\pict\\pngblip " + kPng + "}}{\\nonshppict{\\pict\\wmetafile8 00}}",
         Kind::Png, kPng, 45, 30},
        {"new form unknown", "{\\*\\shppict{\\pict\\emfblip 00}}{\\nonshppict{\\pict\\dibitmap0 " + kDib + "}}",
         Kind::Dib, kDib, 45, 30},
    };
    for (const Case& test : cases) {
        const RichText text = Read("{\\b a}" + test.group + "b");
        ASSERT_EQ(text.PlainText(),
                  u"a\xFFFC"
                  u"b")
            << test.name;
        const auto& picture = text.Paragraphs()[0].runs[1].picture;
        ASSERT_NE(picture, nullptr) << test.name;
        EXPECT_EQ(*picture, (Picture{test.kind, FromHex(test.hex), test.width, test.height})) << test.name;
    }
}

TEST(RtfPicture, UnknownKindsAndEmptyDataLeaveNothing) {
    for (const std::string group :
         {"{\\pict\\emfblip 00ff}", "{\\pict\\macpict 00ff}", "{\\pict\\wbitmap0 00ff}", "{\\pict 00ff}",
          "{\\pict\\pngblip }", "{\\pict\\pngblip 8}", "{\\v{\\pict\\pngblip 89}}"}) {
        EXPECT_EQ(Read("a" + group + "b").PlainText(), u"ab") << group;
    }
}

// The place of the pixels is after the header, the masks and the palette.
TEST(Picture, BitmapsBecomeFiles) {
    struct Case {
        const char* name;
        std::uint8_t bits;
        std::uint8_t compression;
        std::uint8_t colors;
        std::uint32_t pixels_at;
    };
    const Case cases[] = {
        {"24 bits", 24, 0, 0, 54},
        {"8 bits", 8, 0, 0, 54 + 1024},
        {"8 bits, 16 colours", 8, 0, 16, 54 + 64},
        {"1 bit", 1, 0, 0, 54 + 8},
        {"16 bits with masks", 16, 3, 0, 54 + 12},
        {"32 bits with alpha mask", 32, 6, 0, 54 + 16},
    };
    for (const Case& test : cases) {
        Bytes dib(2000);
        dib[0] = 40;
        dib[14] = test.bits;
        dib[16] = test.compression;
        dib[32] = test.colors;
        const Bytes file = PictureFile({.kind = Kind::Dib, .bytes = dib, .width = 15, .height = 15});
        const Bytes header = {'B',
                              'M',
                              0xDE,
                              0x07,
                              0,
                              0,
                              0,
                              0,
                              0,
                              0,
                              static_cast<std::uint8_t>(test.pixels_at & 255),
                              static_cast<std::uint8_t>(test.pixels_at >> 8),
                              0,
                              0};  // 2014 bytes
        EXPECT_EQ(Bytes(file.begin(), file.begin() + 14), header) << test.name;
        EXPECT_EQ(Bytes(file.begin() + 14, file.end()), dib) << test.name;
    }
    const Bytes core = PictureFile({.kind = Kind::Dib, .bytes = FromHex(kMask), .width = 15, .height = 15});
    EXPECT_EQ(core[10], 14 + 12 + 6);  // palette entries of three bytes
    EXPECT_EQ(PictureFile({.kind = Kind::Png, .bytes = FromHex(kPng), .width = 15, .height = 15}), FromHex(kPng));
}

// The size is that of the header which a decoder takes, or there is none.
TEST(Picture, SizesStandWhereDecodersFindThem) {
    const Bytes signature = {0x89, 'P', 'N', 'G', 13, 10, 26, 10};
    const Bytes header = {0, 0, 0, 13, 'I', 'H', 'D', 'R', 0, 0, 0, 10, 0, 0, 0, 20};
    const Bytes unknown = {0, 0, 0, 8, 'x', 'x', 'X', 'x', 0, 0, 0, 5, 0, 0, 0, 5};
    const Bytes frame = {0xFF, 0xC0, 0, 11, 8, 0, 20, 0, 10};
    const auto join = [](std::initializer_list<Bytes> parts) {
        Bytes all;
        for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
        return all;
    };
    struct Case {
        const char* name;
        Kind kind;
        Bytes bytes;
        bool known;
    };
    const Case cases[] = {
        {"PNG", Kind::Png, join({signature, header}), true},
        {"PNG, another chunk first", Kind::Png, join({signature, unknown, header}), false},
        {"PNG, a header of another length", Kind::Png,
         join({signature, {0, 0, 0, 14}, {header.begin() + 4, header.end()}}), false},
        {"JPEG", Kind::Jpeg, join({{0xFF, 0xD8}, frame}), true},
        {"JPEG, a segment before", Kind::Jpeg, join({{0xFF, 0xD8, 0xFF, 0xE0, 0, 4, 1, 2}, frame}), true},
        {"JPEG, filled up", Kind::Jpeg, join({{0xFF, 0xD8, 0xFF, 0xFF, 0xFF, 0xE0, 0, 4, 1, 2, 0xFF, 0xFF}, frame}),
         true},
        {"JPEG, a size after a sign without length", Kind::Jpeg, join({{0xFF, 0xD8, 0xFF, 0x01, 0, 2}, frame}), false},
        {"JPEG, begun twice", Kind::Jpeg, join({{0xFF, 0xD8, 0xFF, 0xD8, 0, 2}, frame}), false},
    };
    for (const Case& c : cases) {
        const auto size = SizeInPixels({.kind = c.kind, .bytes = c.bytes, .width = 0, .height = 0});
        EXPECT_EQ(size, c.known ? std::optional(PixelSize{10, 20}) : std::nullopt) << c.name;
    }
}

TEST(Picture, RowsMayRunDownwards) {
    Bytes dib = FromHex(kDib);
    dib[8] = 0xFE;
    dib[9] = dib[10] = dib[11] = 0xFF;
    EXPECT_EQ(SizeInPixels({.kind = Kind::Dib, .bytes = dib, .width = 0, .height = 0}), (PixelSize{3, 2}));
}

}  // namespace
}  // namespace qmtrain::document
