#include "host/practice/practice.h"

#include <algorithm>
#include <set>
#include <utility>

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "core/trap.h"
#include "dao/transaction.h"
#include "host/data/host_tables.h"
#include "host/data/people.h"
#include "host/data/server_away.h"
#include "host/practice/overview.h"
#include "host/practice/unfinished.h"
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

constexpr std::u16string_view kAgain = u"答案仍然保留，可以再次交卷。";

// Results know a question by its bank and number.
void RequireOnce(const Paper& paper) {
    if (paper.questions.empty()) Fail(u"试卷“" + paper.title + u"”中没有试题，不能开始练习。");
    std::set<std::pair<std::u16string, std::u16string>> seen;
    for (const PaperQuestion& place : paper.questions) {
        if (!seen.emplace(ToUpper(place.data_code), ToUpper(place.rec_no)).second) {
            Fail(u"试卷“" + paper.title + u"”中试题 " + place.rec_no + u" 出现了两次，不能开始练习。");
        }
    }
}

std::u16string UpgradedHost(const DataFolder& folder) {
    UpgradeHostDatabase(folder.path);
    return folder.Host();
}

}  // namespace

std::u16string_view ModeText(Mode mode) {
    switch (mode) {
        case Mode::Exam: return u"考试";
        case Mode::Exercise: return u"练习";
        case Mode::Mistakes: break;
    }
    return u"错题练习";
}

Practice::Practice(const DataFolder& folder, Paper paper, const Start& start, PracticeClock::Source now)
    : folder_(folder),
      paper_(OnlyQuestions(std::move(paper), start.questions)),
      start_(start),
      states_(paper_.questions.size()),
      clock_(0, std::move(now)),
      host_(UpgradedHost(folder)) {
    RequireOnce(paper_);
    if (start_.mode == Mode::Exam && paper_.minutes < 1) {
        Fail(u"试卷“" + paper_.title + u"”没有考试时间，不能考试，只能练习。");
    }
    if (start_.user_id < 0) Fail(u"没有编号为 " + ToText(start_.user_id) + u" 的考生，不能记录练习。");
    RequireCandidate(folder_, start_.user_id);
    LoadQuestions();
    AddUnfinished();
    times_.Start(states_.size(), current_, 0);
}

Practice::Practice(const DataFolder& folder, std::int32_t train_id, PracticeClock::Source now)
    : folder_(folder), train_id_(train_id), clock_(0, std::move(now)), host_(UpgradedHost(folder)) {
    if (IsWaiting(*host_.operator->(), train_id)) Fail(u"这次练习已经交卷，尚未上传。");
    Load();
    const auto state = host_->OpenRecordset(u"Select * From UnfinishedState" + OfTraining(train_id));
    const std::int32_t used = LongOr(state->Fields(u"SecondsUsed").Value(), 0);
    const bool died = ToBoolean(state->Fields(u"Running").Value());
    clock_.Used(used + (died ? kKeepInterval : 0));
    kept_ = used;
    SaveTime(true);
    times_.Load(*host_.operator->(), train_id_, paper_.questions);
    times_.Start(states_.size(), current_, clock_.Used());
}

Practice::Practice(const DataFolder& folder, std::int32_t train_id, ForUpload)
    : folder_(folder), train_id_(train_id), clock_(0, SystemClock()), host_(folder.Host()) {
    Load();
}

