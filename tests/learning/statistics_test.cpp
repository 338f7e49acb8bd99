// Figures against a plain calculation over the same rows, row by row.

#include <algorithm>
#include <cmath>
#include <numeric>

#include "history_fixture.h"
#include "learning/train_statistics.h"

namespace qmtrain {
namespace {

class StatisticsTest : public test::HistoryTest {
protected:
    TrainStatistics& Loaded(std::int32_t user = -1, std::int32_t subject = -1, Date from = {}, Date to = {}) {
        std::u16string problem;
        statistics_.ClientPath(Path());
        EXPECT_TRUE(statistics_.Init(problem)) << ToUtf8(problem);
        statistics_.UserId(user);
        statistics_.SubjectCode(subject);
        statistics_.StartDate(from);
        statistics_.EndDate(to);
        EXPECT_TRUE(statistics_.Load());
        return statistics_;
    }

    TrainStatistics statistics_;
};

TEST_F(StatisticsTest, GroupsAndPapersOfGeneratedHistories) {
    Generate(7, 80, 25);
    const Date from{39010};
    const Date to{39040};
    struct Case {
        std::int32_t user, subject;
        Date from, to;
    };
    for (const Case& wanted :
         {Case{-1, -1, {}, {}}, {1, -1, {}, {}}, {2, 2, {}, {}}, {-1, 1, from, to}, {9, 9, {}, {}}}) {
        SCOPED_TRACE(wanted.user);
        std::map<std::string, std::pair<int, double>> banks;  // times, and points of what was to be had
        std::map<std::string, double> full_of_bank;
        std::map<std::int32_t, std::pair<double, double>> papers;
        std::map<int, int> hours;
        int times = 0;
        for (const test::ResultRow& row : results_) {
            const test::TrainingRow& training = TrainingOf(row);
            if (wanted.user != -1 && training.user != wanted.user) continue;
            if (wanted.subject != -1 && training.subject != wanted.subject) continue;
            if (wanted.from.days != 0 && (training.start < from || training.start.days >= to.days + 1)) continue;
            papers[row.training].first += static_cast<double>(row.got.value_or(0));
            papers[row.training].second += static_cast<double>(row.full);
            ++hours[ToCivil(training.start).hour];
            if (row.full <= 0) continue;
            ++times;
            auto& bank = banks[ToUtf8(row.data_code)];
            ++bank.first;
            bank.second += static_cast<double>(row.got.value_or(0));
            full_of_bank[ToUtf8(row.data_code)] += static_cast<double>(row.full);
        }
        double sum = 0;
        double best = 0;
        int passed = 0;
        for (const auto& [id, scores] : papers) {
            const double rate = scores.second > 0 ? scores.first / scores.second * 100 : 0;
            sum += rate;
            best = std::max(best, rate);
            passed += rate >= 60 ? 1 : 0;
        }
        TrainStatistics& statistics = Loaded(wanted.user, wanted.subject, wanted.from, wanted.to);
        EXPECT_EQ(statistics.TrainTimes(), static_cast<int>(papers.size()));
        EXPECT_EQ(statistics.PassTimes(), passed);
        EXPECT_EQ(statistics.QuestionTimes(), times);
        EXPECT_NEAR(statistics.AverageRate(), papers.empty() ? 0 : sum / static_cast<double>(papers.size()), 1e-3);
        EXPECT_NEAR(statistics.BestRate(), best, 1e-3);
        ASSERT_EQ(statistics.GroupCount(TrainStatistics::kByBank), static_cast<int>(banks.size()));
        for (int i = 1; i <= statistics.GroupCount(TrainStatistics::kByBank); ++i) {
            const std::string name = ToUtf8(statistics.GroupName(TrainStatistics::kByBank, i));
            EXPECT_EQ(statistics.GroupTimes(TrainStatistics::kByBank, i), banks[name].first) << name;
            EXPECT_NEAR(statistics.GroupRate(TrainStatistics::kByBank, i),
                        banks[name].second / full_of_bank[name] * 100, 1e-3)
                << name;
        }
        for (int hour = 0; hour < 24; ++hour) {
            EXPECT_EQ(statistics.GroupTimes(TrainStatistics::kByHour, hour + 1), hours[hour]) << hour;
        }
    }
    EXPECT_TRUE(Log().empty());
    EXPECT_EQ(statistics_.GroupName(TrainStatistics::kByBank, 99), u"") << "there is none";
    EXPECT_EQ(Log().size(), 1U);
}

// Two passes with means, as a textbook writes the correlation.
TEST_F(StatisticsTest, FacilityAndDiscriminationOfGeneratedHistories) {
    Generate(11, 120, 30);
    std::map<std::int32_t, std::pair<double, double>> papers;
    for (const test::ResultRow& row : results_) {
        papers[row.training].first += static_cast<double>(row.got.value_or(0));
        papers[row.training].second += static_cast<double>(row.full);
    }
    std::map<std::string, std::vector<std::pair<double, double>>> marks;  // of the question and of the rest
    for (const test::ResultRow& row : results_) {
        if (row.full <= 0) continue;
        const auto full = static_cast<double>(row.full);
        const auto got = static_cast<double>(row.got.value_or(0));
        const auto [all_got, all_full] = papers[row.training];
        marks[QuestionOf(TrainingOf(row), row)].emplace_back(got / full, (all_got - got) / (all_full - full));
    }
    TrainStatistics& statistics = Loaded();
    ASSERT_EQ(statistics.ItemCount(), static_cast<int>(marks.size()));
    int known = 0;
    for (std::int32_t i = 1; i <= statistics.ItemCount(); ++i) {
        const PracticedQuestion& question = statistics.History().questions[statistics.Items()[i - 1].question];
        const auto& pairs = marks.at(QuestionOf(question));
        const auto n = static_cast<double>(pairs.size());
        double x = 0;
        double y = 0;
        for (const auto& [a, b] : pairs) {
            x += a / n;
            y += b / n;
        }
        double xx = 0;
        double yy = 0;
        double xy = 0;
        for (const auto& [a, b] : pairs) {
            xx += (a - x) * (a - x);
            yy += (b - y) * (b - y);
            xy += (a - x) * (b - y);
        }
        EXPECT_EQ(statistics.ItemTimes(i), static_cast<int>(pairs.size()));
        EXPECT_NEAR(statistics.ItemFacility(i), x * 100, 1e-3);
        const Value discrimination = statistics.ItemDiscrimination(i);
        if (xx < 1e-9 || yy < 1e-9) {
            EXPECT_TRUE(discrimination.IsEmpty());
            continue;
        }
        ++known;
        EXPECT_NEAR(ToDouble(discrimination), xy / std::sqrt(xx * yy) * 100, 1e-6);
    }
    EXPECT_GT(known, 20);
}

TEST_F(StatisticsTest, WrongAnswersAreCounted) {
    Generate(3, 60, 30);
    TrainStatistics& statistics = Loaded();
    for (const ItemFigures& item : statistics.Items()) {
        const std::string question = QuestionOf(statistics.History().questions[item.question]);
        std::map<std::string, int> expected;
        for (const test::ResultRow& row : results_) {
            if (QuestionOf(TrainingOf(row), row) != question || row.full <= 0 || row.got.value_or(0) >= row.full)
                continue;
            ++expected[ToUtf8(row.answer)];
        }
        std::map<std::string, int> found;
        int last = 1 << 30;
        for (const auto& one : statistics.WrongAnswersTo(item.question)) {
            found[ToUtf8(one.answer)] = one.times;
            EXPECT_LE(one.times, last) << "most frequent first";
            last = one.times;
        }
        EXPECT_EQ(found, expected) << question;
    }
}

TEST_F(StatisticsTest, APaperThatIsLeftOutCountsForItsQuestionsOnly) {
    Generate(5, 30, 20);
    const int all = Loaded().TrainTimes();
    const int questions = statistics_.QuestionTimes();
    const std::int32_t id = statistics_.GetFigures().papers.front().train_id;
    statistics_.Exclude(id);
    EXPECT_EQ(Loaded().TrainTimes(), all - 1);
    EXPECT_EQ(statistics_.QuestionTimes(), questions);
}

// Values from a statistics handbook's formulas, worked out by hand.
TEST(Forecasts, FromAStraightLineAndFromScatter) {
    const auto straight = ForecastOf({50, 55, 60, 65, 70});
    ASSERT_TRUE(straight);
    EXPECT_NEAR(straight->expected, 75, 1e-9);
    EXPECT_NEAR(straight->high - straight->low, 6, 1e-9) << "nothing is as certain as that";

    // Mean 60, slope 0, residues 10, -10, 0, -10, 10: s = sqrt(400 / 3); t(3) = 1.638; sqrt(1 + 1/5 + 9/10).
    const auto scattered = ForecastOf({70, 50, 60, 50, 70});
    ASSERT_TRUE(scattered);
    EXPECT_NEAR(scattered->expected, 60, 1e-9);
    EXPECT_NEAR(scattered->high - 60, 1.638 * std::sqrt(400.0 / 3) * std::sqrt(2.1), 1e-9);

    EXPECT_FALSE(ForecastOf({50, 60, 70, 80})) << "too few to say anything";
    const auto beyond = ForecastOf({80, 85, 90, 95, 100});
    EXPECT_EQ(beyond->expected, 100);
    EXPECT_EQ(beyond->high, 100);
    EXPECT_EQ(beyond->low, 97);
    // What lies far back counts no more.
    std::vector<double> rates(100, 0);
    for (int i = 0; i < 20; ++i) rates.push_back(80);
    EXPECT_NEAR(ForecastOf(rates)->expected, 80, 1e-9);
}

TEST_F(StatisticsTest, FailuresGoToTheLog) {
    TrainStatistics statistics;
    EXPECT_FALSE(statistics.Load());
    EXPECT_EQ(ErrorOf([&] { statistics.ClientPath(Path() + u"/none"); }), kComponentError);
    float rate = 1;
    float low = 2;
    float high = 3;
    EXPECT_FALSE(statistics.Forecast(rate, low, high));
    EXPECT_EQ(rate + low + high, 6) << "unchanged";
    statistics.ClientPath(Path());
    std::filesystem::remove(ClientFile());
    std::u16string problem;
    EXPECT_FALSE(statistics.Init(problem));
    EXPECT_TRUE(problem.ends_with(u"Client.mdb数据库不存在!"));
    ASSERT_EQ(Log().size(), 1U);
    EXPECT_EQ(Log()[0].function, "TrainStatistics.Load");
}

}  // namespace
}  // namespace qmtrain
