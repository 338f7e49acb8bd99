// PDF files, read by pdftotext.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>

#include <wx/dcmemory.h>
#include <wx/image.h>
#include <wx/mstream.h>

#include "core/files.h"
#include "core/text.h"
#include "jet/support/scratch.h"
#include "report/page_layout.h"
#include "report/printing.h"
#include "ui/support/window_script.h"

namespace qmtrain::report {
namespace {

class PdfTest : public test::WithDisplay<testing::Test> {
protected:
    std::string TextOf(const Report& report) {
        const auto file = folder_.Path() / "report.pdf";
        const auto victim = folder_.Path() / "victim";
        std::ofstream(victim) << "old";
        std::filesystem::create_symlink(victim, folder_.Path() / "report.pdf.part");
        WriteReport(report, ReportFormat::Pdf, FromNativePath(file));
        EXPECT_EQ(std::filesystem::file_size(victim), 3U) << "no link is written through";
        std::filesystem::remove(folder_.Path() / "report.pdf.part");
        const std::string command = "pdftotext -layout '" + file.string() + "' -";
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(popen(command.c_str(), "r"), pclose);
        std::string text;
        for (int c = std::fgetc(out.get()); c != EOF; c = std::fgetc(out.get())) text += static_cast<char>(c);
        return text;
    }
    static bool HasReader() { return std::system("command -v pdftotext >/dev/null") == 0; }

