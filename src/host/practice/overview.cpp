#include "host/practice/overview.h"

#include <algorithm>
#include <map>

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/format.h"
#include "core/text.h"
#include "host/data/host_tables.h"
#include "host/papers/drill.h"
#include "records/summary_query.h"

namespace qmtrain::host {
namespace {

struct Finished {
    std::int32_t paper = 0;
    Mode mode = Mode::Exam;
    Edition edition = Edition::StandAlone;
};

// What the host knows of trainings beyond their records.
std::map<std::int32_t, Finished> ReadFinished(const DataFolder& folder) {
    std::map<std::int32_t, Finished> all;
    const dao::Connection host(folder.Host());
    if (!HasTable(*host.operator->(), u"Finished")) return all;
    const auto rows = host->OpenRecordset(u"Select * From Finished");
    for (; !rows->Eof(); rows->MoveNext()) {
        Finished one;
        one.paper = LongOr(rows->Fields(u"PaperNo").Value(), 0);
        one.mode = static_cast<Mode>(LongOr(rows->Fields(u"Mode").Value(), 0));
        one.edition = ToBoolean(rows->Fields(u"IsNet").Value()) ? Edition::Network : Edition::StandAlone;
        all[ToLong(rows->Fields(u"TrainID").Value())] = one;
    }
    return all;
}

bool IsOf(const review::Training& training, const Paper& paper) {
    return std::max(0, training.theory_no) == paper.theory_no &&
           std::max(0, training.operation_no) == paper.operation_no;
}

std::vector<review::Training> ReadTrainings(const DataFolder& folder, std::int32_t user_id, std::int32_t subject) {
    const dao::Connection client(ClientDatabase(folder.path));
    const auto rows =
        client->OpenRecordset(review::TrainingsQuery(user_id, subject, review::TrainingOrder::NewestFirst));
    const review::TrainingReader reader(*rows);
    std::vector<review::Training> trainings;
    for (; !rows->Eof(); rows->MoveNext()) trainings.push_back(reader.Read());
    return trainings;
}

bool IsWhole(const PastPractice& practice) {
    return practice.mode != Mode::Mistakes;
}

}  // namespace

std::u16string Overview::FiguresText() const {
    const std::vector<float> rates = Rates();
    if (rates.empty()) return u"还没有成绩。";
    float sum = 0;
    for (const float rate : rates) sum += rate;
    const auto passed = std::count_if(past.begin(), past.end(),
                                      [](const PastPractice& one) { return IsWhole(one) && one.training.Passed(); });
    return u"共练习 " + ToText(rates.size()) + u" 次，及格 " + ToText(passed) + u" 次；平均 " +
           Format(sum / static_cast<float>(rates.size()), u"0.0") + u"%，最好 " +
           Format(*std::max_element(rates.begin(), rates.end()), u"0.0") + u"%";
}

std::vector<float> Overview::Rates() const {
    std::vector<float> rates;
    for (auto one = past.rbegin(); one != past.rend(); ++one) {
        if (IsWhole(*one)) rates.push_back(one->Rate());
    }
    return rates;
}

Overview ReadOverview(const DataFolder& folder, std::int32_t user_id, std::int32_t subject) {
    Overview overview;
    for (Paper& paper : PapersOf(folder, subject)) overview.papers.push_back({std::move(paper)});
    const std::map<std::int32_t, Finished> finished = ReadFinished(folder);
    for (const review::Training& training : ReadTrainings(folder, user_id, subject)) {
        PastPractice one{training};
        const auto known = finished.find(one.training.id);
        if (known != finished.end()) {
            one.mode = known->second.mode;
            one.edition = known->second.edition;
        }
        for (PaperSummary& summary : overview.papers) {
            const bool same = known != finished.end() ? known->second.paper == summary.paper.number
                                                      : IsOf(one.training, summary.paper);
            if (!same) continue;
            one.paper = summary.paper.title;
            if (!IsWhole(one)) break;
            ++summary.times;
            summary.best_rate = std::max(summary.best_rate.value_or(0), one.Rate());
            break;
        }
        overview.past.push_back(std::move(one));
    }
    const std::set<std::int32_t> drills = DrillPapers(folder);
    std::erase_if(overview.papers, [&](const PaperSummary& one) { return drills.contains(one.paper.number); });
    return overview;
}

std::optional<float> RateBefore(const DataFolder& folder, const Paper& paper, std::int32_t user_id,
                                std::int32_t train_id) {
    const std::map<std::int32_t, Finished> finished = ReadFinished(folder);
    for (const review::Training& training : ReadTrainings(folder, user_id, paper.subject)) {
        if (training.id == train_id || !IsOf(training, paper)) continue;
        const auto known = finished.find(training.id);
        if (known != finished.end() && known->second.mode == Mode::Mistakes) continue;
        return training.Rate();
    }
    return std::nullopt;
}

}  // namespace qmtrain::host
