// The results of a training's questions.

#include "records/train_result.h"

#include "dao/new_database.h"
#include "records/records_fixture.h"

namespace qmtrain::test {
namespace {

using TrainResultTest = RecordsTest;

TEST_F(TrainResultTest, OrderOfAPaper) {
    struct Case {
        const char* name;
        const char16_t* operation_no;
        std::int32_t subject;
        std::u16string order;  // of the record numbers
    };
    const Case cases[] = {
        {"operation paper of subject 2", u"5", 2, u"A1 A2 A3 F1 F2"},
        {"operation paper of subject 3", u"1", 3, u"A1 A2 A3 F1 F2"},
        {"operation paper of another subject", u"1", 4, u"A3 A1 A2 F2 F1"},
        {"no operation paper", u"0", 4, u"A1 A2 A3 F1 F2"},
        {"operation paper unknown", u"Null", 4, u"A1 A2 A3 F1 F2"},
    };
    Execute(
        u"INSERT INTO Tbl_QuestionType VALUES (1, '选', '', '3'); INSERT INTO Tbl_QuestionType VALUES (2, '填', '', "
        u"'03')");
    const std::int32_t other = AddTrain();
    AddResult(other, 1, u"X", 0, 0);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::int32_t train = AddTrain(c.subject);
        Execute(std::u16string(u"UPDATE TrainInfo SET OperationNo=") + c.operation_no + u" WHERE TrainID=" +
                ToText(train));
        AddResult(train, 2, u"F2", 1, 5);
        AddResult(train, 1, u"A3", 2, 3);
        AddResult(train, 1, u"A1", 3, 1);
        AddResult(train, 2, u"F1", 9, 4);
        AddResult(train, 1, u"A2", 4, 2);
        AddResult(train, 8, u"Z", 4, 2);  // of no known type
        const auto rows = result_.GetRecordset(train);
        ASSERT_NE(rows, nullptr);
        EXPECT_EQ(Column(*rows, u"QuestionRecNo"), c.order);
    }
    EXPECT_EQ(Column(*result_.GetRecordset(other), u"C_TestStyle"), u"选择题");
    EXPECT_EQ(result_.GetRecordset(99), nullptr);
    Execute(u"UPDATE TrainInfo SET SubjectCode=Null");  // an unknown subject joins no question type
    ASSERT_NE(result_.GetRecordset(other), nullptr);
    EXPECT_TRUE(result_.GetRecordset(other)->Eof());
    EXPECT_EQ(Log(), std::vector<LogEntry>());
}

TEST_F(TrainResultTest, LoadsWhatUpdateWrote) {
    const std::int32_t train = AddTrain();
    AddResult(train, 1, u"A1", 5, 1);
    AddResult(train, 1, u"A1", 6, 2);  // the same question again
    EXPECT_TRUE(result_.Update(train, u"B1", u"A1", 0.5F, u"乙", u"错了", u"<e>1</e>"));
    EXPECT_EQ(Column(u"Select * From TrainResult Order By QuestionNo", u"StudentAnswer"), u"乙 Null");
    EXPECT_TRUE(result_.LoadTrainResultItem(train, u"b1", u"a1"));
    EXPECT_EQ(Shown(result_), "1|错了|<e>1</e>|乙|2.5|0.5|5|3");

    for (const auto& [of, code, rec_no] :
         {std::tuple(train, u"B1", u"A2"), std::tuple(train, u"B2", u"A1"), std::tuple(train + 1, u"B1", u"A1")}) {
        EXPECT_FALSE(result_.Update(of, code, rec_no, 1, u"", u"", u""));
        EXPECT_FALSE(result_.LoadTrainResultItem(of, code, rec_no));
    }
    EXPECT_EQ(Shown(result_), "1|错了|<e>1</e>|乙|2.5|0.5|5|3") << "what is not there changes nothing";
    EXPECT_EQ(Column(u"Select Count(*) As N From TrainResult", u"N"), u"2");
    EXPECT_EQ(Log(), std::vector<LogEntry>());
}

TEST_F(TrainResultTest, NullsHaveTheirStandIns) {
    AddTrain();
    Execute(u"INSERT INTO TrainResult (TrainID, DataCode, QuestionRecNo) VALUES (1, 'B1', 'A1')");
    result_.ErrInfo(u"from before");
    EXPECT_FALSE(result_.LoadTrainResultItem(1, u"B1", u"A1"));
    EXPECT_EQ(Shown(result_), "1||||0|0|1|-1") << "all but the difficulty is filled";
    EXPECT_EQ(Log(), (std::vector<LogEntry>{{4, "类型不匹配。", "TrainResult.LoadTrianResultItem"}}));
    Execute(u"UPDATE TrainResult SET Difficult=4");
    EXPECT_TRUE(result_.LoadTrainResultItem(1, u"B1", u"A1"));
    EXPECT_EQ(Shown(result_), "1||||0|0|1|4");
}

// Hosts record results before their training, and delete a training without them.
TEST_F(TrainResultTest, ResultsNeedNoTraining) {
    EXPECT_TRUE(AddResult(1, 1, u"A1", 5, 1));
    EXPECT_EQ(AddTrain(), 1);
    EXPECT_TRUE(result_.LoadTrainResultItem(1, u"B1", u"A1"));
    Execute(u"DELETE FROM TrainInfo");
    EXPECT_TRUE(result_.LoadTrainResultItem(1, u"B1", u"A1"));

    // A file that ties them together keeps to it.
    if (OnServer()) return;
    Execute(u"DELETE FROM TrainResult");
    Execute(u"ALTER TABLE TrainResult ADD CONSTRAINT Tied FOREIGN KEY (TrainID) REFERENCES TrainInfo (TrainID)");
    EXPECT_FALSE(AddResult(9, 1, u"A1", 5, 1));
    EXPECT_TRUE(AddResult(AddTrain(), 1, u"A2", 5, 1));
    EXPECT_EQ(Log().size(), 1U);
}

TEST_F(TrainResultTest, ColumnsOfNumbersTakeNoWords) {
    AddTrain();
    for (const char16_t* column : {u"UserId", u"Score"}) {
        const auto rows = Open()->OpenRecordset(u"Select * From TrainInfo");
        rows->Edit();
        const auto write = [&] {
            rows->Fields(column).Value(u"True");
            rows->Update();
        };
        EXPECT_EQ(ErrorOf(write), static_cast<std::int32_t>(ErrorNumber::DataTypeConversion));
    }
    EXPECT_EQ(Column(u"Select UserId From TrainInfo", u"UserId"), u"7");
}

TEST_F(TrainResultTest, LongTextsAndQuotes) {
    AddTrain();
    std::u16string text;
    for (int i = 0; i < 5000; ++i) text += static_cast<char16_t>(u'一' + i);
    std::u16string quoted = u"他说'好'\"\r\n<&>";
    if (DatabaseFormat().version == jet::Version::Jet4) quoted += u"\xD83D\xDE00";
    ASSERT_TRUE(result_.Add(1, 1, u"B1", u"A1", 2, 1, text + quoted, text, quoted, 1, 1, 1));
    ASSERT_TRUE(result_.Update(1, u"B1", u"A1", 2, quoted + text, text + text, text));
    ASSERT_TRUE(result_.LoadTrainResultItem(1, u"B1", u"A1"));
    EXPECT_EQ(result_.StudentAnswer(), quoted + text);
    EXPECT_EQ(result_.ErrInfo(), text + text);
    EXPECT_EQ(result_.ErrInfoXml(), text);
    EXPECT_EQ(Column(u"TrainResult", u"Answer"), text + quoted);
    EXPECT_EQ(Log(), std::vector<LogEntry>());
}

TEST_F(TrainResultTest, AFileMadeByOthers) {
    const ScratchFolder other;
    const std::u16string folder = FromNativePath(other.Path());
    dao::MakeDatabase(InFolder(folder, u"Client.mdb"),
                      u"CREATE TABLE TrainResult (TrainID DOUBLE, DataCode TEXT(20), QuestionRecNo TEXT(20) NOT NULL,"
                      u" AnswerScore DOUBLE, StudentAnswer TEXT(3), ErrInfo TEXT(20), ErrInfoXml TEXT(20));"
                      u"INSERT INTO TrainResult (TrainID, DataCode, QuestionRecNo) VALUES (1, 'B1', 'A1')");
    result_.ClientPath(folder);
    EXPECT_TRUE(result_.Update(1, u"B1", u"A1", 0.5F, u"答案一", u"", u""));
    EXPECT_FALSE(result_.Update(1, u"B1", u"A1", 9, u"答案一二", u"", u"")) << "a longer answer than the column takes";
    EXPECT_FALSE(result_.LoadTrainResultItem(1, u"B1", u"A1"));
    EXPECT_EQ(Shown(result_), "1|||答案一|-1|-1|-1|-1") << "read before the missing column";
    const auto rows =
        dao::Engine::Instance().OpenDatabase(InFolder(folder, u"Client.mdb"))->OpenRecordset(u"TrainResult");
    EXPECT_EQ(Shown({rows->Fields(u"AnswerScore").Value(), rows->Fields(u"StudentAnswer").Value()}), "0.5|答案一");
    std::vector<std::string> functions;
    for (const LogEntry& entry : Log()) functions.push_back(entry.function);
    EXPECT_EQ(functions, (std::vector<std::string>{"TrainResult.Update", "TrainResult.LoadTrianResultItem"}));
}

}  // namespace
}  // namespace qmtrain::test