// What the host's database has of the practice.
void Practice::Load() {
    const auto rows = host_->OpenRecordset(u"Select * From Unfinished" + OfTraining(train_id_));
    if (!HasRow(*rows)) Fail(u"这次练习已经交卷。");
    auto paper = FindPaper(folder_, ToLong(rows->Fields(u"PaperNo").Value()));
    if (!paper) Fail(u"找不到这次练习的试卷，只能放弃这次练习。");
    start_.user_id = ToLong(rows->Fields(u"UserID").Value());
    start_.edition = ToBoolean(rows->Fields(u"IsNet").Value()) ? Edition::Network : Edition::StandAlone;
    const auto state = host_->OpenRecordset(u"Select * From UnfinishedState" + OfTraining(train_id_));
    if (!HasRow(*state)) Fail(u"这次练习的状态不完整，只能放弃这次练习。");
    start_.mode = static_cast<Mode>(LongOr(state->Fields(u"Mode").Value(), 0));
    start_.questions = ToNumbers(TextOr(state->Fields(u"Questions").Value(), u""));
    paper_ = OnlyQuestions(std::move(*paper), start_.questions);
    RequireOnce(paper_);
    states_.resize(paper_.questions.size());
    current_ = std::min(static_cast<std::size_t>(std::max(0, LongOr(state->Fields(u"CurrentPlace").Value(), 0))),
                        states_.size() - 1);
    LoadAnswers();
    LoadQuestions();
}

void Practice::AddUnfinished() {
    TrainInfo train;
    OpenTrainings(train, folder_);
    const Date start = Now();
    const TrapWatch watch;
    train_id_ = train.AddNewTrain(start, start_.user_id, paper_.theory_no, paper_.operation_no, paper_.subject);
    if (watch.First() && IsServerAway(*watch.First())) throw AutomationError(*watch.First());
    if (train_id_ == -1) Fail(u"无法记录新的练习，请检查数据文件夹是否可以写入、磁盘是否已满。");
    clock_.Used(0);
    host_->Atomically([&] {
        const auto rows = host_->OpenRecordset(u"Select Top 1 * From Unfinished");
        rows->AddNew();
        rows->Fields(u"TrainID").Value(train_id_);
        rows->Fields(u"PaperNo").Value(paper_.number);
        rows->Fields(u"UserID").Value(start_.user_id);
        rows->Fields(u"SubjectCode").Value(paper_.subject);
        rows->Fields(u"IsNet").Value(start_.edition == Edition::Network);
        rows->Fields(u"StartDate").Value(start);
        rows->Update();
        const auto state = host_->OpenRecordset(u"Select Top 1 * From UnfinishedState");
        state->AddNew();
        state->Fields(u"TrainID").Value(train_id_);
        state->Fields(u"SecondsUsed").Value(std::int32_t{0});
        state->Fields(u"Mode").Value(static_cast<std::int32_t>(start_.mode));
        state->Fields(u"CurrentPlace").Value(std::int32_t{0});
        state->Fields(u"Questions").Value(ToNumberList(start_.questions));
        state->Fields(u"Running").Value(true);
        state->Update();
    });
}

// Reports all that is wrong at once.
void Practice::LoadQuestions() {
    std::u16string problems;
    int count = 0;
    for (const PaperQuestion& place : paper_.questions) {
        try {
            questions_.push_back(LoadQuestion(folder_, start_.edition, paper_.subject, place));
        } catch (const AutomationError& error) {
            constexpr int kTold = 5;
            if (++count > kTold) continue;
            problems += u"\n第 " + ToText(place.number) + u" 题：" + error.Description();
        }
    }
    if (count == 0) return;
    Fail(u"试卷“" + paper_.title + u"”有 " + ToText(count) + u" 道题无法使用，不能练习：" + problems);
}

void Practice::LoadAnswers() {
    const auto rows = host_->OpenRecordset(u"Select * From UnfinishedAnswers" + OfTraining(train_id_));
    for (; !rows->Eof(); rows->MoveNext()) {
        const std::int32_t number = ToLong(rows->Fields(u"QuestionNo").Value());
        for (std::size_t i = 0; i < states_.size(); ++i) {
            if (Place(i).number != number) continue;
            states_[i] = {TextOr(rows->Fields(u"Answer").Value(), u""), ToBoolean(rows->Fields(u"Marked").Value()),
                          ToBoolean(rows->Fields(u"Checked").Value())};
        }
    }
}

