// qmtrain as a program: a folder for a host to fill.

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>

#include <gtest/gtest.h>

#include "jet/support/program.h"
#include "jet/support/scratch.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;

std::map<std::string, std::string> FilesIn(const fs::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        files[fs::relative(entry.path(), folder).generic_string()] = {std::istreambuf_iterator<char>(file), {}};
    }
    return files;
}

TEST(Host, InitMakesWhatIsMissing) {
    const test::ScratchFolder scratch;
    const fs::path folder = scratch.Path() / u"考生 01/data";
    const std::vector<std::string> init = {QMTRAIN_HOST, "init", folder.string()};
    ASSERT_TRUE(test::OutputOf(init));
    auto made = FilesIn(folder);
    for (const char* name : {"Client.mdb", "Bank/Total.mdb", "LocalPaper.mdb"})
        EXPECT_TRUE(made.contains(name)) << name;
    for (const auto& [name, bytes] : made) {
        EXPECT_TRUE(test::OutputOf({QMTRAIN_JETSQL, (folder / name).string(), "--check"})) << name;
    }

    ASSERT_TRUE(test::OutputOf({QMTRAIN_JETSQL, (folder / "Client.mdb").string(),
                                "INSERT INTO Notes (Name, Content) VALUES ('笔记', '内容')"}));
    fs::remove(folder / "Bank/Total.mdb");
    made = FilesIn(folder);
    ASSERT_TRUE(test::OutputOf(init));
    auto again = FilesIn(folder);
    EXPECT_EQ(again.erase("Bank/Total.mdb"), 1U);
    EXPECT_TRUE(again == made) << "a file that was there has changed";
}

TEST(Host, RefusesACandidateWhoDoesNotExist) {
    const test::ScratchFolder scratch;
    ASSERT_TRUE(test::OutputOf({QMTRAIN_HOST, "init", scratch.Path().string()}));
    const std::vector<std::string> list = {QMTRAIN_HOST, "list", "--csv", "--data", scratch.Path().string()};
    for (const auto& [user, known] : {std::pair("-1", true), {"99", false}}) {
        std::vector<std::string> command = list;
        command.insert(command.end(), {"--user", user});
        EXPECT_EQ(test::OutputOf(command).has_value(), known) << user;
    }
}

TEST(Host, SaysWhenItCannot) {
    const test::ScratchFolder scratch;
    std::ofstream(scratch.Path() / "file") << "x";
    EXPECT_FALSE(test::OutputOf({QMTRAIN_HOST, "init", (scratch.Path() / "file/data").string()}));
    EXPECT_EQ(FilesIn(scratch.Path()), (std::map<std::string, std::string>{{"file", "x"}}));
}

bool Has(const std::string& program) {
    return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

// A folder with a history of five practices.
void Seed(const fs::path& folder) {
    ASSERT_TRUE(test::OutputOf({QMTRAIN_HOST, "seed", "--data", folder.string(), "--trainings", "5"}));
}

TEST(Export, CsvIsReadByAnotherProgram) {
    if (!Has("sqlite3")) GTEST_SKIP() << "There is no sqlite3.";
    const test::ScratchFolder scratch;
    const fs::path data = scratch.Path() / "data";
    Seed(data);
    struct Case {
        const char* command;
        const char* select;
        const char* expected;
    };
    for (const Case& one :
         {Case{"export-history", "select count(*), min(得分+0<=总分+0) from t", "5|1\n"},
          Case{"export-paper", "select count(*), count(distinct 题目编号), min(分值)>0 from t", "20|20|1\n"},
          Case{"export-notes", "select count(*), count(distinct 内容), max(instr(内容, char(10)))>0 from t",
               "4|4|1\n"}}) {
        SCOPED_TRACE(one.command);
        const std::string file = (scratch.Path() / "export.csv").string();
        ASSERT_TRUE(
            test::OutputOf({QMTRAIN_HOST, one.command, "--data", data.string(), "--format", "csv", "--output", file}));
        EXPECT_EQ(test::OutputOf({"sqlite3", ":memory:", ".import --csv " + file + " t", one.select}),
                  std::string(one.expected));
    }
}

TEST(Export, HtmlIsShownByABrowser) {
    const std::string browser = Has("chromium") ? "chromium" : Has("google-chrome") ? "google-chrome" : "";
    if (browser.empty()) GTEST_SKIP() << "There is no Chromium.";
    const test::ScratchFolder scratch;
    const fs::path data = scratch.Path() / "data";
    Seed(data);
    const fs::path file = scratch.Path() / "export.html";
    ASSERT_TRUE(test::OutputOf(
        {QMTRAIN_HOST, "export-paper", "--data", data.string(), "--format", "html", "--output", file.string()}));
    const auto shown = test::OutputOf(
        {browser, "--headless", "--no-sandbox", "--disable-gpu", "--dump-dom", "file://" + file.string()});
    ASSERT_TRUE(shown);
    EXPECT_NE(shown->find("<title>试卷回顾</title>"), std::string::npos);
    std::size_t sections = 0;
    for (std::size_t at = shown->find("<section>"); at != std::string::npos; at = shown->find("<section>", at + 1)) {
        ++sections;
    }
    EXPECT_EQ(sections, 20U);
}

TEST(Export, RefusesWhatItCannotDo) {
    const test::ScratchFolder scratch;
    const fs::path data = scratch.Path() / "data";
    Seed(data);
    const std::vector<std::vector<std::string>> refused = {
        {"export-history", "--format", "doc"}, {"export-history", "--format"},
        {"export-history", "--format", "pdf"}, {"export-paper", "--training", "99"},
        {"export-paper", "--training", "x"},   {"export-history", "list"},
        {"export-notes", "--user", "99"},
    };
    for (std::vector<std::string> words : refused) {
        std::string said;
        for (const std::string& word : words) said += word + " ";
        words.insert(words.begin(), QMTRAIN_HOST);
        words.insert(words.end(), {"--data", data.string()});
        EXPECT_FALSE(test::OutputOf(words)) << said;
    }
}

}  // namespace
}  // namespace qmtrain
