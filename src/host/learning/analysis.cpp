#include "host/learning/analysis.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "core/trap.h"
#include "dao/dao.h"
#include "host/data/host_tables.h"
#include "host/data/people.h"
#include "host/practice/practice.h"
#include "ui/client_problem.h"

namespace qmtrain::host {
namespace {

constexpr int kLeastToJudge = 5;  // answers of a group, below which it is not called weak
constexpr double kStrong = 85;    // percent, from which on nothing needs to be practised for
constexpr double kDaysWithoutPaper = 7;

// Trainings of mistakes alone are no papers.
std::vector<std::int32_t> TrainingsOfMistakes(const DataFolder& folder) {
    std::vector<std::int32_t> ids;
    const dao::Connection host(folder.Host());
    if (!HasTable(*host.operator->(), u"Finished")) return ids;
    const auto rows = host->OpenRecordset(u"Select TrainID From Finished Where Mode=" +
                                          ToText(static_cast<std::int64_t>(Mode::Mistakes)));
    for (; !rows->Eof(); rows->MoveNext()) ids.push_back(ToLong(rows->Fields(0).Value()));
    return ids;
}

report::Table ToTable(std::u16string_view what, const std::vector<TrainStatistics::Group>& groups) {
    report::Table table;
    table.columns = {{std::u16string(what), 3}, {u"答题次数", 1, true}, {u"得分率", 1, true}};
    for (const TrainStatistics::Group& group : groups) {
        table.rows.push_back({group.name, ToText(group.times), PercentText(group.rate)});
    }
    return table;
}

}  // namespace

std::u16string PercentText(double percent) {
    return Format(percent, u"0.0") + u"%";
}

Analysis::Analysis(DataFolder folder, Edition edition, std::int32_t user, std::int32_t subject)
    : source_(std::move(folder), edition), user_(user), subject_(subject) {}

void Analysis::Load() {
    const TrapWatch watch;
    std::u16string problem;
    statistics_.ClientPath(source_.Folder().path);
    if (!statistics_.Init(problem) && !problem.empty()) RaiseComponentError(u"qmtrain", problem);
    statistics_.UserId(user_);
    statistics_.SubjectCode(subject_);
    statistics_.OnlyUsers(class_);
    for (const std::int32_t id : TrainingsOfMistakes(source_.Folder())) statistics_.Exclude(id);
    statistics_.Load();
    if (watch.First()) RaiseComponentError(u"qmtrain", ui::ClientProblem(*watch.First()));
}

std::u16string Analysis::FiguresText() const {
    const Figures& figures = GetFigures();
    if (figures.all.times == 0 && !class_.empty()) return u"选定的考生还没有练习记录。";
    if (figures.all.times == 0) return u"还没有练习记录。做完一份试卷以后，这里会有分析。";
    std::u16string text = u"共 " + ToText(figures.papers.size()) + u" 份试卷";
    if (!figures.papers.empty()) {
        text += u"，平均 " + PercentText(figures.Average()) + u"，最好 " + PercentText(figures.Best()) + u"，及格 " +
                ToText(figures.PassTimes()) + u" 次";
    }
    text += u"；做题 " + ToText(figures.all.times) + u" 道次，答对 " +
            PercentText(100.0 * figures.all.right / figures.all.times);
    if (IsTeacher()) text += u"；考生 " + ToText(figures.by_candidate.size()) + u" 人";
    return text + u"。";
}

std::u16string Analysis::ForecastText() const {
    const std::vector<double> rates = GetFigures().Rates();
    if (const auto forecast = ForecastOf(rates)) {
        return u"下一份试卷预计 " + Format(forecast->expected, u"0") + u"%，五次中有四次在 " +
               Format(forecast->low, u"0") + u"% 到 " + Format(forecast->high, u"0") + u"% 之间。";
    }
    const std::int64_t missing = kLeastForForecast - rates.size();
    return u"只有 " + ToText(rates.size()) + u" 份试卷的成绩，还不能预测；再做 " + ToText(missing) + u" 份以后可以。";
}

std::vector<TrainStatistics::Group> Analysis::Groups(TrainStatistics::GroupKind kind) {
    std::vector<TrainStatistics::Group> groups = statistics_.Groups(kind);
    if (kind != TrainStatistics::kByBank) return groups;
    std::map<std::u16string, std::int32_t> subjects;
    for (const PracticedQuestion& question : statistics_.History().questions) {
        subjects.emplace(question.data_code, question.subject);
    }
    for (TrainStatistics::Group& group : groups) {
        const auto found = subjects.find(group.name);
        if (found != subjects.end()) group.name = source_.BankName(found->second, group.name);
    }
    return groups;
}

std::vector<Advice> Analysis::Advise(int due, Date now) {
    std::vector<Advice> all;
    const Figures& figures = GetFigures();
    if (due > 0) {
        all.push_back({Advice::Action::Review, u"有 " + ToText(due) + u" 道题快要忘记了，今天该复习。", u"今日复习"});
    }
    const std::vector<WrongQuestion> wrong = FindWrongQuestions(statistics_.History(), {});
    const auto often = std::count_if(wrong.begin(), wrong.end(),
                                     [](const WrongQuestion& one) { return one.wrong_times >= 2 && !one.right_since; });
    if (often > 0) {
        Advice advice{Advice::Action::Drill, u"有 " + ToText(often) + u" 道题错了两次以上，到现在还没有做对。",
                      u"练这些题"};
        advice.filter.least_times = 2;
        advice.filter.only_open = true;
        all.push_back(std::move(advice));
    }
    const std::pair<const std::pair<std::int32_t, std::int32_t>, Tally>* weakest = nullptr;
    for (const auto& group : figures.by_type) {
        if (group.second.times < kLeastToJudge || group.second.Rate() >= kStrong) continue;
        if (weakest == nullptr || group.second.Rate() < weakest->second.Rate()) weakest = &group;
    }
    const auto open_of_weakest = [&] {
        return std::count_if(wrong.begin(), wrong.end(), [&](const WrongQuestion& one) {
            return one.question.type == weakest->first.second && !one.right_since;
        });
    };
    if (weakest != nullptr && open_of_weakest() > 0) {
        const std::u16string name = source_.TypeName(weakest->first.first, weakest->first.second, 1);
        Advice advice{Advice::Action::Drill,
                      name + u"最弱，得分率 " + PercentText(weakest->second.Rate()) + u"，还有 " +
                          ToText(open_of_weakest()) + u" 道没有做对。",
                      u"练" + name};
        advice.filter.type = weakest->first.second;
        advice.filter.only_open = true;
        all.push_back(std::move(advice));
    }
    const double since =
        figures.papers.empty() ? -1 : std::floor(now.days) - std::floor(figures.papers.back().start.days);
    if (since < 0 || since >= kDaysWithoutPaper) {
        all.push_back({Advice::Action::Exam,
                       since < 0 ? std::u16string(u"还没有做过一份完整的试卷。")
                                 : u"已经 " + ToText(static_cast<std::int64_t>(since)) + u" 天没有做完整的试卷了。",
                       u"选一份试卷"});
    } else if (all.size() < 3) {
        all.push_back({Advice::Action::Exam, u"再做一份试卷，看看有没有进步。", u"选一份试卷"});
    }
    constexpr std::size_t kMost = 3;
    if (all.size() > kMost) all.resize(kMost);
    return all;
}

std::vector<CandidateRow> Analysis::Candidates() const {
    std::map<std::int32_t, std::u16string> names;
    for (const Candidate& one : CandidatesOf(source_.Folder())) names[one.id] = one.name;
    std::vector<CandidateRow> rows;
    for (const auto& [user, figures] : GetFigures().by_candidate) {
        CandidateRow row;
        row.user = user;
        const auto name = names.find(user);
        row.name = name != names.end() ? name->second : u"考生 " + ToText(user);
        row.papers = static_cast<int>(figures.rates.size());
        for (const double rate : figures.rates) row.average += rate / static_cast<double>(figures.rates.size());
        if (!figures.rates.empty()) row.last = figures.rates.back();
        if (const auto trend = TrendOf(figures.rates)) row.trend = trend->slope;
        if (figures.all.times > 0) row.right_share = 100.0 * figures.all.right / figures.all.times;
        row.last_day = figures.last;
        rows.push_back(std::move(row));
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const CandidateRow& a, const CandidateRow& b) { return a.name < b.name; });
    return rows;
}

