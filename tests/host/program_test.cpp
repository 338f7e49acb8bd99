// What the program does without windows: its command line, its folder, and the history as text.

#include <fstream>

#include "bank/bank_fixture.h"
#include "host/commands/history_list.h"
#include "host/commands/options.h"
#include "host_fixture.h"
#include "review/review_fixture.h"

namespace qmtrain::host {
namespace {

using Words = std::vector<std::string>;

std::string Refusal(const Words& words) {
    const AutomationError error = RaisedBy([&] { ParseOptions(words); });
    EXPECT_TRUE(error.Number() == 0 || error.Number() == kComponentError);
    return ToUtf8(error.Description());
}

TEST(Options, AreRead) {
    const Options none = ParseOptions({});
    EXPECT_EQ(none.command, "");
    EXPECT_EQ(none.user, 1);
    EXPECT_EQ(none.data, UserDataFolder());
    const Options all = ParseOptions({"practice", "--data", "数据", "--user", "-1", "--subject", "2", "--net",
                                      "--paper", "104", "--screenshot", "a.png", "--json"});
    EXPECT_EQ(all.command, "practice");
    EXPECT_EQ(all.data, u"数据");
    EXPECT_EQ(all.user, -1);
    EXPECT_EQ(all.subject, 2);
    EXPECT_TRUE(all.net);
    EXPECT_EQ(all.paper, 104);
    EXPECT_EQ(all.screenshot, "a.png");
    EXPECT_EQ(all.output, Options::Output::Json);
    EXPECT_EQ(ParseOptions({"init", "F"}).data, u"F");
    EXPECT_EQ(ParseOptions({"seed", "--trainings", "0"}).trainings, 0);
    EXPECT_NE(ParseOptions({"list", "-h"}).help, "");
    EXPECT_TRUE(ParseOptions({"--version"}).version);
    EXPECT_FALSE(none.user_named);
    EXPECT_TRUE(all.user_named);
    for (const char* command : {"init", "seed", "list", "papers", "practice", "history", "notes"}) {
        EXPECT_NE(ParseOptions({"--help"}).help.find(std::string("  ") + command), std::string::npos) << command;
    }
}

TEST(Options, AreRefused) {
    EXPECT_EQ(Refusal({"exam"}), "不认识的参数：exam；--help 列出用法。");
    EXPECT_EQ(Refusal({"list", "notes"}), "不认识的参数：notes；--help 列出用法。");
    EXPECT_EQ(Refusal({"list", "F"}), "不认识的参数：F；--help 列出用法。");
    EXPECT_EQ(Refusal({"--quick"}), "不认识的参数：--quick；--help 列出用法。");
    EXPECT_EQ(Refusal({"init", "A", "B"}), "只能有一个文件夹：A、B");
    EXPECT_EQ(Refusal({"init", "--data", "A", "B"}), "只能有一个文件夹：A、B");
    EXPECT_EQ(Refusal({"--user"}), "参数 --user 后面的内容太少或太多；--help 列出用法。");
    for (const char* text : {"x", "", "1.5", "-2", "1e9", "--net"}) {
        EXPECT_EQ(Refusal({"--user", text}), std::string("--user 后面应当是一个整数：") + text);
    }
    EXPECT_NE(Refusal({"seed", "--trainings", "-1"}), "");
    EXPECT_NE(Refusal({"practice", "--paper", "0"}), "");
}

class DataFolderTest : public test::HostTest {
protected:
    std::filesystem::path At(const char* file) const { return folder_.Path() / file; }
};

TEST_F(DataFolderTest, IsExamined) {
    EXPECT_EQ(Examine(data_).state, FolderState::Ready);
    EXPECT_FALSE(Examine(data_).read_only);
    for (const char* file : {"Client.mdb", "Host.mdb"}) {
        SCOPED_TRACE(file);
        const std::string whole = test::ReadText(At(file));
        std::filesystem::remove(At(file));
        EXPECT_EQ(Examine(data_).state, FolderState::Missing);
        EXPECT_NE(ToUtf8(Examine(data_).problem).find(std::string(" ") + file + "。"), std::string::npos);
        for (const std::string& content : {std::string("no database"), whole.substr(0, 9000), std::string()}) {
            std::ofstream(At(file), std::ios::binary) << content;
            EXPECT_EQ(Examine(data_).state, FolderState::Damaged);
            EXPECT_NE(ToUtf8(Examine(data_).problem).find(file), std::string::npos);
        }
        std::ofstream(At(file), std::ios::binary) << whole;
    }
    const std::string whole = test::ReadText(At("Host.mdb"));
    for (const char16_t* table : {u"Unfinished", u"PaperQuestions"}) {
        dao::Connection(data_.Host())->Execute(std::u16string(u"DROP TABLE ") + table);
        EXPECT_EQ(Examine(data_).state, FolderState::Damaged);
        EXPECT_NE(Examine(data_).problem, u"");
        std::ofstream(At("Host.mdb"), std::ios::binary) << whole;
    }
}

TEST_F(DataFolderTest, ReadOnlyIsSeen) {
    using Perms = std::filesystem::perms;
    for (const char* file : {"Client.mdb", "Host.mdb"}) std::filesystem::permissions(At(file), Perms(0444));
    std::filesystem::permissions(folder_.Path(), Perms(0555));
    const test::OrdinaryUser user;
    if (test::OrdinaryUser::MayWrite(folder_.Path())) GTEST_SKIP() << "not for this user";
    const FolderReport report = Examine(data_);
    EXPECT_EQ(report.state, FolderState::Ready) << ToUtf8(report.problem);
    EXPECT_TRUE(report.read_only);
    EXPECT_THROW(Practice(data_, MixedPaper(), {test::kCandidate}), AutomationError);
}

TEST_F(DataFolderTest, AnEmptyOneIsReady) {
    const DataFolder made{InFolder(data_.path, u"neu\\leer")};
    MakeEmptyFolder(made.path);
    EXPECT_EQ(Examine(made).state, FolderState::Ready);
    EXPECT_TRUE(PapersOf(made, 1).empty());
    EXPECT_TRUE(FileExists(InFolder(made.Banks(), u"Total.mdb")));
    dao::Connection(made.Host())->Execute(u"INSERT INTO Papers (PaperNo, SubjectCode) VALUES (1, 1)");
    MakeEmptyFolder(made.path);
    EXPECT_EQ(PapersOf(made, 1).size(), 1U);
}

TEST_F(DataFolderTest, SampleDataFillsAnEmptyOne) {
    const DataFolder made{InFolder(data_.path, u"leer")};
    MakeEmptyFolder(made.path);
    MakeSampleData(made.path);
    SeedHistory(made.path, 1, 2, 2, 1);
    Options options;
    options.data = made.path;
    options.subject = 2;
    EXPECT_NE(HistoryText(options), "");
    for (const Edition edition : {Edition::StandAlone, Edition::Network}) {
        Practice(made, PapersOf(made, 1).back(), {test::kCandidate, edition}).HandIn();
    }
    dao::Connection(ClientDatabase(made.path))->Execute(u"Delete From Tbl_SetUser Where UserID > 1");
    MakeSampleData(made.path);
    EXPECT_EQ(Rows(ClientDatabase(made.path), u"Select Count(*) From Tbl_SetUser"), "1\n") << "only what is empty";
    EXPECT_NE(PapersText(options).find("204\t2\t5\t100\t10\t模拟练习\n"), std::string::npos);
}

TEST_F(DataFolderTest, ListTellsWhatIsWrong) {
    Options options;
    options.data = data_.path;
    const std::string whole = test::ReadText(At("Client.mdb"));
    for (const std::string& content : {whole.substr(0, 9000), std::string("no database")}) {
        std::ofstream(At("Client.mdb"), std::ios::binary) << content;
        const AutomationError error = RaisedBy([&] { HistoryText(options); });
        EXPECT_EQ(error.Number(), kComponentError);
        EXPECT_NE(ToUtf8(error.Description()).find("Client.mdb"), std::string::npos) << error.what();
    }
    std::ofstream(At("Client.mdb"), std::ios::binary) << whole;
}

using HistoryTextTest = test::ReviewTest;

TEST_F(HistoryTextTest, ListsWhatTheWindowLists) {
    Options options;
    options.data = Path();
    options.user = test::kUser;
    options.subject = test::kSubject;
    const std::string columns = "\"日期\",\"类型\",\"练习时间\",\"总分\",\"得分\",\"得分率(%)\"\r\n";
    EXPECT_EQ(HistoryText(options), "");
    options.output = Options::Output::Csv;
    EXPECT_EQ(HistoryText(options), columns);
    options.output = Options::Output::Json;
    EXPECT_EQ(HistoryText(options), "[\n]\n");
    AddTraining(2, 100, 59);
    AddTraining(3, 80, 78, 1, 2, -1);
    const char* json = R"json([
{"日期":"05/04/03 08:30","类型":"上机","练习时间":"","总分":"80","得分":"78","得分率(%)":"97.5"},
{"日期":"05/04/02 08:30","类型":"笔试","练习时间":"01:02:05","总分":"100","得分":"59","得分率(%)":"59.0"}
]
)json";
    EXPECT_EQ(HistoryText(options), json);
    options.output = Options::Output::Csv;
    EXPECT_EQ(HistoryText(options), columns +
                                        "\"05/04/03 08:30\",\"上机\",\"\",\"80\",\"78\",\"97.5\"\r\n"
                                        "\"05/04/02 08:30\",\"笔试\",\"01:02:05\",\"100\",\"59\",\"59.0\"\r\n");
    options.output = Options::Output::Text;
    options.user = 8;
    EXPECT_EQ(HistoryText(options), "");
    options.data = Path() + u"\\x";
    EXPECT_EQ(ErrorOf([&] { HistoryText(options); }), kComponentError);
}

}  // namespace
}  // namespace qmtrain::host
