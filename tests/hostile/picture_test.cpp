// Pictures that say of themselves that they fill the memory, and long texts on a real screen.

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <set>

#include <gtest/gtest.h>
#include <wx/dialog.h>
#include <wx/mstream.h>

#include "document/rtf_reader.h"
#include "support/peak_memory.h"
#include "ui/picture_decoder.h"
#include "ui/rich_text_view.h"
#include "ui/screen_measurer.h"
#include "ui/support/window_script.h"

namespace qmtrain::test {
namespace {

using Kind = document::Picture::Kind;

Bytes Saved(const wxImage& image, wxBitmapType type) {
    wxMemoryOutputStream stream;
    EXPECT_TRUE(image.SaveFile(stream, type));
    Bytes bytes(stream.GetSize());
    stream.CopyTo(bytes.data(), bytes.size());
    return bytes;
}

void PutBig(Bytes& bytes, std::size_t at, std::uint32_t number) {
    for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(number >> (24 - 8 * i));
}

class HostilePictureTest : public WithDisplay<testing::Test> {};

TEST_F(HostilePictureTest, SizesAreReadBeforeAnythingIsDecoded) {
    const wxImage image(40, 30);
    const Bytes png = Saved(image, wxBITMAP_TYPE_PNG);
    const Bytes bmp = Saved(image, wxBITMAP_TYPE_BMP);
    Bytes large_png = png;
    PutBig(large_png, 16, 20000);
    PutBig(large_png, 20, 20000);
    Bytes large_dib(bmp.begin() + 14, bmp.end());
    large_dib[5] = large_dib[9] = 0x4E;  // about 20,000 by 20,000
    Bytes disguised = bmp;               // 40 by 30 where a PNG would say so, and a bitmap
    PutBig(disguised, 16, 40);
    PutBig(disguised, 20, 30);
    struct Case {
        const char* name;
        Kind kind;
        Bytes bytes;
        bool decoded;
    };
    const Case cases[] = {
        {"PNG", Kind::Png, png, true},
        {"JPEG", Kind::Jpeg, Saved(image, wxBITMAP_TYPE_JPEG), true},
        {"bitmap", Kind::Dib, Bytes(bmp.begin() + 14, bmp.end()), true},
        {"large PNG", Kind::Png, large_png, false},
        {"large bitmap", Kind::Dib, large_dib, false},
        {"a bitmap that calls itself a PNG", Kind::Png, disguised, false},
        {"cut off", Kind::Jpeg, Bytes{0xFF, 0xD8, 0xFF}, false},
        {"drawing orders", Kind::Metafile, Bytes(100), false},
    };
    for (const Case& c : cases) {
        const std::size_t before = PeakMemory();
        const wxImage decoded = ui::DecodePicture({c.kind, c.bytes, 600, 450}, {40, 30});
        EXPECT_EQ(decoded.IsOk(), c.decoded) << c.name;
        EXPECT_TRUE(!c.decoded || decoded.GetSize() == wxSize(40, 30)) << c.name;
        EXPECT_LT(PeakMemory() - before, std::size_t{64} << 20) << c.name;
    }
}

TEST_F(HostilePictureTest, ALargePhotographIsDecodedAtTheSizeShown) {
    const Bytes jpeg = Saved(wxImage(2000, 1000), wxBITMAP_TYPE_JPEG);
    const wxSize small = ui::DecodePicture({Kind::Jpeg, jpeg, 600, 300}, {100, 50}).GetSize();
    EXPECT_LE(small.x, 100);
    EXPECT_GT(small.x, 20);
    EXPECT_EQ(ui::DecodePicture({Kind::Jpeg, jpeg, 600, 300}, {3000, 1500}).GetSize(), wxSize(2000, 1000));
}

// The bound is far above what a release build takes, and far below what a line takes that measures all the rest.
TEST_F(HostilePictureTest, AMegabyteIsShownAtOnce) {
    const std::pair<const char*, const char16_t*> parts[] = {
        {"Chinese", u"在计算机内部，用来存放正在运行的程序和数据的部件是内存储器。"},
        {"words", u"the quick brown fox jumps over the lazy dog "},
        {"paragraphs", u"段\n"},
    };
    wxDialog window(nullptr, wxID_ANY, "text");
    auto* view = new ui::RichTextView(&window);
    view->SetSize(500, 300);
    for (const auto& [name, part] : parts) {
        std::u16string plain;
        while (plain.size() < (std::size_t{1} << 20)) plain += part;
        document::RichText text;
        text.AppendText(plain);
        const auto start = std::chrono::steady_clock::now();
        view->SetText(std::move(text));
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        EXPECT_LT(took.count(), 5) << name;
        std::printf("%s: %.0f ms\n", name, took.count() * 1000);
    }
}

// Many pictures, each of which is not too large, and texts in many sizes.
TEST_F(HostilePictureTest, WhatATextMayAskOfTheScreenIsLimited) {
    wxDialog window(nullptr, wxID_ANY, "text");
    ui::ScreenMeasurer measurer(window);
    const document::Picture black{Kind::Png, Saved(wxImage(5000, 5000), wxBITMAP_TYPE_PNG), 600, 600};
    const std::vector<document::Picture> pictures(12, black);
    const auto shown = [&] {
        return std::count_if(pictures.begin(), pictures.end(), [&](const document::Picture& picture) {
            return measurer.BitmapOf(picture, {40, 40}).ConvertToImage().GetRed(20, 20) < 128;
        });
    };
    const auto first = shown();
    EXPECT_GE(first, 2);
    EXPECT_LE(first, 6);
    EXPECT_EQ(shown(), first) << "looking again costs nothing";
    measurer.ForgetPictures();
    EXPECT_EQ(measurer.BitmapOf(pictures.back(), {40, 40}).ConvertToImage().GetRed(20, 20), 0) << "of another text";

    std::set<std::pair<int, bool>> fonts;
    int furthest = 0;
    for (int size = 2; size < 2000; ++size) {
        for (const bool bold : {false, true}) {
            const wxFont& font = measurer.FontOf({.half_points = size, .bold = bold});
            fonts.emplace(font.GetFractionalPointSize() * 2, font.GetNumericWeight() > wxFONTWEIGHT_NORMAL);
            if (size < 100)
                furthest = std::max(furthest, std::abs(size - static_cast<int>(font.GetFractionalPointSize() * 2)));
        }
    }
    EXPECT_LE(fonts.size(), 400U);
    EXPECT_LE(furthest, 1) << "the usual ones come first here, and are as asked for";
}

TEST_F(HostilePictureTest, AnUnreadablePictureIsAFrame) {
    wxDialog window(nullptr, wxID_ANY, "picture");
    auto* view = new ui::RichTextView(&window);
    view->SetSize(400, 300);
    WindowScript script;
    script.Do([&] {
        view->SetText(
            document::ReadRtf(u"{\\rtf1 {\\pict\\pngblip\\picwgoal3000\\pichgoal3000 89504e470d0a1a0a0000000d49484452"
                              u"00004e2000004e200806000000}\\par}"));
        view->Update();
    });
    const std::size_t before = PeakMemory();
    script.Play(window);
    EXPECT_LT(PeakMemory() - before, std::size_t{64} << 20);
}

}  // namespace
}  // namespace qmtrain::test
