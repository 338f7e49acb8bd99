// Reports in files that other programs read.

#include "report/report.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "jet/support/scratch.h"

namespace qmtrain::report {
namespace {

// As RFC 4180 reads a file, and no more clever than that.
std::vector<std::vector<std::string>> ReadCsv(const std::string& text) {
    std::vector<std::vector<std::string>> rows;
    std::vector<std::string> row;
    std::string field;
    bool quoted = false;
    for (std::size_t i = 3; i < text.size(); ++i) {  // after the byte order mark
        const char c = text[i];
        if (quoted) {
            if (c != '"') {
                field += c;
            } else if (i + 1 < text.size() && text[i + 1] == '"') {
                field += text[++i];
            } else {
                quoted = false;
            }
        } else if (c == '"' && field.empty()) {
            quoted = true;
        } else if (c == ',' || c == '\r') {
            row.push_back(field);
            field.clear();
            if (c == ',') continue;
            EXPECT_EQ(text[i + 1], '\n');
            ++i;
            rows.push_back(row);
            row.clear();
        } else {
            EXPECT_NE(c, '\n');
            field += c;
        }
    }
    EXPECT_TRUE(row.empty() && field.empty()) << "the last line has an end";
    return rows;
}

TEST(Csv, EveryFieldComesBack) {
    Report report;
    report.data.columns = {{u"题目"}, {u"a,b"}};
    report.data.rows = {{u"plain", u"with \"quotes\""}, {u"two\r\nlines", u""}, {u"，、", u",\"\n"}, {u" ", u"\"\""}};
    const std::string text = ToCsv(report);
    EXPECT_TRUE(text.starts_with("\xEF\xBB\xBF"));
    const std::vector<std::vector<std::string>> expected = {
        {"题目", "a,b"}, {"plain", "with \"quotes\""}, {"two\r\nlines", ""}, {"，、", ",\"\n"}, {" ", "\"\""}};
    EXPECT_EQ(ReadCsv(text), expected);
}

// What a spreadsheet would calculate stays the text that it is; numbers are not touched.
TEST(Csv, NoTextBecomesAFormula) {
    const struct {
        const char16_t* text;
        const char* cell;
    } cases[] = {
        {u"=1+1", "'=1+1"},
        {u"=HYPERLINK(\"http://x\",\"y\")", "\"'=HYPERLINK(\"\"http://x\"\",\"\"y\"\")\""},
        {u"@SUM(A1)", "'@SUM(A1)"},
        {u"+cmd|' /C calc'!A0", "'+cmd|' /C calc'!A0"},
        {u"-2+3", "'-2+3"},
        {u"-", "'-"},
        {u"-3.5%", "-3.5%"},
        {u"+12", "+12"},
        {u"a;=1", "\"a;=1\""},
        {u"'=x", "''=x"},
        {u"'x", "'x"},
        {u"1=1", "1=1"},
        {u"", ""},
    };
    for (const auto& one : cases) {
        Report report;
        report.data.columns = {{u"笔记"}};
        report.data.rows = {{one.text}};
        EXPECT_EQ(ToCsv(report), std::string("\xEF\xBB\xBF笔记\r\n") + one.cell + "\r\n");
    }
}

TEST(Html, NothingOfATextBecomesMarkup) {
    Report report;
    report.title = u"<script>alert(1)</script>";
    Section section;
    section.heading = u"a & b";
    section.text.AppendText(u"if (a < b && c > \"d\")\u0001");
    section.table.columns = {{u"<b>", 1, true}};
    section.table.rows = {{u"</td>"}, {u"left\nright"}};
    report.sections.push_back(section);
    const std::string html = ToHtml(report);
    EXPECT_EQ(html.find("<script"), std::string::npos);
    EXPECT_NE(html.find("if (a &lt; b &amp;&amp; c &gt; &quot;d&quot;) "), std::string::npos) << html;
    EXPECT_NE(html.find("<th class=\"number\">&lt;b&gt;</th>"), std::string::npos);
    EXPECT_NE(html.find("&lt;/td&gt;"), std::string::npos);
    EXPECT_NE(html.find("left<br>right"), std::string::npos);
    for (const std::string other : {"http://", "https://", "src=\"/", "<link"}) {
        EXPECT_EQ(html.find(other), std::string::npos) << "one file with everything in it: " << other;
    }
}

TEST(Html, FormatsAndPictures) {
    document::CharacterFormat raised;
    raised.script = document::Script::Superscript;
    document::CharacterFormat loud;
    loud.bold = true;
    loud.color = document::Rgb{255, 0, 16};
    Report report;
    Section section;
    section.text.AppendText(u"2");
    section.text.AppendText(u"10", raised);
    section.text.AppendText(u"!", loud);
    // Bytes of a length that is no multiple of three; base64 by hand.
    section.text.AppendPicture({document::Picture::Kind::Png, {0x89, 'P', 'N', 'G'}, 1500, 300});
    section.text.AppendPicture({document::Picture::Kind::Metafile, {1}, 15, 15});
    report.sections.push_back(section);
    const std::string html = ToHtml(report);
    EXPECT_NE(html.find("2<sup>10</sup><b><span style=\"color:#ff0010\">!</span></b>"), std::string::npos) << html;
    EXPECT_NE(html.find("src=\"data:image/png;base64,iVBORw==\" width=\"100\">[图]"), std::string::npos) << html;
}

TEST(Files, AFailureLeavesWhatWasThere) {
    const test::ScratchFolder folder;
    const auto file = FromNativePath(folder.Path() / "report.html");
    std::filesystem::create_directories(folder.Path() / "report.html" / "inner");  // in the way
    try {
        WriteWhole(file, "new");
        ADD_FAILURE() << "written";
    } catch (const AutomationError& error) {
        EXPECT_EQ(error.Number(), kComponentError);
        EXPECT_TRUE(error.Description().starts_with(u"无法写入文件：" + file)) << error.what();
    }
    EXPECT_TRUE(std::filesystem::exists(folder.Path() / "report.html" / "inner"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
}

#ifndef _WIN32
// Whatever stands beside the file, or at its place, is not written through.
TEST(Files, LinksAreNotFollowed) {
    const test::ScratchFolder folder;
    const auto file = folder.Path() / "report.html";
    const auto victim = folder.Path() / "victim";
    std::ofstream(victim) << "old";
    std::filesystem::create_symlink(victim, folder.Path() / "report.html.part");
    std::filesystem::create_symlink(victim, file);
    WriteWhole(FromNativePath(file), "new content");
    EXPECT_EQ(std::filesystem::file_size(victim), 3U);
    EXPECT_FALSE(std::filesystem::is_symlink(file));
    EXPECT_EQ(std::filesystem::file_size(file), 11U);
}
#endif

}  // namespace
}  // namespace qmtrain::report
