#include "learning/practice_history.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_map>

#include "core/convert.h"
#include "core/text.h"
#include "records/score.h"

namespace qmtrain {
namespace {

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kIdsOfStatement = 200;

// A few trainings are looked up by the index; most of them are found faster by reading all results in their order.
constexpr std::size_t kShareWorthAScan = 4;

std::vector<PracticeTraining> SelectTrainings(dao::Database& client, const std::u16string& condition) {
    const auto rows =
        client.OpenRecordset(u"Select TrainID,UserId,SubjectCode,StartDate,UseTime From TrainInfo" + condition);
    const dao::Field& id = rows->Fields(0);
    const dao::Field& user = rows->Fields(1);
    const dao::Field& subject = rows->Fields(2);
    const dao::Field& start = rows->Fields(3);
    const dao::Field& use_time = rows->Fields(4);
    std::vector<PracticeTraining> trainings;
    for (; !rows->Eof(); rows->MoveNext()) {
        PracticeTraining one;
        one.id = ToLong(id.Value());
        one.user = LongOr(user.Value(), -1);
        one.subject = LongOr(subject.Value(), -1);
        one.start = DateOr(start.Value(), {});
        one.use_time = LongOr(use_time.Value(), -1);
        trainings.push_back(one);
    }
    return trainings;
}

std::u16string ConditionOf(const HistoryFilter& filter) {
    std::u16string condition;
    const auto add = [&](const std::u16string& one) { condition += (condition.empty() ? u" Where " : u" And ") + one; };
    if (filter.user != -1) add(u"UserId=" + ToText(filter.user));
    if (filter.subject != -1) add(u"SubjectCode=" + ToText(filter.subject));
    return condition;
}

// Texts compare without regard to letter case, as the database compares them.
void AppendFolded(const std::u16string& text, std::u16string& out) {
    for (const char16_t unit : text) out += unit < 0x80 && (unit < u'a' || unit > u'z') ? unit : ToUpper(unit);
}

class Collector {
public:
    explicit Collector(std::vector<PracticeTraining> trainings) {
        history_.trainings = std::move(trainings);
        std::stable_sort(history_.trainings.begin(), history_.trainings.end(),
                         [](const PracticeTraining& a, const PracticeTraining& b) {
                             return a.start != b.start ? a.start < b.start : a.id < b.id;
                         });
        places_.reserve(history_.trainings.size());
        for (std::size_t i = 0; i < history_.trainings.size(); ++i) places_.emplace(history_.trainings[i].id, i);
    }

    void Read(dao::Database& client, const std::u16string& condition) {
        const auto rows = client.OpenRecordset(
            u"Select TrainID,QuestionType,DataCode,QuestionRecNo,QuestionScore,AnswerScore,Distin,Difficult"
            u" From TrainResult" +
            condition);
        const dao::Field& train_id = rows->Fields(0);
        const dao::Field& type = rows->Fields(1);
        const dao::Field& data_code = rows->Fields(2);
        const dao::Field& rec_no = rows->Fields(3);
        const dao::Field& full = rows->Fields(4);
        const dao::Field& got = rows->Fields(5);
        const dao::Field& distin = rows->Fields(6);
        const dao::Field& difficult = rows->Fields(7);
        for (; !rows->Eof(); rows->MoveNext()) {
            const std::size_t place = PlaceOf(LongOr(train_id.Value(), -1));
            if (place == kNone) continue;
            const PracticeTraining& training = history_.trainings[place];
            PracticeResult result;
            result.question = QuestionOf(training.subject, data_code.Value(), rec_no.Value());
            result.full = SingleOr(full.Value(), 0);
            result.got = SingleOr(got.Value(), 0);
            PracticedQuestion& question = history_.questions[result.question];
            question.type = LongOr(type.Value(), 0);
            question.distin = LongOr(distin.Value(), 0);
            question.difficult = LongOr(difficult.Value(), 0);
            places_of_results_.push_back(place);
            history_.results.push_back(result);
        }
    }