std::int32_t Practice::SecondsLeft() const {
    return std::max(0, paper_.minutes * 60 - clock_.Used());
}

void Practice::Answer(std::size_t index, std::u16string_view answer) {
    if (states_[index].checked || states_[index].answer == answer) return;
    states_[index].answer = answer;
    Save(index);
}

Answered Practice::HowAnswered(std::size_t index) const {
    return IsAnswered(Content(index).kind, Content(index).blanks, Answer(index));
}

void Practice::SetMarked(std::size_t index, bool marked) {
    if (states_[index].marked == marked) return;
    states_[index].marked = marked;
    Save(index);
}

void Practice::Check(std::size_t index) {
    if (start_.mode == Mode::Exam || states_[index].checked) return;
    states_[index].checked = true;
    try {
        Save(index);
    } catch (...) {
        states_[index].checked = false;  // or it could be seen, and changed the next time
        throw;
    }
}

QuestionOutcome Practice::OutcomeOf(std::size_t index) const {
    const PaperQuestion& place = Place(index);
    const QuestionContent& question = Content(index);
    return {question.kind, place.score,
            MarkAnswer({question.kind, question.answer, place.keywords, place.score}, Answer(index))};
}

void Practice::Current(std::size_t index) {
    if (index == current_) return;
    times_.MoveTo(index, clock_.Used());
    current_ = index;
    host_->Execute(u"Update UnfinishedState Set CurrentPlace=" + ToText(index) + OfTraining(train_id_));
}

void Practice::Save(std::size_t index) {
    const std::int32_t number = Place(index).number;
    const std::int32_t kept = kept_;
    const auto save = [&] {
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
        rows->Fields(u"Checked").Value(states_[index].checked);
        rows->Update();
        SaveTime(true);
    };
    try {
        host_->Atomically(save);
    } catch (...) {
        kept_ = kept;
        throw;
    }
}

// When the practice was continued elsewhere meanwhile, another time is stored: one window at a time writes answers.
void Practice::SaveTime(bool running) {
    const std::int32_t used = clock_.UsedToKeep();
    host_->Execute(u"Update UnfinishedState Set SecondsUsed=" + ToText(used) + u", Running=" +
                   (running ? u"True" : u"False") + OfTraining(train_id_) + u" And SecondsUsed=" + ToText(kept_));
    if (host_->RecordsAffected() == 0) Fail(u"这次练习已经在另一个窗口中打开、交卷或放弃。");
    kept_ = used;
}

void Practice::KeepTime() {
    if (clock_.Used() - kept_ >= kKeepInterval) SaveTime(true);
}

void Practice::Pause() {
    clock_.Stop();
    SaveTime(false);
    times_.MoveTo(current_, clock_.Used());
    times_.Save(*host_.operator->(), train_id_, paper_.questions);
}

Outcome Practice::Marked() const {
    Outcome outcome;
    for (std::size_t i = 0; i < states_.size(); ++i) outcome.questions.push_back(OutcomeOf(i));
    return outcome;
}

Outcome Practice::HandIn() {
    Outcome outcome = Marked();
    outcome.seconds_used = SecondsUsed();
    if (start_.mode == Mode::Exam) outcome.seconds_used = std::min(outcome.seconds_used, paper_.minutes * 60);
    times_.MoveTo(current_, outcome.seconds_used);
    const Date end = Now();
    try {
        outcome.rate_before = RateBefore(folder_, paper_, start_.user_id, train_id_);
        if (IsHandedIn(folder_, train_id_)) Fail(u"这次练习已经在另一个窗口中交卷。");
        SaveTime(true);
        Record(outcome, end);
    } catch (const AutomationError& error) {
        if (!IsServerAway(error)) throw;
        Wait(outcome, end);
        outcome.recorded = false;
    }
    times_.Save(*host_.operator->(), train_id_, paper_.questions);
    Finish(outcome.recorded);
    return outcome;
}