    test::ScratchFolder folder_;
};

TEST_F(PdfTest, EveryLineIsOnAPage) {
    if (!HasReader()) GTEST_SKIP() << "There is no pdftotext; package poppler-utils has it.";
    Report report;
    report.title = u"练习历史";
    report.subtitle = u"共 300 次练习";
    Section table{u"表"};
    table.table.columns = {{u"编号", 1, true}, {u"说明", 3}};
    for (int i = 0; i < 300; ++i) {
        table.table.rows.push_back({ToText(10000 + i), i == 7 ? std::u16string(200, u'长') : u"第几行"});
    }
    report.sections.push_back(table);
    Section text{u"一道题"};
    document::CharacterFormat raised;
    raised.script = document::Script::Superscript;
    text.text.AppendText(u"二的十次方是 2");
    text.text.AppendText(u"10", raised);
    for (int i = 0; i < 60; ++i) {
        text.text.EndParagraph();
        text.text.AppendText(u"paragraph" + ToText(i));
    }
    text.text.AppendPicture({document::Picture::Kind::Png, {1, 2, 3}, 1500, 1500});  // cannot be read
    report.sections.push_back(text);
    const std::string pdf = TextOf(report);
    for (int i = 0; i < 300; ++i) {
        EXPECT_NE(pdf.find(std::to_string(10000 + i)), std::string::npos) << i;
    }
    for (int i = 0; i < 60; ++i) {
        EXPECT_NE(pdf.find("paragraph" + std::to_string(i)), std::string::npos) << i;
    }
    EXPECT_NE(pdf.find("二的十次方是 2"), std::string::npos) << pdf.substr(0, 300);
    const auto pages = std::count(pdf.begin(), pdf.end(), '\f');
    EXPECT_EQ(pages, PageLayout(report).PageCount());
    EXPECT_GE(pages, 6);
    std::size_t headers = 0;
    for (std::size_t at = pdf.find("编号"); at != std::string::npos; at = pdf.find("编号", at + 1)) ++headers;
    EXPECT_GE(headers, 5U) << "each page of the table has its head";
}

// A question that fits on a page is not torn; one that does not begins where there is room, and loses nothing.
TEST_F(PdfTest, QuestionsStayTogether) {
    if (!HasReader()) GTEST_SKIP() << "There is no pdftotext; package poppler-utils has it.";
    Report report;
    report.title = u"试卷";
    constexpr int kLines[] = {20, 20, 20, 3, 200, 20, 30, 30};
    for (int question = 0; question < 8; ++question) {
        Section section;
        section.keep_together = true;
        section.room_below = question == 3 ? 6000 : 0;
        for (int line = 0; line < kLines[question]; ++line) {
            if (line > 0) section.text.EndParagraph();
            section.text.AppendText(u"Q" + ToText(question) + u"L" + ToText(line) + u".");
        }
        report.sections.push_back(section);
    }
    std::vector<std::string> pages(1);
    for (const char c : TextOf(report)) {
        if (c == '\f') pages.emplace_back();
        pages.back() += c;
    }
    for (int question = 0; question < 8; ++question) {
        std::set<std::size_t> on;
        for (int line = 0; line < kLines[question]; ++line) {
            const std::string text = "Q" + std::to_string(question) + "L" + std::to_string(line) + ".";
            std::size_t found = 0;
            for (std::size_t i = 0; i < pages.size(); ++i) {
                if (pages[i].find(text) == std::string::npos) continue;
                on.insert(i);
                ++found;
            }
            EXPECT_EQ(found, 1U) << text;
        }
        if (kLines[question] < 200) {
            EXPECT_EQ(on.size(), 1U) << question;
        }
    }
}

// A JPEG's own bytes are in the file; bullets and what is struck out are drawn.
TEST_F(PdfTest, PicturesBulletsAndStrokes) {
    if (!HasReader()) GTEST_SKIP() << "There is no pdftotext; package poppler-utils has it.";
    wxImage image(1200, 900);
    for (unsigned i = 0; i < 1200 * 900 * 3; ++i) image.GetData()[i] = static_cast<unsigned char>(i * 7919 >> 8);
    wxMemoryOutputStream stream;
    ASSERT_TRUE(image.SaveFile(stream, wxBITMAP_TYPE_JPEG));
    Bytes jpeg(stream.GetSize());
    stream.CopyTo(jpeg.data(), jpeg.size());
    Report report;
    report.title = u"试卷";
    Section section;
    section.text.AppendPicture({document::Picture::Kind::Jpeg, jpeg, 4000, 3000});
    section.text.EndParagraph();
    section.text.SetParagraphFormat({.left_indent = 400, .first_line_indent = -300, .bullet = u"7)"});
    section.text.AppendText(u"first");
    report.sections.push_back(section);
    EXPECT_NE(TextOf(report).find("7)"), std::string::npos);
    std::ifstream in(folder_.Path() / "report.pdf", std::ios::binary);
    const std::string pdf{std::istreambuf_iterator<char>(in), {}};
    EXPECT_NE(pdf.find(std::string(jpeg.begin(), jpeg.end())), std::string::npos) << "unchanged";
    EXPECT_LT(pdf.size(), jpeg.size() + 100'000);

    // On a screen's bitmap: a little more is black when the words are struck out or underlined.
    const auto black = [](const document::CharacterFormat& format) {
        Report words;
        words.sections.emplace_back().text.AppendText(u"iiiiiiiiiiiiiiii", format);
        wxBitmap bitmap(kPageWidth / 8, kPageHeight / 8);
        wxMemoryDC dc(bitmap);
        dc.SetBackground(*wxWHITE_BRUSH);
        dc.Clear();
        dc.SetUserScale(0.125, 0.125);
        PageLayout(words).Paint(dc, 1);
        dc.SelectObject(wxNullBitmap);
        const wxImage drawn = bitmap.ConvertToImage();
        int count = 0;
        for (int i = 0; i < drawn.GetWidth() * drawn.GetHeight() / 2; ++i) {  // without the footer
            if (drawn.GetData()[i * 3] < 128) ++count;
        }
        return count;
    };
    document::CharacterFormat struck;
    struck.strike_out = true;
    document::CharacterFormat underlined;
    underlined.underline = true;
    const int plain = black({});
    for (const document::CharacterFormat& format : {struck, underlined}) {
        EXPECT_GT(black(format), plain * 9 / 8) << format.underline;
        EXPECT_LT(black(format), plain * 3) << format.underline;
    }
}

// Who prints a report of many large pictures gets the first ones, and frames for the rest. These say of themselves that
// they are large, and end there.
TEST_F(PdfTest, PicturesBeyondTheBudgetAreFrames) {
    wxMemoryOutputStream stream;
    ASSERT_TRUE(wxImage(2000, 2000).SaveFile(stream, wxBITMAP_TYPE_PNG));
    Bytes black(stream.GetSize());
    stream.CopyTo(black.data(), black.size());
    constexpr std::size_t kHead = 33;
    Bytes large(black.begin(), black.begin() + kHead);
    for (const std::size_t at : {std::size_t{16}, std::size_t{20}}) {
        large[at + 2] = 0x15;  // 5,400
        large[at + 3] = 0x18;
    }
    const auto shows_last = [&](int larger) {
        Report report;
        document::RichText& text = report.sections.emplace_back().text;
        for (int i = 0; i < larger; ++i) text.AppendPicture({document::Picture::Kind::Png, large, 100, 100});
        text.AppendPicture({document::Picture::Kind::Png, black, 3000, 3000});
        wxBitmap bitmap(kPageWidth / 8, kPageHeight / 8);
        wxMemoryDC dc(bitmap);
        dc.SetBackground(*wxWHITE_BRUSH);
        dc.Clear();
        dc.SetUserScale(0.125, 0.125);
        const PageLayout layout(report);
        EXPECT_EQ(layout.PageCount(), 1);
        layout.Paint(dc, 1);
        dc.SelectObject(wxNullBitmap);
        const wxImage drawn = bitmap.ConvertToImage();
        int count = 0;
        for (int i = 0; i < drawn.GetWidth() * drawn.GetHeight(); ++i) count += drawn.GetData()[i * 3] < 64 ? 1 : 0;
        return count > 10'000;
    };
    EXPECT_TRUE(shows_last(30));
    EXPECT_FALSE(shows_last(40));
}

TEST_F(PdfTest, AFolderThatIsNotThere) {
    Report report;
    report.title = u"题";
    EXPECT_ANY_THROW(WritePdf(report, FromNativePath(folder_.Path() / "none" / "report.pdf")));
}

}  // namespace
}  // namespace qmtrain::report
