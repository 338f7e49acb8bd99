#include "learning/figures.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qmtrain {
namespace {

constexpr std::size_t kMostForForecast = 20;
constexpr double kLeastMargin = 3;  // percent: a question or two of a paper

// Between minus and plus this lie four of five values of Student's t distribution, by degrees of freedom from 1.
constexpr std::array<double, 18> kStudent = {3.078, 1.886, 1.638, 1.533, 1.476, 1.440, 1.415, 1.397, 1.383,
                                             1.372, 1.363, 1.356, 1.350, 1.345, 1.341, 1.337, 1.333, 1.330};

int HourOf(Date date) {
    const double fraction = std::abs(date.days - std::trunc(date.days));
    return std::min(23, static_cast<int>(fraction * 24 + 0.5 / 3600));
}

// Sums from which the correlation of two values follows.
struct Correlation {
    double n = 0;
    double x = 0;
    double y = 0;
    double xx = 0;
    double yy = 0;
    double xy = 0;

    void Add(double a, double b) {
        ++n;
        x += a;
        y += b;
        xx += a * a;
        yy += b * b;
        xy += a * b;
    }
    std::optional<double> Get() const {
        const double spread_x = xx - x * x / n;
        const double spread_y = yy - y * y / n;
        constexpr double kNothing = 1e-9;  // left over by rounding
        if (n < 2 || spread_x < kNothing || spread_y < kNothing) return std::nullopt;
        return std::clamp((xy - x * y / n) / std::sqrt(spread_x * spread_y), -1.0, 1.0);
    }
};

}  // namespace

void Tally::Add(const PracticeResult& result) {
    ++times;
    if (result.IsRight()) ++right;
    full += static_cast<double>(result.full);
    got += static_cast<double>(result.got);
}

std::optional<Trend> TrendOf(const std::vector<double>& values) {
    if (values.size() < 2) return std::nullopt;
    const auto count = static_cast<double>(values.size());
    const double middle = (count - 1) / 2;
    double sum = 0;
    double products = 0;
    double squares = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double x = static_cast<double>(i) - middle;
        sum += values[i];
        products += x * values[i];
        squares += x * x;
    }
    const double slope = products / squares;
    return Trend{sum / count - slope * middle, slope};
}

std::optional<Forecast> ForecastOf(const std::vector<double>& rates) {
    if (rates.size() < kLeastForForecast) return std::nullopt;
    const std::size_t count = std::min(rates.size(), kMostForForecast);
    const std::vector<double> last(rates.end() - count, rates.end());
    const Trend trend = TrendOf(last).value();
    double residues = 0;
    double squares = 0;
    const auto n = static_cast<double>(count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto x = static_cast<double>(i);
        const double off = last[i] - trend.intercept - trend.slope * x;
        residues += off * off;
        squares += (x - (n - 1) / 2) * (x - (n - 1) / 2);
    }
    const double ahead = n - (n - 1) / 2;
    const double spread = std::sqrt(residues / (n - 2) * (1 + 1 / n + ahead * ahead / squares));
    // No line goes on beyond what a paper can come to, and a few papers alike do not make the next one certain.
    const double expected = std::clamp(trend.intercept + trend.slope * n, 0.0, 100.0);
    const double margin = std::max(kStudent[count - 3] * spread, kLeastMargin);
    return Forecast{expected, std::clamp(expected - margin, 0.0, 100.0), std::clamp(expected + margin, 0.0, 100.0)};
}

std::vector<double> Figures::Rates() const {
    std::vector<double> rates;
    rates.reserve(papers.size());
    for (const Paper& paper : papers) rates.push_back(paper.rate);
    return rates;
}

double Figures::Average() const {
    const std::vector<double> rates = Rates();
    return rates.empty() ? 0 : std::accumulate(rates.begin(), rates.end(), 0.0) / static_cast<double>(rates.size());
}

double Figures::Best() const {
    const std::vector<double> rates = Rates();
    return rates.empty() ? 0 : *std::max_element(rates.begin(), rates.end());
}

int Figures::PassTimes() const {
    return static_cast<int>(std::count_if(papers.begin(), papers.end(), [](const Paper& one) { return one.passed; }));
}

Figures CalculateFigures(const PracticeHistory& history, const std::set<std::int32_t>& not_papers) {
    Figures figures;
    // Added up by question first: there are far fewer of them than answers.
    std::vector<Tally> by_question(history.questions.size());
    for (const PracticeTraining& training : history.trainings) {
        DayFigures& day = figures.by_day[static_cast<int>(std::floor(training.start.days))];
        DayFigures& hour = figures.by_hour[HourOf(training.start)];
        CandidateFigures& candidate = figures.by_candidate[training.user];
        candidate.user = training.user;
        candidate.last = training.start;
        for (DayFigures* one : {&day, &hour}) {
            ++one->trainings;
            one->questions += static_cast<int>(training.count);
            one->seconds += std::max(0, training.use_time);
        }
        for (const PracticeResult& result : history.ResultsOf(training)) {
            if (!result.Counts()) continue;
            by_question[result.question].Add(result);
            candidate.all.Add(result);
        }
        if (not_papers.contains(training.id)) continue;
        candidate.rates.push_back(training.Rate());
        Figures::Paper paper;
        paper.train_id = training.id;
        paper.subject = training.subject;
        paper.start = training.start;
        paper.full = training.full;
        paper.got = training.got;
        paper.rate = training.Rate();
        paper.passed = training.Passed();
        if (training.use_time > 0) paper.pace = training.use_time / static_cast<double>(training.count);
        figures.papers.push_back(paper);
    }
    const auto add = [](Tally& to, const Tally& one) {
        to.times += one.times;
        to.right += one.right;
        to.full += one.full;
        to.got += one.got;
    };
    for (std::size_t i = 0; i < by_question.size(); ++i) {
        const PracticedQuestion& question = history.questions[i];
        if (by_question[i].times == 0) continue;
        for (Tally* tally :
             {&figures.all, &figures.by_subject[question.subject], &figures.by_type[{question.subject, question.type}],
              &figures.by_bank[question.data_code], &figures.by_difficulty[question.difficult]}) {
            add(*tally, by_question[i]);
        }
    }
    return figures;
}

std::vector<ItemFigures> CalculateItems(const PracticeHistory& history) {
    std::vector<Tally> tallies(history.questions.size());
    std::vector<Correlation> correlations(history.questions.size());
    std::vector<double> shares(history.questions.size());
    for (const PracticeTraining& training : history.trainings) {
        for (const PracticeResult& result : history.ResultsOf(training)) {
            if (!result.Counts()) continue;
            tallies[result.question].Add(result);
            shares[result.question] += result.Share();
            const double rest = training.full - static_cast<double>(result.full);
            if (rest <= 0) continue;
            correlations[result.question].Add(result.Share(), (training.got - static_cast<double>(result.got)) / rest);
        }
    }
    std::vector<ItemFigures> items;
    for (std::uint32_t i = 0; i < tallies.size(); ++i) {
        if (tallies[i].times == 0) continue;
        ItemFigures item;
        item.question = i;
        item.times = tallies[i].times;
        item.right = tallies[i].right;
        item.facility = shares[i] / tallies[i].times * 100;
        if (const auto known = correlations[i].Get()) item.discrimination = *known * 100;
        items.push_back(item);
    }
    return items;
}

}  // namespace qmtrain
