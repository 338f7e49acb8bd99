// What the analysis window says of a history: figures in words, groups, what to practise now; for a teacher the
// candidates and the questions of their papers.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/question_source.h"
#include "host/wrong_book.h"
#include "learning/train_statistics.h"
#include "report/report.h"

namespace qmtrain::host {

struct Advice {
    enum class Action : std::uint8_t { Review, Drill, Exam };
    Action action = Action::Exam;
    std::u16string text = {};
    std::u16string button = {};
    WrongFilter filter = {};  // of the drill
};

struct CandidateRow {
    std::int32_t user = -1;
    std::u16string name = {};
    int papers = 0;
    double average = 0;
    double last = 0;
    std::optional<double> trend = {};  // points a paper
    double right_share = 0;            // of all answers, percent
    Date last_day = {};
};

struct ItemRow {
    ItemFigures figures = {};
    PracticedQuestion question = {};
    std::u16string bank = {};
    std::u16string type = {};
};

class Analysis {
public:
    // user -1: all candidates, as a teacher sees them; subject -1: any.
    Analysis(DataFolder folder, Edition edition, std::int32_t user, std::int32_t subject);

    // Reads everything once. Raises the component's error when the client database cannot be read.
    void Load();

    // For all candidates: these alone, until the next call; every one when there are none. To be called before Load.
    void SetClass(std::set<std::int32_t> users) { class_ = std::move(users); }
    const std::set<std::int32_t>& Class() const { return class_; }

    bool IsTeacher() const { return user_ == -1; }
    std::int32_t User() const { return user_; }
    std::int32_t Subject() const { return subject_; }
    const TrainStatistics& Statistics() const { return statistics_; }
    const Figures& GetFigures() const { return statistics_.GetFigures(); }
    QuestionSource& Source() { return source_; }

    // "共 12 份试卷，平均 71.2%，最好 92.5%，及格 9 次；做题 240 道次。"
    std::u16string FiguresText() const;

    // Honest when there are too few papers.
    std::u16string ForecastText() const;

    // Banks by their names.
    std::vector<TrainStatistics::Group> Groups(TrainStatistics::GroupKind kind);

    // At most three, the most urgent first. `due` is how many questions the schedule brings back today.
    std::vector<Advice> Advise(int due, Date now);

    // By name; questions hardest first.
    std::vector<CandidateRow> Candidates() const;
    std::vector<ItemRow> Items();

    report::Report MakeReport();

private:
    QuestionSource source_;
    std::int32_t user_;
    std::int32_t subject_;
    std::set<std::int32_t> class_;
    TrainStatistics statistics_;
};

// "60.0%".
std::u16string PercentText(double percent);

}  // namespace qmtrain::host
