#include "records/train_info.h"

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/format.h"
#include "core/log.h"
#include "core/text.h"
#include "core/trap.h"
#include "records/summary_query.h"

namespace qmtrain {
namespace {

// Between "#": four digits of the year come first, so that nothing can be mistaken for anything else.
std::u16string DateLiteral(Date date) {
    return u"#" + Format(date, u"yyyy-mm-dd hh:nn:ss") + u"#";
}

std::u16string Selecting(std::int32_t train_id) {
    return u"Select * From TrainInfo Where TrainId=" + ToText(train_id);
}

std::function<void()>& HistoryWindow() {
    static std::function<void()> show;
    return show;
}

}  // namespace

void TrainInfo::ClientPath(std::u16string_view value) {
    RequireClientDatabase(value);
    client_path_ = value;
}

bool TrainInfo::Init(std::u16string& strErrMsg) {
    return Trapped(u"TrainInfo.Init", false,
                   [&](bool& result) { result = OpenClientDatabase(client_path_, database_, strErrMsg); });
}

std::int32_t TrainInfo::AddNewTrain(Date dStartDate, const std::int32_t& nUserId, std::int32_t nTheoryNo,
                                    std::int32_t nOperationNo, std::int32_t nSubjectCode) {
    const auto add = [&](std::int32_t& result) {
        database_->Execute(u"Insert Into TrainInfo (UserId,SubjectCode,StartDate,TheoryNo,OperationNo) Values(" +
                           ToText(nUserId) + u"," + ToText(nSubjectCode) + u"," + DateLiteral(dStartDate) + u"," +
                           ToText(nTheoryNo) + u"," + ToText(nOperationNo) + u")");
        if (database_->RecordsAffected() < 1) return;
        const auto rows = database_->OpenRecordset(u"Select Top 1 * From TrainInfo Order by TrainID Desc");
        if (HasRow(*rows)) result = ToLong(rows->Fields(u"TrainId").Value());
    };
    // The highest number is the new training's own only as long as no other program can add one, or none is seen that
    // was added meanwhile.
    return Trapped(u"AddNewTrain", std::int32_t{-1}, [&](std::int32_t& result) {
        std::int32_t added = -1;
        database_->AtomicallyBeside([&] { add(added); });
        result = added;
    });
}

bool TrainInfo::Update(std::int32_t nTrainId, Date dEndDate, float sngScore) {
    return Trapped(u"TrainInfo.Update", false, [&](bool& result) {
        const auto rows = database_->OpenRecordset(Selecting(nTrainId));
        if (!HasRow(*rows)) return;
        rows->Edit();
        const Date start = DateOr(rows->Fields(u"StartDate").Value(), {});
        rows->Fields(u"EndDate").Value(dEndDate);
        rows->Fields(u"Score").Value(sngScore);
        if (dEndDate > start) {
            rows->Fields(u"UseTime").Value(ToLong(static_cast<double>(SecondsBetween(start, dEndDate))));
        }
        rows->Update();
        result = true;
    });
}

void TrainInfo::LoadFromID(std::int32_t nTrainId) {
    Trapped(u"TrainInfo.LoadFromID", [&] {
        const auto rows = database_->OpenRecordset(Selecting(nTrainId));
        if (!HasRow(*rows)) return;
        train_id_ = nTrainId;
        subject_code_ = LongOr(rows->Fields(u"SubjectCode").Value(), -1);
        start_date_ = DateOr(rows->Fields(u"StartDate").Value(), Date{-1});
        end_date_ = DateOr(rows->Fields(u"EndDate").Value(), Date{-1});
        use_time_ = LongOr(rows->Fields(u"UseTime").Value(), -1);
        theory_no_ = LongOr(rows->Fields(u"TheoryNO").Value(), -1);
        operation_no_ = LongOr(rows->Fields(u"OperationNo").Value(), -1);
        answer_score_ = SingleOr(rows->Fields(u"AnswerScore").Value(), -1);
        const std::int32_t user_id = LongOr(rows->Fields(u"UserID").Value(), -1);

        const auto user = std::make_shared<NCREUser>();
        user->ClientPath(client_path_);
        user->Init(user_id);
        user_ = user;

        const auto subject = std::make_shared<SubjectInfo>();
        subject->ClientPath(client_path_);
        subject->Init(subject_code_);
        subject_ = subject;
    });
}

std::shared_ptr<dao::Recordset> TrainInfo::GetRecordset(std::u16string_view strSql) const {
    return Trapped(u"GetRecordset", std::shared_ptr<dao::Recordset>(), [&](auto& result) {
        result = database_->OpenRecordset(strSql.empty() ? SummaryQuery() : std::u16string(strSql));
    });
}

std::int32_t TrainInfo::GetTrainTimes() const {
    return Trapped(u"GetTrainTimes", std::int32_t{0}, [&](std::int32_t& result) {
        const std::u16string user = user_id_ == -1 ? u"" : u" UserId=" + ToText(user_id_);
        const std::u16string subject = subject_code_ == -1 ? u"" : u" SubjectCode=" + ToText(subject_code_);
        const std::u16string both = user.empty() || subject.empty() ? u"" : u" And ";
        const std::u16string condition = user + both + subject;
        const auto rows = database_->OpenRecordset(u"Select Count(*) As RowsCount From TrainInfo " +
                                                   (condition.empty() ? condition : u" Where " + condition));
        if (HasRow(*rows)) result = ToLong(rows->Fields(u"RowsCount").Value());
    });
}

float TrainInfo::GetTrainScore(std::int32_t train_id) const {
    return Trapped(u"GetTrainScore", 0.0F, [&](float& result) {
        const auto rows = database_->OpenRecordset(
            u"Select Sum(QuestionScore) As TrainScore From TrainResult Where TrainID=" + ToText(train_id));
        // The sum over no results is Null, which is no number: this ends in the trap.
        if (HasRow(*rows)) result = ToSingle(rows->Fields(u"TrainScore").Value());
    });
}

void TrainInfo::ShowDlg() const {
    Trapped(u"TrainInfo.ShowDlg", [] {
        if (HistoryWindow()) return HistoryWindow()();
        WriteLog(kLogError, u"没有可以显示的训练历史窗口。", u"TrainInfo.ShowDlg");
    });
}

void TrainInfo::SetHistoryWindow(std::function<void()> show) {
    HistoryWindow() = std::move(show);
}

}  // namespace qmtrain
