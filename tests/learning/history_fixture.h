// A client database with a generated history, and the same rows in memory.
#pragma once

#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "core/date.h"
#include "learning/practice_history.h"
#include "records/client_fixture.h"

namespace qmtrain::test {

struct TrainingRow {
    std::int32_t id = 0;
    std::int32_t user = 0;
    std::int32_t subject = 0;
    Date start = {};
    std::optional<std::int32_t> use_time = {};
};

struct ResultRow {
    std::int32_t training = 0;
    std::int32_t type = 0;
    std::u16string data_code = {};
    std::u16string rec_no = {};
    float full = 0;
    std::optional<float> got = {};
    std::int32_t difficult = 1;
    std::u16string answer = {};
};

class HistoryTest : public ClientTest {
protected:
    // Scores are halves, so that sums are exact in whatever order they are added. Results lie in the table as they
    // come.
    void Generate(unsigned seed, int trainings, int results) {
        std::mt19937 random(seed);
        const auto pick = [&](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
        for (int i = 0; i < trainings; ++i) {
            TrainingRow row;
            row.id = i + 1;
            row.user = 1 + pick(3);
            row.subject = 1 + pick(2);
            row.start = Date{39000.0 + pick(60) + pick(24) / 24.0};
            if (pick(5) != 0) row.use_time = 60 + pick(3000);
            trainings_.push_back(row);
            if (pick(8) == 0) continue;  // not handed in
            std::set<int> taken;
            for (int j = 0; j < results; ++j) {
                const int number = pick(40);
                if (!taken.insert(number).second) continue;
                ResultRow result;
                result.training = row.id;
                result.type = 1 + number % 4;
                result.data_code = number % 3 == 0 ? u"JC" : u"cx";
                result.rec_no = result.data_code + u"01" + ToText(1000 + number);
                if (pick(4) == 0) result.rec_no = ToLower(result.rec_no);  // the same question all the same
                result.full = static_cast<float>(pick(12) == 0 ? 0 : 1 + number % 3);
                if (pick(15) != 0) result.got = std::min(result.full, static_cast<float>(pick(7)) / 2);
                result.difficult = 1 + number % 3;
                result.answer = ToText(pick(4));
                results_.push_back(result);
            }
        }
        std::shuffle(results_.begin(), results_.end(), random);
        Store();
    }

    void Store() const {
        dao::Engine::Instance().BeginTrans();
        const auto client = Open();
        const auto trainings = client->OpenRecordset(u"Select * From TrainInfo");
        for (const TrainingRow& row : trainings_) {
            trainings->AddNew();
            trainings->Fields(u"UserId").Value(row.user);
            trainings->Fields(u"SubjectCode").Value(row.subject);
            trainings->Fields(u"StartDate").Value(row.start);
            if (row.use_time) trainings->Fields(u"UseTime").Value(*row.use_time);
            trainings->Update();
        }
        const auto results = client->OpenRecordset(u"Select * From TrainResult");
        for (const ResultRow& row : results_) {
            results->AddNew();
            results->Fields(u"TrainID").Value(row.training);
            results->Fields(u"QuestionType").Value(row.type);
            results->Fields(u"DataCode").Value(row.data_code);
            results->Fields(u"QuestionRecNo").Value(row.rec_no);
            results->Fields(u"QuestionScore").Value(row.full);
            if (row.got) results->Fields(u"AnswerScore").Value(*row.got);
            results->Fields(u"Difficult").Value(row.difficult);
            results->Fields(u"StudentAnswer").Value(row.answer);
            results->Update();
        }
        dao::Engine::Instance().CommitTrans();
    }

    const TrainingRow& TrainingOf(const ResultRow& row) const { return trainings_[row.training - 1]; }
    static std::string QuestionOf(const TrainingRow& training, const ResultRow& row) {
        return std::to_string(training.subject) + "|" + ToUtf8(ToUpper(row.data_code)) + "|" +
               ToUtf8(ToUpper(row.rec_no));
    }
    static std::string QuestionOf(const PracticedQuestion& question) {
        return std::to_string(question.subject) + "|" + ToUtf8(ToUpper(question.data_code)) + "|" +
               ToUtf8(ToUpper(question.rec_no));
    }

    std::vector<TrainingRow> trainings_;
    std::vector<ResultRow> results_;
};

}  // namespace qmtrain::test