void Practice::Upload(const DataFolder& folder, std::int32_t train_id) {
    if (!IsHandedIn(folder, train_id)) {
        Practice practice(folder, train_id, ForUpload());
        const auto rows = practice.host_->OpenRecordset(u"Select * From Waiting" + OfTraining(train_id));
        if (!HasRow(*rows)) return;
        Outcome outcome = practice.Marked();
        outcome.seconds_used = LongOr(rows->Fields(u"SecondsUsed").Value(), 0);
        practice.Record(outcome, DateOr(rows->Fields(u"EndDate").Value(), Now()));
    }
    SettleHandedIn(folder);
}

// On a server an attempt that was given up may still be about to be committed: nobody sees its results yet, but it has
// the training's row. So that is taken first, and who had it is waited for. What has changed something stays open until
// the commit: a database that is closed before undoes it.
void Practice::Record(const Outcome& outcome, Date end) {
    const TrapWatch watch;
    try {
        dao::Connection client(ClientDatabase(folder_.path));
        TrainInfo train;
        TrainResult result;
        if (client->IsOnServer()) {
            return client->AtomicallyBeside([&] {
                client->Execute(u"Update TrainInfo Set UseTime=UseTime" + OfTraining(train_id_));
                if (IsHandedIn(folder_, train_id_)) return;
                RecordTraining(*client.operator->(), train, outcome, end);
                RecordResults(result, outcome);
            });
        }
        RecordTraining(*client.operator->(), train, outcome, end);
        dao::Transaction transaction;  // not before: each of the two has the file to itself
        RecordResults(result, outcome);
        transaction.Commit();
    } catch (const AutomationError&) {
        if (watch.First() && IsServerAway(*watch.First())) throw AutomationError(*watch.First());
        throw;
    }
}

void Practice::RecordTraining(dao::Database& client, TrainInfo& train, const Outcome& outcome, Date end) {
    OpenTrainings(train, folder_);
    if (!train.Update(train_id_, end, static_cast<float>(outcome.Score())))
        Fail(u"无法记录成绩，" + std::u16string(kAgain));
    // A practice that was left for a while took less time than lies between its start and its end.
    client.Execute(u"Update TrainInfo Set UseTime=" + ToText(outcome.seconds_used) + OfTraining(train_id_));
}

void Practice::RecordResults(TrainResult& result, const Outcome& outcome) {
    result.ClientPath(folder_.path);
    for (std::size_t i = 0; i < states_.size(); ++i) {
        const PaperQuestion& place = Place(i);
        const Mark& mark = outcome.questions[i].mark;
        const bool recorded =
            result.Add(train_id_, place.type, place.data_code, place.rec_no, place.score, 0, Content(i).answer, u"",
                       u"", place.distin, place.difficult, place.number) &&
            result.Update(train_id_, place.data_code, place.rec_no, mark.score, Answer(i), mark.error, mark.error_xml);
        if (!recorded) Fail(u"无法记录第 " + ToText(place.number) + u" 题的成绩，" + std::u16string(kAgain));
    }
}

void Practice::Wait(const Outcome& outcome, Date end) {
    host_->Atomically([&] {
        SaveTime(false);
        const auto rows = host_->OpenRecordset(u"Select * From Waiting" + OfTraining(train_id_));
        if (HasRow(*rows)) return;
        rows->AddNew();
        rows->Fields(u"TrainID").Value(train_id_);
        rows->Fields(u"EndDate").Value(end);
        rows->Fields(u"SecondsUsed").Value(outcome.seconds_used);
        rows->Update();
    });
}

// The practice is handed in whether this comes true or not: the next start makes up for it.
void Practice::Finish(bool recorded) {
    clock_.Stop();
    if (!recorded) return;
    try {
        SettleHandedIn(folder_);
    } catch (const AutomationError&) {
        return;
    }
}

}  // namespace qmtrain::host
