// The catalogue of question banks.

#include "bank/data_info.h"

#include "bank_fixture.h"

namespace qmtrain::test {
namespace {

constexpr std::u16string_view kEntries =
    u"INSERT INTO Tbl_Subject VALUES ('VB', 2, 'vb.mdb', '二级 VB');"
    u"INSERT INTO Tbl_Subject VALUES ('VB', 3, 'vb3.mdb', '三级');"
    u"INSERT INTO Tbl_Subject VALUES ('C', 1, NULL, NULL)";

class DataInfoTest : public BankTest {
protected:
    DataInfoTest() {
        CreateCatalogue(Path(), {}, DatabaseFormat());
        CreateLocalPaperDatabase(Path(u"Paper.mdb"), {}, DatabaseFormat());
        Execute(u"Total.mdb", kEntries);
        Execute(u"Paper.mdb", kEntries);
    }

    void Configure(DataInfo& info, bool is_net) const {
        info.IsNet(is_net);
        info.LocalMdbPath(Path(u"Paper.mdb"));
        info.TotalPath(Path());
    }

    static std::u16string Texts(const DataInfo& info) {
        return info.DataCode() + u"|" + ToText(info.SubjectCode()) + u"|" + info.MdbName() + u"|" + info.Description();
    }
};

TEST_F(DataInfoTest, LooksBanksUp) {
    struct Case {
        const char* name;
        std::u16string code;
        std::int32_t subject;
        bool is_net;
        bool found;
        std::u16string texts;
    };
    const std::u16string before = u"?|-9|?|?";
    const Case cases[] = {
        {"stand-alone", u"VB", 2, false, true, u"VB|2|vb.mdb|二级 VB"},
        {"the subject does not count", u"C", 77, false, true, u"C|77||"},
        {"no such bank", u"PASCAL", 2, false, false, before},
        {"network", u"VB", 3, true, true, u"VB|3|vb3.mdb|三级"},
        {"Null texts", u"C", 1, true, true, u"C|1||"},
        {"the subject counts", u"C", 2, true, false, before},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DataInfo info;
        Configure(info, c.is_net);
        info.DataCode(u"?");
        info.SubjectCode(-9);
        info.MdbName(u"?");
        info.Description(u"?");
        EXPECT_TRUE(info.InitDb());
        EXPECT_EQ(info.LoadFromDataCode(c.code, c.subject), c.found);
        EXPECT_EQ(Texts(info), c.texts);
        EXPECT_EQ(NewFailures(), std::vector<std::string>());
    }
}

TEST_F(DataInfoTest, FailuresAreLogged) {
    const auto failure = [](const char* function) { return std::vector<std::string>{function}; };
    DataInfo info;
    EXPECT_FALSE(info.LoadFromDataCode(u"VB", 2));
    EXPECT_EQ(NewFailures(), failure("DataInfo.LoadFromDataCode"));
    for (const bool is_net : {false, true}) {  // no path has been set
        info.IsNet(is_net);
        EXPECT_FALSE(info.InitDb());
        EXPECT_EQ(NewFailures(), failure("DataInfo.InitDb"));
    }
    Configure(info, true);
    EXPECT_TRUE(info.InitDb());
    info.IsNet(false);  // which changes nothing any more: the paper database stays open
    info.TotalPath(Path());
    EXPECT_TRUE(info.InitDb());
    EXPECT_FALSE(info.LoadFromDataCode(u"V'B", 2));
    EXPECT_EQ(NewFailures(), failure("DataInfo.LoadFromDataCode"));
    Execute(u"Paper.mdb", u"ALTER TABLE Tbl_Subject DROP C_DataDescription");
    EXPECT_FALSE(info.LoadFromDataCode(u"VB", 2));
    EXPECT_EQ(NewFailures(), failure("DataInfo.LoadFromDataCode"));
    EXPECT_EQ(Texts(info), u"VB|2||");
}

TEST_F(DataInfoTest, PathsAreTestedInTheirEditionOnly) {
    std::filesystem::create_directory(folder_.Path() / "Empty");
    const std::u16string with_end = Path() + u"\\";
    const std::u16string empty = Path(u"Empty");
    struct Case {
        const char* name;
        bool is_net;
        std::u16string total_path;
        std::u16string local_path;
        std::u16string description;  // of the error, empty when the path is stored
    };
    const Case cases[] = {
        {"a folder", false, Path(), u"", u""},
        {"with its separator", false, with_end, u"", u""},
        {"in other letters", false, ToUpper(Path()), u"", u""},
        {"no catalogue in it", false, empty, u"", u"目录[" + empty + u"\\]中不存在Total.mdb!"},
        {"no such folder", false, with_end + u"x\\", u"", u"目录[" + with_end + u"x\\]中不存在Total.mdb!"},
        {"a file", true, u"", with_end + u"PAPER.mdb", u""},
        {"no such file", true, u"", with_end + u"x.mdb", u"文件[" + with_end + u"x.mdb]不存在!"},
        {"a folder is no file", true, u"", empty, u"文件[" + empty + u"]不存在!"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DataInfo info;
        info.IsNet(c.is_net);
        const AutomationError error = RaisedBy([&] {
            if (c.is_net)
                info.LocalMdbPath(c.local_path);
            else
                info.TotalPath(c.total_path);
        });
        EXPECT_EQ(error.Description(), c.description);
        const bool stored = c.description.empty();
        EXPECT_EQ(error.Number(), stored ? 0 : kRefused);
        EXPECT_EQ(error.Source(), stored ? u"" : u"DataInfo.LocalMdbPath");
        EXPECT_EQ(info.TotalPath(), stored ? c.total_path : u"");
        EXPECT_EQ(info.LocalMdbPath(), stored ? c.local_path : u"");
        EXPECT_EQ(info.InitDb(), stored);
    }
    DataInfo info;
    info.LocalMdbPath(u"nowhere.mdb");
    EXPECT_EQ(info.LocalMdbPath(), u"");
    info.IsNet(true);
    info.TotalPath(u"nowhere");
    EXPECT_EQ(info.TotalPath(), u"");
}

}  // namespace
}  // namespace qmtrain::test
