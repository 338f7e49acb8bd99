#include "host/learning/review_schedule.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <tuple>

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "dao/dao.h"
#include "host/data/learning_tables.h"
#include "host/data/settings.h"
#include "host/practice/question_times.h"
#include "learning/practice_history.h"

namespace qmtrain::host {
namespace {

constexpr double kSlow = 2;             // times the median
constexpr std::size_t kLeastTimed = 4;  // questions, below which nothing is slow

using Key = std::tuple<std::int32_t, std::u16string, std::u16string>;

template <class Question>
Key KeyOf(const Question& question) {
    return {question.subject, ToUpper(question.data_code), ToUpper(question.rec_no)};
}

std::u16string OfUser(std::int32_t user) {
    return u" Where UserID=" + qmtrain::ToText(user);
}

using Cards = std::map<Key, ScheduledQuestion>;

std::vector<ScheduledQuestion> ReadCards(dao::Database& host, const std::u16string& condition) {
    const auto rows = host.OpenRecordset(
        u"Select SubjectCode,DataCode,RecNo,QuestionType,Distin,Difficult,Score,Stage,StepNo,Stability,Difficulty,"
        u"LastReview,DueDate From ReviewCards" +
        condition);
    std::vector<ScheduledQuestion> all;
    for (; !rows->Eof(); rows->MoveNext()) {
        ScheduledQuestion one;
        one.subject = LongOr(rows->Fields(0).Value(), -1);
        one.data_code = TextOr(rows->Fields(1).Value(), u"");
        one.rec_no = TextOr(rows->Fields(2).Value(), u"");
        one.type = LongOr(rows->Fields(3).Value(), 0);
        one.distin = LongOr(rows->Fields(4).Value(), 0);
        one.difficult = LongOr(rows->Fields(5).Value(), 0);
        one.score = SingleOr(rows->Fields(6).Value(), 0);
        one.card.stage = static_cast<fsrs::Stage>(std::clamp(LongOr(rows->Fields(7).Value(), 1), 1, 3));
        one.card.step = std::clamp(LongOr(rows->Fields(8).Value(), 0), 0, 1);
        one.card.stability = std::max(0.0, ToDouble(rows->Fields(9).Value()));
        one.card.difficulty = std::clamp(ToDouble(rows->Fields(10).Value()), 1.0, 10.0);
        one.card.last = DateOr(rows->Fields(11).Value(), {});
        one.card.due = DateOr(rows->Fields(12).Value(), {});
        all.push_back(std::move(one));
    }
    return all;
}

// Which of a training's questions took long.
std::set<Key> SlowQuestions(dao::Database& host, const PracticeHistory& history, const PracticeTraining& training) {
    const SecondsOfTraining seconds = ReadSeconds(host, training.id);
    std::set<Key> slow;
    if (seconds.empty()) return slow;
    const auto time_of = [&](const PracticedQuestion& question) -> std::optional<std::int32_t> {
        const auto found = seconds.find({ToUpper(question.data_code), ToUpper(question.rec_no)});
        return found == seconds.end() ? std::nullopt : std::optional(found->second);
    };
    std::map<std::int32_t, std::vector<std::int32_t>> by_type;
    for (const PracticeResult& result : history.ResultsOf(training)) {
        const PracticedQuestion& question = history.questions[result.question];
        if (const auto time = time_of(question)) by_type[question.type].push_back(*time);
    }
    for (auto& [type, times] : by_type) std::sort(times.begin(), times.end());
    for (const PracticeResult& result : history.ResultsOf(training)) {
        const PracticedQuestion& question = history.questions[result.question];
        const auto time = time_of(question);
        const std::vector<std::int32_t>& others = by_type[question.type];
        if (!time || others.size() < kLeastTimed) continue;
        if (*time > kSlow * others[others.size() / 2]) slow.insert(KeyOf(question));
    }
    return slow;
}

// Returns what has changed.
std::set<Key> Apply(dao::Database& host, const PracticeHistory& history, Cards& cards) {
    const fsrs::Scheduler scheduler;
    std::set<Key> changed;
    std::vector<ScheduledQuestion*> places(history.questions.size());
    for (const PracticeTraining& training : history.trainings) {
        const std::set<Key> slow = SlowQuestions(host, history, training);
        for (const PracticeResult& result : history.ResultsOf(training)) {
            if (!result.Counts()) continue;
            const PracticedQuestion& question = history.questions[result.question];
            ScheduledQuestion*& place = places[result.question];
            if (place == nullptr) {
                const Key key = KeyOf(question);
                place = &cards[key];
                place->subject = question.subject;
                place->data_code = question.data_code;
                place->rec_no = question.rec_no;
                place->type = question.type;
                place->distin = question.distin;
                place->difficult = question.difficult;
                changed.insert(key);
            }
            place->score = result.full;
            fsrs::Grade grade = fsrs::Grade::Again;
            if (result.IsRight()) {
                grade = !slow.empty() && slow.contains(KeyOf(question)) ? fsrs::Grade::Hard : fsrs::Grade::Good;
            }
            place->card = scheduler.Review(place->card, grade, training.End());
        }
    }
    return changed;
}

void WriteFields(dao::Recordset& rows, const ScheduledQuestion& one) {
    rows.Fields(u"QuestionType").Value(one.type);
    rows.Fields(u"Distin").Value(one.distin);
    rows.Fields(u"Difficult").Value(one.difficult);
    rows.Fields(u"Score").Value(one.score);
    rows.Fields(u"Stage").Value(static_cast<std::int32_t>(one.card.stage));
    rows.Fields(u"StepNo").Value(static_cast<std::int32_t>(one.card.step));
    rows.Fields(u"Stability").Value(one.card.stability);
    rows.Fields(u"Difficulty").Value(one.card.difficulty);
    rows.Fields(u"LastReview").Value(one.card.last);
    rows.Fields(u"DueDate").Value(one.card.due);
}

void WriteCards(dao::Database& host, std::int32_t user, const Cards& cards, std::set<Key> changed) {
    const auto rows = host.OpenRecordset(u"Select * From ReviewCards" + OfUser(user));
    for (; !rows->Eof(); rows->MoveNext()) {
        const Key key{LongOr(rows->Fields(u"SubjectCode").Value(), -1),
                      ToUpper(TextOr(rows->Fields(u"DataCode").Value(), u"")),
                      ToUpper(TextOr(rows->Fields(u"RecNo").Value(), u""))};
        if (changed.erase(key) == 0) continue;
        rows->Edit();
        WriteFields(*rows, cards.at(key));
        rows->Update();
    }
    for (const Key& key : changed) {
        const ScheduledQuestion& one = cards.at(key);
        rows->AddNew();
        rows->Fields(u"UserID").Value(user);
        rows->Fields(u"SubjectCode").Value(one.subject);
        rows->Fields(u"DataCode").Value(one.data_code);
        rows->Fields(u"RecNo").Value(one.rec_no);
        WriteFields(*rows, one);
        rows->Update();
    }
}

void WriteTaken(dao::Database& host, std::int32_t user, const PracticeHistory& history) {
    const auto rows = host.OpenRecordset(u"Select * From ReviewTaken Where TrainID=0");
    for (const PracticeTraining& training : history.trainings) {
        rows->AddNew();
        rows->Fields(u"TrainID").Value(training.id);
        rows->Fields(u"UserID").Value(user);
        rows->Fields(u"StartDate").Value(training.start);
        rows->Update();
    }
}

// Trainings that have not been taken in; those that have not been handed in among them.
std::vector<std::int32_t> NotTaken(dao::Database& client, std::int32_t user, const std::set<std::int32_t>& taken) {
    std::vector<std::int32_t> fresh;
    const auto rows = client.OpenRecordset(u"Select TrainID From TrainInfo Where UserId=" + qmtrain::ToText(user));
    for (; !rows->Eof(); rows->MoveNext()) {
        const std::int32_t id = ToLong(rows->Fields(0).Value());
        if (!taken.contains(id)) fresh.push_back(id);
    }
    return fresh;
}

std::u16string ExamSetting(std::int32_t user, std::int32_t subject) {
    return u"ExamDate " + qmtrain::ToText(user) + u" " + qmtrain::ToText(subject);
}

}  // namespace

void UpdateSchedule(const DataFolder& folder, std::int32_t user) {
    const dao::Connection client(ClientDatabase(folder.path));
    const dao::Connection connection(folder.Host());
    dao::Database& host = *connection.operator->();
    EnsureLearningTables(host);
    host.Atomically([&] {
        std::set<std::int32_t> taken;
        Date latest;
        const auto rows = host.OpenRecordset(u"Select TrainID,StartDate From ReviewTaken" + OfUser(user));
        for (; !rows->Eof(); rows->MoveNext()) {
            taken.insert(ToLong(rows->Fields(0).Value()));
            latest = std::max(latest, DateOr(rows->Fields(1).Value(), {}));
        }
        PracticeHistory history;
        if (!taken.empty()) {
            history = ReadTrainings(*client.operator->(), NotTaken(*client.operator->(), user, taken));
            if (history.trainings.empty()) return;
        }
        Cards cards;
        const bool anew = taken.empty() || history.trainings.front().start < latest;
        if (anew) {
            host.Execute(u"Delete From ReviewCards" + OfUser(user));
            host.Execute(u"Delete From ReviewTaken" + OfUser(user));
            history = ReadPracticeHistory(*client.operator->(), {.user = user});
        } else {
            for (ScheduledQuestion& one : ReadCards(host, OfUser(user))) {
                Key key = KeyOf(one);
                cards.emplace(std::move(key), std::move(one));
            }
        }
        const std::set<Key> changed = Apply(host, history, cards);
        WriteCards(host, user, cards, changed);
        WriteTaken(host, user, history);
    });
}

std::vector<ScheduledQuestion> ReadSchedule(const DataFolder& folder, std::int32_t user, std::int32_t subject) {
    const dao::Connection connection(folder.Host());
    dao::Database& host = *connection.operator->();
    if (!HasLearningTables(host)) return {};
    return ReadCards(host, OfUser(user) + (subject == -1 ? u"" : u" And SubjectCode=" + qmtrain::ToText(subject)));
}

int CountDue(const DataFolder& folder, std::int32_t user, std::int32_t subject, Date now) {
    const auto exam = ExamDate(folder, user, subject);
    if (exam && now.days >= exam->days + 1) return 0;
    const dao::Connection connection(folder.Host());
    dao::Database& host = *connection.operator->();
    if (!HasLearningTables(host)) return 0;
    const auto rows =
        host.OpenRecordset(u"Select Count(*) As N From ReviewCards" + OfUser(user) +
                           (subject == -1 ? u"" : u" And SubjectCode=" + qmtrain::ToText(subject)) + u" And DueDate<#" +
                           Format(Date{std::floor(now.days) + 1}, u"yyyy-mm-dd") + u"#");
    return LongOr(rows->Fields(u"N").Value(), 0);
}

std::optional<Date> ExamDate(const DataFolder& folder, std::int32_t user, std::int32_t subject) {
    return ParseDate(Settings(folder).Text(ExamSetting(user, subject)));
}

void SetExamDate(const DataFolder& folder, std::int32_t user, std::int32_t subject, std::optional<Date> day) {
    Settings(folder).Set(ExamSetting(user, subject), day ? Format(*day, u"yyyy-mm-dd") : std::u16string());
}

ScheduleOverview Survey(std::vector<ScheduledQuestion> all, Date now, std::optional<Date> exam) {
    const fsrs::Scheduler scheduler;
    ScheduleOverview overview;
    overview.all = static_cast<int>(all.size());
    const double today = std::floor(now.days);
    if (exam) overview.days_to_exam = static_cast<int>(std::floor(exam->days) - today);
    double known = 0;
    double at_exam = 0;
    for (const ScheduledQuestion& one : all) {
        known += scheduler.Retrievability(one.card, now);
        if (exam && !overview.IsOver()) at_exam += scheduler.Retrievability(one.card, {std::floor(exam->days) + 0.5});
    }
    if (!all.empty()) {
        overview.known_now = known / static_cast<double>(all.size());
        if (exam && !overview.IsOver()) overview.known_at_exam = at_exam / static_cast<double>(all.size());
    }
    if (overview.IsOver()) return overview;
    for (ScheduledQuestion& one : all) {
        const double days = std::floor(one.card.due.days) - today;
        if (days < 0) ++overview.overdue;
        if (days >= 1 && days <= 7) ++overview.ahead[static_cast<std::size_t>(days) - 1];
        if (days <= 0) overview.due.push_back(std::move(one));
    }
    std::stable_sort(overview.due.begin(), overview.due.end(),
                     [&](const ScheduledQuestion& a, const ScheduledQuestion& b) {
                         return scheduler.Retrievability(a.card, now) < scheduler.Retrievability(b.card, now);
                     });
    return overview;
}

}  // namespace qmtrain::host
