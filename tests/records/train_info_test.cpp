// Trainings from their start to their summary.

#include "records/train_info.h"

#include <limits>

#include "dao/new_database.h"
#include "jet/support/other_readers.h"
#include "jet/support/program.h"
#include "records/records_fixture.h"
#include "support/at_once.h"

namespace qmtrain::test {
namespace {

using TrainInfoTest = RecordsTest;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST_F(TrainInfoTest, APracticeFromStartToReview) {
    EXPECT_EQ(AddTrain(4, 0), 1);
    const std::int32_t train = AddTrain();
    ASSERT_EQ(train, 2);
    EXPECT_EQ(Shown(info_), Shown(TrainInfo())) << "the object's own values stay";
    ASSERT_TRUE(AddResult(train, 2, u"02F1", 9, 3));
    ASSERT_TRUE(AddResult(train, 1, u"01A2", 8, 2));
    ASSERT_TRUE(AddResult(train, 1, u"01A1", 7, 1));
    ASSERT_TRUE(info_.Update(train, kNinetyMinutesLater, 61.5F));
    ASSERT_TRUE(result_.Update(train, u"B1", u"01A1", 2.5F, u"甲", u"对", u"<ok/>"));

    EXPECT_EQ(Row(u"Select * From TrainInfo Where TrainID=2",
                  {u"UserId", u"SubjectCode", u"StartDate", u"EndDate", u"UseTime", u"TheoryNo", u"OperationNo",
                   u"AnswerScore", u"Score"}),
              "7|2|" + Shown(kStart) + "|" + Shown(kNinetyMinutesLater) + "|5400|3|1|Null|61.5");
    EXPECT_EQ(Row(u"Select * From TrainResult Where QuestionRecNo='01A1'",
                  {u"TrainID", u"QuestionType", u"DataCode", u"QuestionScore", u"AnswerScore", u"Answer",
                   u"StudentAnswer", u"ErrInfo", u"ErrInfoXml", u"Distin", u"Difficult", u"QuestionNo"}),
              "2|1|B1|2.5|2.5|答|甲|对|<ok/>|7|3|1");
    EXPECT_EQ(Row(u"Select * From TrainResult Where QuestionRecNo='02F1'", {u"AnswerScore", u"StudentAnswer"}),
              "1|Null");

    // The score is read from AnswerScore, which nothing here writes.
    info_.LoadFromID(train);
    EXPECT_EQ(Shown(info_), Shown({2, 2, kStart, kNinetyMinutesLater, 5400, 3, 1, -1.0F}));
    ASSERT_NE(info_.TrainUser(), nullptr);
    EXPECT_EQ(info_.TrainUser()->UserName(), u"王小明");
    ASSERT_NE(info_.TrainSubject(), nullptr);
    EXPECT_EQ(info_.TrainSubject()->Brief(), u"二级C语言");
    EXPECT_EQ(info_.UserId(), 0) << "not a part of what is loaded";
    EXPECT_EQ(info_.TrainScore(), 7.5F);

    const auto summary = info_.GetRecordset(u"");
    ASSERT_NE(summary, nullptr);
    EXPECT_EQ(summary->TrueRecordCount(), 1) << "a training without results is left out";
    EXPECT_EQ(Shown({summary->Fields(u"TrainID").Value(), summary->Fields(u"PaperScore").Value(),
                     summary->Fields(u"GetScore").Value()}),
              "2|7.5|4.5");
    EXPECT_EQ(Log(), std::vector<LogEntry>());

    const auto database = jet::Database::Open(ClientFile());
    if (HasProgram("mdb-export")) ExpectSameAsMdbTools(*database, ClientFile());
    const bool jet4 = database->GetVersion() == jet::Version::Jet4;  // that reader knows no code page but 1252
    if (MdbReaderModules() != nullptr && jet4) ExpectSameAsMdbReader(*database, ClientFile());
}

TEST_F(TrainInfoTest, TimeUsedIsSetWhenTheEndIsAfterTheStart) {
    struct Case {
        const char* name;
        const char16_t* start;  // an SQL value
        Date end;
        const char* use_time;
    };
    const Case cases[] = {
        {"later", u"#2005-04-12 08:30:59#", kNinetyMinutesLater, "5400"},
        {"a second later", u"#2005-04-12 08:30:58#", kStart, "1"},
        {"equal", u"#2005-04-12 08:30:59#", kStart, "42"},
        {"earlier", u"#2005-04-13#", kStart, "42"},
        {"no start", u"Null", Date{0.5}, "43200"},
        {"no start, end before the zero date", u"Null", Date{-1}, "42"},
    };
    const std::int32_t train = AddTrain();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Execute(std::u16string(u"UPDATE TrainInfo SET UseTime=42, Score=0, StartDate=") + c.start);
        EXPECT_TRUE(info_.Update(train, c.end, 1.5F));
        EXPECT_EQ(Row(u"TrainInfo", {u"UseTime", u"EndDate", u"Score"}),
                  std::string(c.use_time) + "|" + Shown(c.end) + "|1.5");
    }
    EXPECT_EQ(Log(), std::vector<LogEntry>());
}

TEST_F(TrainInfoTest, DatesComeBackAsTheyWere) {
    const CivilTime times[] = {
        {100, 1, 1, 0, 0, 0},    {100, 1, 2, 3, 4, 5},    {1582, 10, 15, 12, 0, 0},   {1899, 12, 29, 6, 30, 15},
        {1899, 12, 30, 0, 0, 0}, {1899, 12, 30, 0, 0, 1}, {2000, 2, 29, 23, 59, 59},  {2005, 4, 12, 8, 30, 59},
        {2005, 12, 4, 8, 30, 0}, {2029, 1, 1, 0, 0, 0},   {9999, 12, 31, 23, 59, 59},
    };
    for (const CivilTime& time : times) {
        const Date date = FromCivil(time);
        info_.LoadFromID(AddTrain(2, 1, date));
        EXPECT_EQ(info_.startDate().days, date.days) << Shown(date);
    }
    EXPECT_EQ(Log(), std::vector<LogEntry>());
}

TEST_F(TrainInfoTest, DatesThatNoDatabaseHoldsAreRefused) {
    const std::int32_t train = AddTrain();
    std::size_t entries = 0;
    for (const double days : {kNaN, 1e300, -1e300, kLastDate, kFirstDate - 1}) {
        EXPECT_EQ(AddTrain(2, 1, Date{days}), -1) << days;
        EXPECT_FALSE(info_.Update(train, Date{days}, 1)) << days;
        EXPECT_EQ(Log().size(), entries += 2) << days;
    }
    EXPECT_EQ(Row(u"TrainInfo", {u"TrainID", u"EndDate", u"Score"}), "1|Null|Null");
    // More seconds than the column takes.
    Execute(u"UPDATE TrainInfo SET StartDate=#1900-01-01#");
    EXPECT_FALSE(info_.Update(train, kStart, 1));
    EXPECT_EQ(Log().back(), (LogEntry{4, "溢出。", "TrainInfo.Update"}));
    EXPECT_EQ(Row(u"TrainInfo", {u"EndDate", u"Score", u"UseTime"}), "Null|Null|Null");
}

TEST_F(TrainInfoTest, CountsTrainings) {
    for (const int user : {0, 7, 7, 8}) {
        for (const int subject : {2, 4}) info_.AddNewTrain(kStart, user, 1, 1, subject);
    }
    info_.AddNewTrain(kStart, 7, 1, 1, 2);
    TrainInfo fresh;
    std::u16string message;
    fresh.ClientPath(Path());
    fresh.Init(message);
    EXPECT_EQ(fresh.GetTrainTimes(), 2) << "the user starts at 0, the subject at any";
    struct Case {
        std::int32_t user;
        std::int32_t subject;
        std::int32_t times;
    };
    for (const Case& c : {Case{-1, -1, 9}, Case{7, -1, 5}, Case{-1, 4, 4}, Case{7, 2, 3}, Case{9, 2, 0}}) {
        info_.UserId(c.user);
        info_.SubjectCode(c.subject);
        EXPECT_EQ(info_.GetTrainTimes(), c.times) << c.user << " " << c.subject;
    }
    EXPECT_EQ(Log(), std::vector<LogEntry>());
}

TEST_F(TrainInfoTest, WhatIsNotThereIsNoFault) {
    EXPECT_FALSE(info_.Update(99, kStart, 1));
    info_.LoadFromID(99);
    EXPECT_EQ(Shown(info_), Shown(TrainInfo()));
    EXPECT_EQ(info_.TrainUser(), nullptr);
    EXPECT_EQ(Log(), std::vector<LogEntry>());
    EXPECT_EQ(info_.TrainScore(), 0.0F);
    EXPECT_EQ(Log(), (std::vector<LogEntry>{{4, "无效使用 Null。", "GetTrainScore"}}));
}

TEST_F(TrainInfoTest, NullsHaveTheirStandIns) {
    Execute(u"INSERT INTO TrainInfo (UserId) VALUES (Null)");
    info_.LoadFromID(1);
    EXPECT_EQ(Shown(info_), Shown({1, -1, Date{-1}, Date{-1}, -1, -1, -1, -1.0F}));
    ASSERT_NE(info_.TrainUser(), nullptr);
    EXPECT_EQ(info_.TrainUser()->UserId(), 0) << "there is no candidate -1";
    ASSERT_NE(info_.TrainSubject(), nullptr);
    EXPECT_EQ(info_.TrainSubject()->SubjectCode(), u"-1");
    EXPECT_EQ(Log(), std::vector<LogEntry>());
}

TEST_F(TrainInfoTest, InitOpensTheFolderAnew) {
    const ScratchFolder other;
    CreateClientDatabase(FromNativePath(other.Path()));
    AddTrain();
    const auto rows = info_.GetRecordset(u"Select * From TrainInfo");
    ASSERT_NE(rows, nullptr);

    std::u16string message;
    info_.ClientPath(FromNativePath(other.Path()) + u"\\");
    EXPECT_EQ(info_.GetTrainTimes(), 0) << "user 0 has none in the first folder either";
    info_.UserId(-1);
    EXPECT_EQ(info_.GetTrainTimes(), 1) << "the first folder is open still";
    EXPECT_TRUE(info_.Init(message));
    EXPECT_EQ(message, u"");
    EXPECT_EQ(info_.GetTrainTimes(), 0);
    EXPECT_EQ(ErrorOf([&] { rows->MoveNext(); }), static_cast<int>(ErrorNumber::ObjectInvalid));

    FileSystem::Native().Remove(other.Path() / "Client.mdb");
    EXPECT_FALSE(info_.Init(message));
    EXPECT_EQ(message, FromNativePath(other.Path()) + u"\\Client.mdb数据库不存在!");
    EXPECT_EQ(Log(), std::vector<LogEntry>());
}

TEST_F(TrainInfoTest, TwoProcessesGetNumbersOfTheirOwn) {
    if (!kWorksAreProcesses) GTEST_SKIP() << "one process has one engine";
    constexpr int kTrainings = 25;
    const auto add = [&](int first) {
        TrainInfo own;
        std::u16string message;
        own.ClientPath(Path());
        bool right = own.Init(message);
        for (int paper = first; paper < first + kTrainings; ++paper) {
            own.LoadFromID(own.AddNewTrain(kStart, 7, paper, 0, 2));
            right = right && own.TheoryNo() == paper;
        }
        return right ? 0 : 1;
    };
    EXPECT_EQ(AtOnce({[&] { return add(1000); }, [&] { return add(2000); }}), (std::vector<int>{0, 0}))
        << "a number was that of another paper";
    EXPECT_EQ(Column(u"Select Count(*) As N From TrainInfo", u"N"), u"50");
    EXPECT_EQ(Log(), std::vector<LogEntry>());
}

TEST_F(TrainInfoTest, ATrainingWithoutANumberIsNotAdded) {
    const ScratchFolder other;
    const std::u16string file = InFolder(FromNativePath(other.Path()), u"Client.mdb");
    dao::MakeDatabase(file,
                      u"CREATE TABLE TrainInfo (Nr COUNTER, UserId LONG, SubjectCode LONG, StartDate DATETIME,"
                      u" TheoryNo LONG, OperationNo LONG)");
    std::u16string message;
    info_.ClientPath(FromNativePath(other.Path()));
    ASSERT_TRUE(info_.Init(message));
    EXPECT_EQ(AddTrain(), -1);
    EXPECT_EQ(Log().size(), 1U);
    EXPECT_TRUE(dao::Engine::Instance().OpenDatabase(file)->OpenRecordset(u"TrainInfo")->Eof());
}

TEST_F(TrainInfoTest, ShowDlgOpensTheHistoryWindow) {
    info_.ShowDlg();
    EXPECT_EQ(Log().size(), 1U) << "there is no window";
    int shown = 0;
    TrainInfo::SetHistoryWindow([&] { ++shown; });
    info_.ShowDlg();
    TrainInfo::SetHistoryWindow({});
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(Log().size(), 1U);
}

}  // namespace
}  // namespace qmtrain::test