std::vector<ItemRow> Analysis::Items() {
    std::vector<ItemRow> rows;
    for (const ItemFigures& item : statistics_.Items()) {
        const PracticedQuestion& question = statistics_.History().questions[item.question];
        rows.push_back({item, question, source_.BankName(question.subject, question.data_code),
                        source_.TypeName(question.subject, question.type, question.distin)});
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const ItemRow& a, const ItemRow& b) { return a.figures.facility < b.figures.facility; });
    return rows;
}

report::Report Analysis::MakeReport() {
    report::Report made;
    made.title = u"学习分析";
    std::u16string whose = class_.empty() ? u"所有考生" : u"选定的 " + ToText(class_.size()) + u" 个考生";
    for (const Candidate& one : CandidatesOf(source_.Folder())) {
        if (one.id == user_) whose = one.name;
    }
    made.subtitle = whose;
    report::Section figures{u"概况"};
    figures.text.AppendText(FiguresText());
    if (!IsTeacher()) {
        figures.text.EndParagraph();
        figures.text.AppendText(ForecastText());
    }
    made.sections.push_back(std::move(figures));
    struct Named {
        TrainStatistics::GroupKind kind;
        const char16_t* name;
    };
    for (const Named& one :
         {Named{TrainStatistics::kBySubject, u"科目"}, Named{TrainStatistics::kByType, u"题型"},
          Named{TrainStatistics::kByBank, u"题库"}, Named{TrainStatistics::kByDifficulty, u"难度"}}) {
        made.sections.push_back({std::u16string(u"按") + one.name, {}, ToTable(one.name, Groups(one.kind))});
    }
    report::Section papers{u"每份试卷"};
    papers.table.columns = {{u"日期", 2}, {u"得分率", 1, true}, {u"结果", 1}, {u"每题用时（秒）", 1, true}};
    for (const Figures::Paper& paper : GetFigures().papers) {
        papers.table.rows.push_back({Format(paper.start, u"yyyy-mm-dd hh:nn"), PercentText(paper.rate),
                                     paper.passed ? u"及格" : u"不及格",
                                     paper.pace ? Format(*paper.pace, u"0") : std::u16string()});
    }
    made.sections.push_back(std::move(papers));
    if (!IsTeacher()) return made;
    report::Section candidates{u"每个考生"};
    candidates.table.columns = {
        {u"考生", 2}, {u"试卷数", 1, true}, {u"平均", 1, true}, {u"最近", 1, true}, {u"答对", 1, true}};
    for (const CandidateRow& row : Candidates()) {
        const auto of_papers = [&](double rate) { return row.papers > 0 ? PercentText(rate) : u"—"; };
        candidates.table.rows.push_back(
            {row.name, ToText(row.papers), of_papers(row.average), of_papers(row.last), PercentText(row.right_share)});
    }
    made.sections.push_back(std::move(candidates));
    report::Section items{u"每道题"};
    for (std::size_t i = 0; i < std::size(kItemHeaders); ++i) {
        const bool number = i >= kItemTimes;
        items.table.columns.push_back({kItemHeaders[i], number ? 1 : 2, number});
    }
    for (const ItemRow& row : Items()) {
        items.table.rows.push_back(
            {row.question.rec_no, row.bank, row.type, ToText(row.figures.times), ToText(row.figures.right),
             PercentText(row.figures.facility),
             row.figures.discrimination ? PercentText(*row.figures.discrimination) : std::u16string(u"—")});
    }
    made.sections.push_back(std::move(items));
    return made;
}

}  // namespace qmtrain::host
