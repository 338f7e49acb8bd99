// A client database with a candidate, a subject and question types, opened by the data classes.
#pragma once

#include "core/date.h"
#include "records/client_fixture.h"
#include "records/train_info.h"
#include "records/train_result.h"

namespace qmtrain {

inline std::string Shown(std::initializer_list<Value> values) {
    std::string text;
    for (const Value& value : values) text += (text.empty() ? "" : "|") + Shown(value);
    return text;
}

inline std::string Shown(const TrainInfo& info) {
    return Shown({info.TrainID(), info.SubjectCode(), info.startDate(), info.endDate(), info.UserTime(),
                  info.TheoryNo(), info.OperationNo(), info.AnswerScore()});
}

inline std::string Shown(const TrainResult& result) {
    return Shown({result.TrainID(), result.ErrInfo(), result.ErrInfoXml(), result.StudentAnswer(),
                  result.QuestionScore(), result.StudentScore(), result.Distin(), result.Difficult()});
}

}  // namespace qmtrain

namespace qmtrain::test {

inline const Date kStart = FromCivil({2005, 4, 12, 8, 30, 59});
inline const Date kNinetyMinutesLater = FromCivil({2005, 4, 12, 10, 0, 59});

class RecordsTest : public ClientTest {
protected:
    RecordsTest() {
        Execute(
            u"INSERT INTO Tbl_SetUser VALUES (7, '王小明', '2411000001');"
            u"INSERT INTO Tbl_SubjectBrief VALUES (2, '二级C语言', '带准考证', '笔试和上机');"
            u"INSERT INTO Tbl_QuestionType VALUES (1, '选择题', 'choice.exe', '2');"
            u"INSERT INTO Tbl_QuestionType VALUES (1, '单选', 'c4.exe', '4');"
            u"INSERT INTO Tbl_QuestionType VALUES (2, '填空题', 'fill.exe', '2');"
            u"INSERT INTO Tbl_QuestionType VALUES (2, '填空', 'f4.exe', '4')");
        info_.ClientPath(Path());
        result_.ClientPath(Path());
        std::u16string message;
        if (!info_.Init(message)) ADD_FAILURE() << ToUtf8(message);
    }

    std::int32_t AddTrain(std::int32_t subject = 2, std::int32_t operation_no = 1, Date start = kStart) {
        return info_.AddNewTrain(start, 7, 3, operation_no, subject);
    }

    bool AddResult(std::int32_t train, std::int32_t type, std::u16string_view rec_no, std::int32_t distin,
                   std::int32_t number) {
        return result_.Add(train, type, u"B1", rec_no, 2.5F, 1, u"答", u"错", u"<e/>", distin, 3, number);
    }

    // The row's fields under these names, from a select that yields one row.
    std::string Row(std::u16string_view sql, std::initializer_list<std::u16string_view> fields) const {
        const auto database = Open();
        const auto rows = database->OpenRecordset(sql);
        EXPECT_EQ(rows->TrueRecordCount(), 1) << ToUtf8(sql);
        std::string text;
        for (const std::u16string_view field : fields) {
            text += (text.empty() ? "" : "|") + Shown(rows->Fields(field).Value());
        }
        return text;
    }

    TrainInfo info_;
    TrainResult result_;
};

}  // namespace qmtrain::test
