// PDF files, read by pdftotext.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

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
        WriteReport(report, Format::Pdf, FromNativePath(file));
        EXPECT_FALSE(std::filesystem::exists(folder_.Path() / "report.pdf.part"));
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
    ui::CharacterFormat raised;
    raised.script = ui::Script::Superscript;
    text.text.AppendText(u"二的十次方是 2");
    text.text.AppendText(u"10", raised);
    for (int i = 0; i < 60; ++i) {
        text.text.EndParagraph();
        text.text.AppendText(u"paragraph" + ToText(i));
    }
    text.text.AppendPicture({ui::Picture::Kind::Png, {1, 2, 3}, 1500, 1500});  // cannot be read
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

TEST_F(PdfTest, AFolderThatIsNotThere) {
    Report report;
    report.title = u"题";
    EXPECT_ANY_THROW(WritePdf(report, FromNativePath(folder_.Path() / "none" / "report.pdf")));
}

}  // namespace
}  // namespace qmtrain::report
