// Every trap, reached by a real fault of the file.

#include <fstream>

#include "bank/question_type.h"
#include "records/records_fixture.h"

namespace qmtrain::test {
namespace {

namespace fs = std::filesystem;

struct Fault {
    const char* log_name;
    const char* message;  // a part of it
    std::function<void()> damage;
    std::function<std::string()> operation;
    std::string failed;  // what the operation returns meanwhile
    std::function<void()> repair;
    std::string repaired;
};

class FaultTest : public RecordsTest {
protected:
    void SetUp() override {
        if (OnServer()) GTEST_SKIP() << "the structure of tables on a server is not changed through links";
    }

    FaultTest() {
        type_.ClientPath(Path());
        subject_.ClientPath(Path());
        AddTrain();
        AddResult(1, 1, u"A1", 5, 1);
        Execute(u"UPDATE TrainInfo SET AnswerScore=1");
    }

    std::function<void()> Sql(const char16_t* statements) {
        return [this, statements] { Execute(statements); };
    }

    void Replace(const std::string& content) { std::ofstream(ClientFile(), std::ios::binary) << content; }

    std::string RowsOf(const std::shared_ptr<dao::Recordset>& rows) {
        return rows ? Shown(rows->TrueRecordCount()) : "none";
    }

    void Provoke(const Fault& fault) {
        SCOPED_TRACE(fault.log_name);
        fs::remove(LogFile());
        fault.damage();
        EXPECT_EQ(fault.operation(), fault.failed);
        const std::vector<LogEntry> entries = Log();
        ASSERT_EQ(entries.size(), 1U);
        EXPECT_EQ(entries[0].type, 4);
        EXPECT_EQ(entries[0].function, fault.log_name);
        EXPECT_NE(entries[0].message.find(fault.message), std::string::npos) << entries[0].message;
        fault.repair();
        EXPECT_EQ(fault.operation(), fault.repaired);
        EXPECT_EQ(Log().size(), 1U) << "still broken";
    }

