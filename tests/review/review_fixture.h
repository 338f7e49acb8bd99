// A candidate's history: Client.mdb with trainings, and the questions of one paper in banks of both editions.
#pragma once

#include "bank/create_bank.h"
#include "records/client_fixture.h"
#include "review/paper_rows.h"

namespace qmtrain::test {

inline constexpr std::int32_t kUser = 7;
inline constexpr std::int32_t kSubject = 1;

class ReviewTest : public ClientTest {
protected:
    std::u16string File(std::u16string_view name) const { return InFolder(Path(), name); }

    // A practice on the given day of April 2005, with one result of that paper total and score.
    void AddTraining(int day, float paper, float got, std::int32_t theory = 1, std::int32_t operation = -1,
                     std::int32_t use_time = 3725) const {
        const auto database = Open();
        const auto trainings = database->OpenRecordset(u"Select * From TrainInfo");
        trainings->AddNew();
        trainings->Fields(u"UserId").Value(kUser);
        trainings->Fields(u"SubjectCode").Value(kSubject);
        trainings->Fields(u"StartDate").Value(FromCivil({2005, 4, day, 8, 30, 0}));
        trainings->Fields(u"TheoryNo").Value(theory);
        trainings->Fields(u"OperationNo").Value(operation);
        trainings->Fields(u"UseTime").Value(use_time);
        trainings->Update();
        database->Execute(
            u"INSERT INTO TrainResult (TrainID, QuestionType, QuestionScore, AnswerScore) SELECT"
            u" Max(TrainID), 1, " +
            ToText(Value(paper)) + u", " + ToText(Value(got)) + u" FROM TrainInfo");
    }

    // The paper of training 1, a question of each kind and one that no bank holds, and the banks.
    void AddPaper() const {
        Execute(
            uR"(
INSERT INTO TrainInfo (UserId, SubjectCode, StartDate, TheoryNo) VALUES (7, 1, #2005-04-02 08:30:00#, 1);
INSERT INTO Tbl_QuestionType VALUES (1, '单项选择题', Null, '1');
INSERT INTO Tbl_QuestionType VALUES (27, '多项选择题', Null, '1');
INSERT INTO Tbl_QuestionType VALUES (26, '判断题', Null, '1');
INSERT INTO Tbl_QuestionType VALUES (11, '填空题', Null, '1');
INSERT INTO Tbl_QuestionType VALUES (30, Null, Null, '1');
INSERT INTO TrainResult VALUES (1, 1, 'VB', '000101', 2, 0.5, '2', '4', '选错了', Null, 1, 2, 1);
INSERT INTO TrainResult VALUES (1, 27, 'VB', '000201', 4, 4, '5', '5', Null, Null, 1, 2, 2);
INSERT INTO TrainResult VALUES (1, 26, 'VB', '000301', 2, Null, '-1', '0', Null, Null, 1, 2, 3);
INSERT INTO TrainResult VALUES (1, 11, 'VB', '000401', 4, 2, 'a#b@c', 'a@', Null, Null, 1, 2, 4);
INSERT INTO TrainResult VALUES (1, 30, 'VB', '000501', 16, 12, Null, Null, '{\rtf1 扣 {\b 4} 分\par }', Null, 2, 2, 5);
INSERT INTO TrainResult VALUES (1, 30, 'NO', '000501', 16, 0, Null, Null, '没有题库', Null, 3, 2, 6))");
        CreateCatalogue(Path(), {}, DatabaseFormat());
        dao::Connection(File(u"Total.mdb"))->Execute(u"INSERT INTO Tbl_Subject VALUES ('VB', 1, 'Vb.mdb', Null)");
        CreateQuestionBank(File(u"Vb.mdb"), {}, DatabaseFormat());
        CreateLocalPaperDatabase(File(u"LocalPaper.mdb"), {}, DatabaseFormat());
        for (const std::u16string_view bank : {u"Vb.mdb", u"LocalPaper.mdb"}) {
            dao::JetDatabase::Open(File(bank))
                ->ExecuteScript(
                    uR"(
INSERT INTO Tbl_Information VALUES ('01', 'VB', 'TBL_CHOICE');
INSERT INTO Tbl_Information VALUES ('02', 'VB', 'TBL_CHOICES');
INSERT INTO Tbl_Information VALUES ('03', 'VB', 'TBL_YESNO');
INSERT INTO Tbl_Information VALUES ('04', 'VB', 'TBL_FILL');
INSERT INTO Tbl_Information VALUES ('05', 'VB', 'TBL_OPERATION');
INSERT INTO TBL_CHOICE VALUES ('000101', 'VB', 1, '{\rtf1 请 [%user%] {\b 选择}\par }', '2');
INSERT INTO TBL_CHOICES VALUES ('000201', 'VB', 1, '多选^p题干', '5');
INSERT INTO TBL_YESNO VALUES ('000301', 'VB', 1, '是非题干', '-1');
INSERT INTO TBL_FILL VALUES ('000401', 'VB', 1, '填空题干', 'a#b@c');
INSERT INTO TBL_OPERATION VALUES ('000501', 'VB', 1, '操作题干', '{\rtf1 把 {\i a} 改名\par }', Null, Null);
INSERT INTO Tbl_ChoiceVice VALUES ('000101', 'VB', 1, 'B', '乙 %user%');
INSERT INTO Tbl_ChoiceVice VALUES ('000101', 'VB', 1, 'A', '甲'))");
        }
    }

    review::PaperSource Source(bool is_net) const {
        return {{.client_path = Path(),
                 .data_mdb_path = Path(),
                 .local_paper_mdb = File(u"LocalPaper.mdb"),
                 .is_net = is_net,
                 .user_id = kUser,
                 .subject_code = kSubject},
                1};
    }
};

}  // namespace qmtrain::test
