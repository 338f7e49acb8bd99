// Candidates, subjects and question types; the folder that all classes share.

#include "bank/question_type.h"
#include "dao/new_database.h"
#include "records/ncre_user.h"
#include "records/records_fixture.h"
#include "records/subject_info.h"

namespace qmtrain::test {
namespace {

namespace fs = std::filesystem;

using LookupTest = RecordsTest;

std::vector<std::u16string> Texts(const NCREUser& user) {
    return {ToText(user.UserId()), user.UserName(), user.UserExameID()};
}
std::vector<std::u16string> Texts(const SubjectInfo& subject) {
    return {subject.SubjectCode(), subject.Brief(), subject.StudentKnow(), subject.Description()};
}
std::vector<std::u16string> Texts(const QuestionType& type) {
    return {ToText(type.TypeCode()), type.Description(), type.AppExeName()};
}

TEST_F(LookupTest, RowsAreLoaded) {
    Execute(
        u"INSERT INTO Tbl_SetUser (UserID) VALUES (8); INSERT INTO Tbl_SubjectBrief (SubjectCode) VALUES (3);"
        u"INSERT INTO Tbl_QuestionType (I_TypeID, SubjectCode) VALUES (9, '2')");
    NCREUser user;
    SubjectInfo subject;
    QuestionType type;
    EXPECT_EQ(Texts(user), (std::vector<std::u16string>{u"0", u"", u""}));
    EXPECT_EQ(Texts(subject), (std::vector<std::u16string>{u"-1", u"", u"", u""}));
    EXPECT_EQ(Texts(type), (std::vector<std::u16string>{u"0", u"", u""}));
    user.ClientPath(Path());
    subject.ClientPath(Path());
    type.ClientPath(Path());
    user.Init(7);
    subject.Init(2);
    type.Init(2);
    // Without a row a question type is empty, the other two stay.
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(Texts(user), (std::vector<std::u16string>{u"7", u"王小明", u"2411000001"}));
        EXPECT_EQ(Texts(subject), (std::vector<std::u16string>{u"2", u"二级C语言", u"带准考证", u"笔试和上机"}));
        EXPECT_EQ(Texts(type), round == 0 ? (std::vector<std::u16string>{u"2", u"填空题", u"fill.exe"})
                                          : (std::vector<std::u16string>{u"-1", u"", u""}));
        user.Init(99);
        subject.Init(99);
        type.Init(99);
    }
    user.Init(8);
    subject.Init(3);
    type.Init(9);
    EXPECT_EQ(Texts(user), (std::vector<std::u16string>{u"8", u"", u""}));
    EXPECT_EQ(Texts(subject), (std::vector<std::u16string>{u"3", u"", u"", u""}));
    EXPECT_EQ(Texts(type), (std::vector<std::u16string>{u"9", u"", u""}));
    EXPECT_EQ(Log(), std::vector<LogEntry>());
}

TEST_F(LookupTest, ASubjectCodeIsAText) {
    SubjectInfo subject;
    subject.SubjectCode(u" 12 ");
    EXPECT_EQ(subject.SubjectCode(), u"12");
    EXPECT_EQ(ErrorOf([&] { subject.SubjectCode(u"二"); }), static_cast<int>(ErrorNumber::TypeMismatch));
    EXPECT_EQ(ErrorOf([&] { subject.SubjectCode(u"9999999999"); }), static_cast<int>(ErrorNumber::Overflow));
    EXPECT_EQ(subject.SubjectCode(), u"12");
}

TEST_F(LookupTest, ACandidateIsLookedUpWithoutATrap) {
    if (OnServer()) GTEST_SKIP() << "the structure of tables on a server is not changed through links";
    NCREUser user;
    user.ClientPath(Path());
    AddTrain();
    Execute(u"ALTER TABLE Tbl_SetUser DROP COLUMN 考号");
    const AutomationError error = RaisedBy([&] { user.Init(7); });
    EXPECT_EQ(error.Number(), static_cast<int>(ErrorNumber::FieldNotFound));
    EXPECT_EQ(Texts(user), (std::vector<std::u16string>{u"7", u"王小明", u""})) << "what was read before";
    EXPECT_EQ(Log(), std::vector<LogEntry>());
    // In a training's load the training's trap catches it.
    info_.LoadFromID(1);
    EXPECT_EQ(info_.TrainID(), 1);
    EXPECT_EQ(info_.TrainUser(), nullptr);
    EXPECT_EQ(info_.TrainSubject(), nullptr);
    EXPECT_EQ(Log(), (std::vector<LogEntry>{{4, ToUtf8(error.Description()), "TrainInfo.LoadFromID"}}));
}

// A class's ClientPath, set to a value; what it then holds.
struct PathProperty {
    const char* name;
    std::function<void(const std::u16string&)> set;
    std::function<std::u16string()> get;
};

template <class Object>
PathProperty PathOf(const char* name) {
    const auto object = std::make_shared<Object>();
    return {name, [object](const std::u16string& value) { object->ClientPath(value); },
            [object] { return object->ClientPath(); }};
}

TEST_F(LookupTest, ClientPathsAreTestedAndStoredAsGiven) {
    fs::create_directories(folder_.Path() / u"考生01/Empty/Client.mdb");
    fs::rename(ClientFile(), folder_.Path() / u"考生01/CLIENT.MDB");
    const std::u16string folder = Path() + u"\\考生01";
    for (const PathProperty& path : {PathOf<TrainInfo>("TrainInfo"), PathOf<NCREUser>("NCREUser"),
                                     PathOf<SubjectInfo>("SubjectInfo"), PathOf<QuestionType>("QuestionType")}) {
        SCOPED_TRACE(path.name);
        for (const std::u16string& good : {folder, folder + u"\\", Path() + u"/考生01", Path() + u"/考生01/"}) {
            path.set(good);
            EXPECT_EQ(path.get(), good);
        }
        const std::u16string before = path.get();
        for (const std::u16string& bad : {Path(), folder + u"\\Empty", folder + u"x\\", std::u16string()}) {
            const AutomationError error = RaisedBy([&] { path.set(bad); });
            EXPECT_EQ(static_cast<std::uint32_t>(error.Number()), 0x80040001U);
            EXPECT_EQ(error.Source(), u"QmTrainInfo");
            EXPECT_EQ(error.Description(), u"路径[" + bad + u"]错误,路径下不存在Client.mdb数据库");
            EXPECT_EQ(path.get(), before);
        }
    }
    TrainResult untested;
    untested.ClientPath(u"nowhere");
    EXPECT_EQ(untested.ClientPath(), u"nowhere");
    EXPECT_EQ(Log(), std::vector<LogEntry>());
}

TEST_F(LookupTest, ANewDatabaseIsWholeOrNotThere) {
    const auto names = [&](const fs::path& folder) {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder)) found.push_back(entry.path().filename().string());
        return found;
    };
    const ScratchFolder fresh;
    const std::u16string folder = FromNativePath(fresh.Path());
    CreateClientDatabase(folder);
    EXPECT_EQ(names(fresh.Path()), std::vector<std::string>{"Client.mdb"});
    const auto before = fs::last_write_time(fresh.Path() / "Client.mdb");
    EXPECT_EQ(ErrorOf([&] { CreateClientDatabase(folder + u"\\"); }), static_cast<int>(ErrorNumber::DatabaseExists));
    EXPECT_EQ(fs::last_write_time(fresh.Path() / "Client.mdb"), before);
    EXPECT_NE(ErrorOf([&] { dao::MakeDatabase(folder + u"\\Bad.mdb", u"CREATE TABLE A (B LONG); DROP TABLE C"); }), 0);
    EXPECT_EQ(names(fresh.Path()), std::vector<std::string>{"Client.mdb"});
}

// A statement that raises within takes back what was done before it, and the database stays of use.
TEST_F(LookupTest, AllThatIsDoneAtomicallyOrNothing) {
    const auto database = Open();
    const auto add = [&] { database->Execute(u"INSERT INTO TrainInfo (UserId) VALUES (1)"); };
    EXPECT_EQ(ErrorOf([&] {
                  database->Atomically([&] {
                      add();
                      Raise(ErrorNumber::TypeMismatch);
                  });
              }),
              static_cast<int>(ErrorNumber::TypeMismatch));
    EXPECT_EQ(Column(u"Select Count(*) As N From TrainInfo", u"N"), u"0");
    database->Atomically([&] {
        add();
        database->Atomically(add);
        EXPECT_EQ(database->OpenRecordset(u"TrainInfo")->TrueRecordCount(), 2) << "its own changes show";
    });
    EXPECT_EQ(Column(u"Select Count(*) As N From TrainInfo", u"N"), u"2");
}

}  // namespace
}  // namespace qmtrain::test