    QuestionType type_;
    SubjectInfo subject_;
};

TEST_F(FaultTest, OfTrainings) {
    const std::string whole = ReadText(ClientFile());
    std::u16string message = u"as before";
    const auto init = [&] {
        TrainInfo info;
        info.ClientPath(Path());
        return Shown({info.Init(message)});
    };
    const auto load = [&] {
        TrainInfo info;
        info.ClientPath(Path());
        info.Init(message);
        info.LoadFromID(1);
        return Shown(info) + (info.TrainUser() ? " with" : " without");
    };
    const Fault faults[] = {
        {"TrainInfo.Init", "Client.mdb", [&] { Replace("no database at all"); }, init, "False", [&] { Replace(whole); },
         "True"},
        {"TrainInfo.Init", "Client.mdb", [&] { Replace(whole.substr(0, 5000)); }, init, "False",
         [&] { Replace(whole); }, "True"},
        {"GetTrainTimes", "SubjectCode", Sql(u"DROP INDEX ByUser ON TrainInfo; ALTER TABLE TrainInfo DROP SubjectCode"),
         [&] {
             info_.UserId(-1);
             info_.SubjectCode(2);
             return Shown(info_.GetTrainTimes());
         },
         "0", Sql(u"ALTER TABLE TrainInfo ADD SubjectCode LONG; UPDATE TrainInfo SET SubjectCode=2"), "1"},
        {"GetTrainScore", "Null", Sql(u"UPDATE TrainResult SET QuestionScore=Null"),
         [&] {
             info_.TrainID(1);
             return Shown(info_.TrainScore());
         },
         "0", Sql(u"UPDATE TrainResult SET QuestionScore=2.5"), "2.5"},
        {"GetTrainScore", "QuestionScore", Sql(u"ALTER TABLE TrainResult DROP QuestionScore"),
         [&] { return Shown(info_.TrainScore()); }, "0",
         Sql(u"ALTER TABLE TrainResult ADD QuestionScore SINGLE; UPDATE TrainResult SET QuestionScore=2"), "2"},
        {"GetRecordset", "OperationNo", Sql(u"ALTER TABLE TrainInfo DROP OperationNo"),
         [&] { return RowsOf(info_.GetRecordset(u"")); }, "none",
         Sql(u"ALTER TABLE TrainInfo ADD OperationNo LONG; UPDATE TrainInfo SET OperationNo=1"), "1"},
        {"TrainInfo.LoadFromID", "AnswerScore", Sql(u"ALTER TABLE TrainInfo DROP AnswerScore"), load,
         Shown({1, 2, kStart, Date{-1}, -1, 3, 1, -1.0F}) + " without",
         Sql(u"ALTER TABLE TrainInfo ADD AnswerScore SINGLE; UPDATE TrainInfo SET AnswerScore=1"),
         Shown({1, 2, kStart, Date{-1}, -1, 3, 1, 1.0F}) + " with"},
        {"AddNewTrain", "TheoryNo", Sql(u"ALTER TABLE TrainInfo DROP TheoryNo"), [&] { return Shown(AddTrain()); },
         "-1", Sql(u"ALTER TABLE TrainInfo ADD TheoryNo LONG"), "2"},
        {"TrainInfo.Update", "Score", Sql(u"ALTER TABLE TrainInfo DROP Score"),
         [&] { return Shown({info_.Update(1, kNinetyMinutesLater, 1)}); }, "False",
         Sql(u"ALTER TABLE TrainInfo ADD Score SINGLE"), "True"},
    };
    for (const Fault& fault : faults) Provoke(fault);
    EXPECT_EQ(message, u"as before") << "only a missing file is told to the user";
}

TEST_F(FaultTest, OfResults) {
    const fs::path away = folder_.Path() / "Away.mdb";
    const auto update = [&](std::u16string_view code) {
        return Shown({result_.Update(1, code, u"A1", 1, u"乙", u"", u"")});
    };
    std::u16string code = u"B'1";
    const Fault faults[] = {
        {"TrainResult.InitDB", "Client.mdb", [&] { fs::rename(ClientFile(), away); },
         [&] {
             TrainResult result;
             result.ClientPath(Path());
             return Shown({result.LoadTrainResultItem(1, u"B1", u"A1")});
         },
         "False", [&] { fs::rename(away, ClientFile()); }, "True"},
        {"TrainResult.Add", "QuestionNo", Sql(u"ALTER TABLE TrainResult DROP QuestionNo"),
         [&] { return Shown({AddResult(1, 1, u"A2", 6, 2)}); }, "False",
         Sql(u"ALTER TABLE TrainResult ADD QuestionNo LONG"), "True"},
        {"TrainResult.Update", "'", Sql(u""), [&] { return update(code); }, "False", [&] { code = u"B1"; }, "True"},
        {"TrainResult.LoadTrianResultItem", "类型不匹配",
         Sql(u"ALTER TABLE TrainResult DROP Difficult; ALTER TABLE TrainResult ADD Difficult TEXT(9);"
             u"UPDATE TrainResult SET Difficult='难'"),
         [&] {
             const bool loaded = result_.LoadTrainResultItem(1, u"B1", u"A1");
             return Shown({loaded, result_.Distin()});
         },
         "False|5", Sql(u"UPDATE TrainResult SET Difficult='4'"), "True|5"},
        {"TrainResult.GetRecordset", "类型不匹配",
         Sql(u"UPDATE Tbl_QuestionType SET SubjectCode='C' WHERE SubjectCode='2'"),
         [&] { return RowsOf(result_.GetRecordset(1)); }, "none",
         Sql(u"UPDATE Tbl_QuestionType SET SubjectCode='2' WHERE SubjectCode='C'"), "2"},
        {"TrainResult.GetTrainBaseInfo", "OperationNo", Sql(u"ALTER TABLE TrainInfo DROP OperationNo"),
         [&] { return RowsOf(result_.GetRecordset(1)); }, "none", Sql(u"ALTER TABLE TrainInfo ADD OperationNo LONG"),
         "2"},
    };
    for (const Fault& fault : faults) Provoke(fault);
}

TEST_F(FaultTest, OfLookups) {
    const auto type = [&] {
        type_.Init(1);
        return ToUtf8(type_.Description() + u"|" + type_.AppExeName() + u"|" + ToText(type_.TypeCode()));
    };
    const auto subject = [&] {
        subject_.Init(2);
        return ToUtf8(subject_.SubjectCode() + u"|" + subject_.Brief() + u"|" + subject_.StudentKnow());
    };
    const fs::path away = folder_.Path() / "Away.mdb";
    const auto take_away = [&] { fs::rename(ClientFile(), away); };
    const auto bring_back = [&] { fs::rename(away, ClientFile()); };
    const Fault faults[] = {
        {"SubjectInfo.LoadFromID", "Client.mdb", take_away, subject, "-1||", bring_back, "2|二级C语言|带准考证"},
        {"SubjectInfo.LoadFromID", "StudentKnow",
         Sql(u"ALTER TABLE Tbl_SubjectBrief DROP StudentKnow; UPDATE Tbl_SubjectBrief SET ExameBrief='新'"), subject,
         "2|新|带准考证", Sql(u"ALTER TABLE Tbl_SubjectBrief ADD StudentKnow TEXT(9)"), "2|新|"},
        {"QuestionType.LoadFromID", "Client.mdb", take_away, type, "||-1", bring_back, "选择题|choice.exe|1"},
        {"QuestionType.LoadFromID", "C_Startexe", Sql(u"ALTER TABLE Tbl_QuestionType DROP C_Startexe"), type,
         "选择题||1", Sql(u"ALTER TABLE Tbl_QuestionType ADD C_Startexe TEXT(50)"), "选择题||1"},
        {"QuestionType.LoadFromID", "Tbl_QuestionType", Sql(u"DROP TABLE Tbl_QuestionType"), type, "||-1",
         Sql(u"CREATE TABLE Tbl_QuestionType (I_TypeID DOUBLE, C_TestStyle MEMO, C_Startexe TEXT(9), Sub TEXT(9));"
             u"INSERT INTO Tbl_QuestionType VALUES (1, '选', 'c', '2')"),
         "选|c|1"},
    };
    for (const Fault& fault : faults) Provoke(fault);
}

// Each operation of an object that was never opened.
TEST_F(FaultTest, WithoutADatabase) {
    TrainInfo info;
    EXPECT_EQ(info.AddNewTrain(kStart, 7, 1, 1, 1), -1);
    EXPECT_FALSE(info.Update(1, kStart, 1));
    info.LoadFromID(1);
    EXPECT_EQ(info.GetRecordset(u"Select * From TrainInfo"), nullptr);
    EXPECT_EQ(info.GetTrainTimes(), 0);
    EXPECT_EQ(info.TrainScore(), 0.0F);
    TrainResult result;
    EXPECT_FALSE(result.Update(1, u"B1", u"A1", 1, u"", u"", u""));
    EXPECT_EQ(result.GetRecordset(1), nullptr);
    SubjectInfo().Init(1);
    QuestionType().Init(1);
    const std::string not_open = "未设置对象变量。";
    const std::u16string file = FromNativePath(ToNativePath(u"\\Client.mdb"));
    const std::string no_file = ToUtf8(u"找不到文件“" + file + u"”。");
    EXPECT_EQ(Log(), (std::vector<LogEntry>{{4, not_open, "AddNewTrain"},
                                            {4, not_open, "TrainInfo.Update"},
                                            {4, not_open, "TrainInfo.LoadFromID"},
                                            {4, not_open, "GetRecordset"},
                                            {4, not_open, "GetTrainTimes"},
                                            {4, not_open, "GetTrainScore"},
                                            {4, no_file, "TrainResult.InitDB"},
                                            {4, no_file, "TrainResult.InitDB"},
                                            {4, no_file, "SubjectInfo.LoadFromID"},
                                            {4, no_file, "QuestionType.LoadFromID"}}));
}

}  // namespace
}  // namespace qmtrain::test
