#include "host/practice.h"

#include <utility>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "records/train_info.h"
#include "records/train_result.h"

namespace qmtrain::host {
namespace {

[[noreturn]] void Fail(std::u16string reason) {
    RaiseComponentError(u"qmtrain", std::move(reason));
}

void OpenTrainings(TrainInfo& train, const DataFolder& folder) {
    train.ClientPath(folder.path);
    std::u16string problem;
    if (!train.Init(problem)) Fail(problem.empty() ? u"无法打开练习记录数据库。" : problem);
}

std::u16string OfTraining(std::int32_t train_id) {
    return u" Where TrainID=" + ToText(train_id);
}

}  // namespace

Practice::Practice(const DataFolder& folder, Paper paper, std::int32_t user_id, Edition edition)
    : folder_(folder),
      paper_(std::move(paper)),
      user_id_(user_id),
      edition_(edition),
      seconds_left_(paper_.minutes * 60),
      states_(paper_.questions.size()),
      host_(folder.Host()) {
    LoadQuestions();
    TrainInfo train;
    OpenTrainings(train, folder_);
    const Date start = Now();
    train_id_ = train.AddNewTrain(start, user_id_, paper_.theory_no, paper_.operation_no, paper_.subject);
    if (train_id_ == -1) Fail(u"无法记录新的练习，请检查数据文件夹是否可以写入、磁盘是否已满。");
    const auto rows = host_->OpenRecordset(u"Select Top 1 * From Unfinished");
    rows->AddNew();
    rows->Fields(u"TrainID").Value(train_id_);
    rows->Fields(u"PaperNo").Value(paper_.number);
    rows->Fields(u"UserID").Value(user_id_);
    rows->Fields(u"SubjectCode").Value(paper_.subject);
    rows->Fields(u"IsNet").Value(edition_ == Edition::Network);
    rows->Fields(u"StartDate").Value(start);
    rows->Fields(u"SecondsLeft").Value(seconds_left_);
    rows->Update();
    AddResults();
}

Practice::Practice(const DataFolder& folder, std::int32_t train_id)
    : folder_(folder), train_id_(train_id), host_(folder.Host()) {
    const auto rows = host_->OpenRecordset(u"Select * From Unfinished" + OfTraining(train_id));
    if (!HasRow(*rows)) Fail(u"这次练习已经交卷。");
    auto paper = FindPaper(folder, ToLong(rows->Fields(u"PaperNo").Value()));
    if (!paper) Fail(u"找不到这次练习的试卷。");
    paper_ = std::move(*paper);
    user_id_ = ToLong(rows->Fields(u"UserID").Value());
    edition_ = ToBoolean(rows->Fields(u"IsNet").Value()) ? Edition::Network : Edition::StandAlone;
    seconds_left_ = LongOr(rows->Fields(u"SecondsLeft").Value(), 0);
    states_.resize(paper_.questions.size());
    LoadAnswers();
    LoadQuestions();
    AddResults();
}

std::optional<std::int32_t> Practice::Unfinished(const DataFolder& folder, std::int32_t user_id) {
    const dao::Connection host(folder.Host());
    const auto rows = host->OpenRecordset(u"Select Top 1 TrainID From Unfinished Where UserID=" + ToText(user_id) +
                                          u" Order By TrainID Desc");
    if (!HasRow(*rows)) return std::nullopt;
    return ToLong(rows->Fields(u"TrainID").Value());
}

void Practice::LoadQuestions() {
    for (const PaperQuestion& place : paper_.questions) {
        questions_.push_back(LoadQuestion(folder_, edition_, paper_.subject, place));
    }
}

// A practice that was broken off while it started has only some of its results.
void Practice::AddResults() {
    TrainResult result;
    result.ClientPath(folder_.path);
    for (std::size_t i = 0; i < states_.size(); ++i) {
        const PaperQuestion& place = Place(i);
        if (result.LoadTrainResultItem(train_id_, place.data_code, place.rec_no)) continue;
        if (!result.Add(train_id_, place.type, place.data_code, place.rec_no, place.score, 0, Content(i).answer, u"",
                        u"", place.distin, place.difficult, place.number)) {
            Fail(u"无法记录第 " + ToText(place.number) + u" 题。");
        }
    }
}

void Practice::LoadAnswers() {
    const auto rows = host_->OpenRecordset(u"Select * From UnfinishedAnswers" + OfTraining(train_id_));
    for (; !rows->Eof(); rows->MoveNext()) {
        const std::int32_t number = ToLong(rows->Fields(u"QuestionNo").Value());
        for (std::size_t i = 0; i < states_.size(); ++i) {
            if (Place(i).number != number) continue;
            states_[i] = {TextOr(rows->Fields(u"Answer").Value(), u""), ToBoolean(rows->Fields(u"Marked").Value())};
        }
    }
}

void Practice::Answer(std::size_t index, std::u16string_view answer) {
    if (states_[index].answer == answer) return;
    states_[index].answer = answer;
    Save(index);
}

void Practice::SetMarked(std::size_t index, bool marked) {
    if (states_[index].marked == marked) return;
    states_[index].marked = marked;
    Save(index);
}

void Practice::Save(std::size_t index) {
    const std::int32_t number = Place(index).number;
    host_->Atomically([&] {
        const auto rows = host_->OpenRecordset(u"Select * From UnfinishedAnswers" + OfTraining(train_id_) +
                                               u" And QuestionNo=" + ToText(number));
        if (HasRow(*rows)) {
            rows->Edit();
        } else {
            rows->AddNew();
            rows->Fields(u"TrainID").Value(train_id_);
            rows->Fields(u"QuestionNo").Value(number);
        }
        rows->Fields(u"Answer").Value(states_[index].answer);
        rows->Fields(u"Marked").Value(states_[index].marked);
        rows->Update();
        Pause();
    });
}

void Practice::Pause() {
    host_->Execute(u"Update Unfinished Set SecondsLeft=" + ToText(seconds_left_) + OfTraining(train_id_));
}

std::vector<std::int32_t> Practice::Unanswered() const {
    std::vector<std::int32_t> numbers;
    for (std::size_t i = 0; i < states_.size(); ++i) {
        if (!IsAnswered(Content(i).kind, states_[i].answer)) numbers.push_back(Place(i).number);
    }
    return numbers;
}

PracticeResult Practice::HandIn() {
    TrainInfo train;
    OpenTrainings(train, folder_);
    TrainResult result;
    result.ClientPath(folder_.path);
    PracticeResult total{0, paper_.FullScore()};
    for (std::size_t i = 0; i < states_.size(); ++i) {
        const PaperQuestion& place = Place(i);
        const Question& question = Content(i);
        const Mark mark = MarkAnswer({question.kind, question.answer, place.keywords, place.score}, Answer(i));
        if (!result.Update(train_id_, place.data_code, place.rec_no, mark.score, Answer(i), mark.error,
                           mark.error_xml)) {
            Fail(u"无法记录第 " + ToText(place.number) + u" 题的成绩，答案仍然保留，可以再次交卷。");
        }
        total.score += mark.score;
    }
    if (!train.Update(train_id_, Now(), total.score)) Fail(u"无法记录成绩，答案仍然保留，可以再次交卷。");
    Forget();
    return total;
}

void Practice::Forget() {
    host_->Atomically([&] {
        host_->Execute(u"Delete From UnfinishedAnswers" + OfTraining(train_id_));
        host_->Execute(u"Delete From Unfinished" + OfTraining(train_id_));
    });
}

}  // namespace qmtrain::host