    // Results may lie in the table in any order.
    PracticeHistory Finish() {
        std::vector<PracticeTraining>& trainings = history_.trainings;
        for (const std::size_t place : places_of_results_) ++trainings[place].count;
        std::size_t next = 0;
        for (PracticeTraining& training : trainings) {
            training.first = next;
            next += training.count;
        }
        std::vector<PracticeResult> sorted(history_.results.size());
        std::vector<std::size_t> filled(trainings.size());
        for (std::size_t i = 0; i < places_of_results_.size(); ++i) {
            PracticeTraining& training = trainings[places_of_results_[i]];
            const PracticeResult& result = history_.results[i];
            sorted[training.first + filled[places_of_results_[i]]++] = result;
            training.full += static_cast<double>(result.full);
            training.got += static_cast<double>(result.got);
        }
        history_.results = std::move(sorted);
        std::erase_if(trainings, [](const PracticeTraining& one) { return one.count == 0; });
        return std::move(history_);
    }

private:
    std::size_t PlaceOf(std::int32_t train_id) {
        if (train_id == last_id_) return last_place_;
        last_id_ = train_id;
        const auto found = places_.find(train_id);
        last_place_ = found == places_.end() ? kNone : found->second;
        return last_place_;
    }

    std::uint32_t QuestionOf(std::int32_t subject, const Value& data_code, const Value& rec_no) {
        key_.clear();
        key_ += static_cast<char16_t>(subject & 0xFFFF);
        key_ += static_cast<char16_t>((subject >> 16) & 0xFFFF);
        if (data_code.IsText()) AppendFolded(data_code.Text(), key_);
        key_ += u'\0';
        if (rec_no.IsText()) AppendFolded(rec_no.Text(), key_);
        const auto found = questions_.find(key_);
        if (found != questions_.end()) return found->second;
        const auto place = static_cast<std::uint32_t>(history_.questions.size());
        questions_.emplace(key_, place);
        history_.questions.push_back({subject, TextOr(data_code, u""), TextOr(rec_no, u"")});
        return place;
    }

    PracticeHistory history_;
    std::unordered_map<std::int32_t, std::size_t> places_;
    std::unordered_map<std::u16string, std::uint32_t> questions_;
    std::vector<std::size_t> places_of_results_;
    std::u16string key_;
    std::int32_t last_id_ = -1;
    std::size_t last_place_ = kNone;
};

PracticeHistory ReadEach(dao::Database& client, std::vector<PracticeTraining> trainings) {
    std::vector<std::u16string> conditions;
    for (std::size_t i = 0; i < trainings.size(); ++i) {
        if (i % kIdsOfStatement == 0) conditions.emplace_back(u" Where TrainID In (");
        conditions.back() += (i % kIdsOfStatement == 0 ? u"" : u",") + ToText(trainings[i].id);
    }
    Collector collector(std::move(trainings));
    for (const std::u16string& condition : conditions) collector.Read(client, condition + u")");
    return collector.Finish();
}

}  // namespace

double PracticeTraining::Rate() const {
    return qmtrain::Rate(full, got);
}

bool PracticeTraining::Passed() const {
    return qmtrain::Passed(full, got);
}

Date PracticeTraining::End() const {
    return {start.days + std::max(0, use_time) / 86400.0};
}

bool IsWithin(const HistoryFilter& filter, Date start) {
    if (filter.from.days != 0 && start < filter.from) return false;
    return filter.to.days == 0 || start.days < std::floor(filter.to.days) + 1;
}

PracticeHistory ReadPracticeHistory(dao::Database& client, const HistoryFilter& filter) {
    std::vector<PracticeTraining> trainings = SelectTrainings(client, ConditionOf(filter));
    std::erase_if(trainings, [&](const PracticeTraining& one) {
        return !IsWithin(filter, one.start) || (!filter.users.empty() && !filter.users.contains(one.user));
    });
    const auto counted = client.OpenRecordset(u"Select Count(*) As N From TrainInfo");
    const std::size_t all = LongOr(counted->Fields(u"N").Value(), 0);
    if (trainings.size() * kShareWorthAScan < all) return ReadEach(client, std::move(trainings));
    Collector collector(std::move(trainings));
    collector.Read(client, u"");
    return collector.Finish();
}

PracticeHistory ReadTrainings(dao::Database& client, const std::vector<std::int32_t>& train_ids) {
    std::vector<PracticeTraining> trainings;
    for (std::size_t i = 0; i < train_ids.size(); i += kIdsOfStatement) {
        std::u16string list;
        for (std::size_t j = i; j < std::min(train_ids.size(), i + kIdsOfStatement); ++j) {
            list += (list.empty() ? u"" : u",") + ToText(train_ids[j]);
        }
        const std::vector<PracticeTraining> some = SelectTrainings(client, u" Where TrainID In (" + list + u")");
        trainings.insert(trainings.end(), some.begin(), some.end());
    }
    return ReadEach(client, std::move(trainings));
}

}  // namespace qmtrain
