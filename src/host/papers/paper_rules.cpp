#include "host/papers/paper_rules.h"

#include <algorithm>
#include <random>
#include <set>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "dao/dao.h"
#include "exchange/bank_file.h"
#include "exchange/bank_rows.h"
#include "host/papers/drill.h"
#include "host/papers/outcome.h"
#include "host/papers/question_use.h"

namespace qmtrain::host {
namespace {

constexpr std::size_t kLongestTitle = 100;
constexpr float kMostPoints = 1000;

struct Usual {
    QuestionKind kind;
    float points;
};
// In the order of papers.
constexpr Usual kUsual[] = {{QuestionKind::Single, 2},
                            {QuestionKind::Multiple, 4},
                            {QuestionKind::YesNo, 2},
                            {QuestionKind::Fill, 4},
                            {QuestionKind::Operation, 20}};

[[noreturn]] void Refuse(std::u16string text) {
    RaiseComponentError(u"qmtrain", std::move(text));
}

struct AvailableQuestion {
    std::u16string data_code;
    exchange::Question question;
    int used = 0;
};

struct Drawn {
    std::u16string data_code;
    std::u16string rec_no;
    QuestionKind kind;
    float points;
    std::int32_t difficulty;
    std::u16string keywords;
};

void RequireHead(std::u16string_view title, std::int32_t minutes) {
    if (exchange::Trimmed(title).empty()) Refuse(u"请输入试卷名称。");
    if (title.size() > kLongestTitle) Refuse(u"试卷名称最多 100 个字。");
    if (minutes < 1 || minutes > 600) Refuse(u"考试时间应当是 1 到 600 分钟。");
}

// 0: the usual ones of the kind.
void RequirePoints(float points) {
    if (points != 0 && !(points > 0 && points <= kMostPoints)) Refuse(u"每题的分数应当大于 0，最多 1000。");
}

std::int32_t AddPaper(const DataFolder& folder, std::int32_t subject, std::u16string_view title, std::int32_t minutes,
                      const std::vector<Drawn>& questions) {
    const dao::Connection host(folder.Host());
    std::int32_t paper_no = 0;
    host->Atomically([&] {
        Paper paper{.subject = subject, .title = std::u16string(title), .minutes = minutes};
        for (const Drawn& one : questions) {
            paper.questions.push_back({.type = InfoOf(one.kind).type,
                                       .data_code = one.data_code,
                                       .rec_no = one.rec_no,
                                       .score = one.points,
                                       .difficult = std::max(1, one.difficulty),
                                       .keywords = one.keywords});
        }
        WritePaper(*host.operator->(), paper);
        paper_no = paper.number;
    });
    return paper_no;
}

// Each the same on every system, which the library's own shuffle is not.
void Shuffle(std::vector<const AvailableQuestion*>& candidates, std::mt19937& random) {
    for (std::size_t i = candidates.size(); i > 1; --i) std::swap(candidates[i - 1], candidates[random() % i]);
}

std::set<std::pair<std::u16string, std::u16string>> QuestionsOfLast(const DataFolder& folder, std::int32_t subject) {
    std::set<std::pair<std::u16string, std::u16string>> questions;
    const std::set<std::int32_t> drills = DrillPapers(folder);
    const std::vector<Paper> papers = PapersOf(folder, subject);
    const auto last =
        std::find_if(papers.rbegin(), papers.rend(), [&](const Paper& one) { return !drills.contains(one.number); });
    if (last == papers.rend()) return questions;
    for (const PaperQuestion& one : last->questions) {
        questions.emplace(ToUpper(one.data_code), ToUpper(one.rec_no));
    }
    return questions;
}

}  // namespace

float UsualPoints(QuestionKind kind) {
    return std::find_if(std::begin(kUsual), std::end(kUsual), [&](const Usual& one) { return one.kind == kind; })
        ->points;
}

std::int32_t MakePaper(const DataFolder& folder, const PaperRules& rules, const exchange::Progress& progress) {
    RequireHead(rules.title, rules.minutes);
    if (rules.banks.empty()) Refuse(u"请至少选择一个题库。");
    const exchange::BankEntry first = exchange::RequireBank(folder.Banks(), rules.banks.front());
    const auto last = rules.none_from_last ? QuestionsOfLast(folder, first.subject)
                                           : std::set<std::pair<std::u16string, std::u16string>>();
    std::vector<AvailableQuestion> all;
    std::size_t without_keywords = 0;
    std::set<std::u16string> read;
    for (const std::u16string& named : rules.banks) {
        const exchange::BankEntry bank = exchange::RequireBank(folder.Banks(), named);
        const std::u16string& code = bank.code;
        if (!read.insert(code).second) continue;
        if (bank.subject != first.subject) {
            Refuse(u"题库“" + bank.name + u"”与“" + first.name + u"”不属于同一个科目，不能组成一份试卷。");
        }
        const auto uses = UsesOf(folder, code);
        for (exchange::Question& question : exchange::ReadBank(folder.Banks(), code, progress)) {
            const std::int32_t difficulty = std::max(1, question.difficulty);
            if (rules.least_difficulty != 0 && difficulty < rules.least_difficulty) continue;
            if (rules.most_difficulty != 0 && difficulty > rules.most_difficulty) continue;
            if (!question.category.starts_with(rules.category)) continue;
            if (last.contains({ToUpper(code), ToUpper(question.rec_no)})) continue;
            if (question.kind == QuestionKind::Operation && question.keywords.empty()) {
                ++without_keywords;
                continue;
            }
            const auto use = uses.find(question.rec_no);
            all.push_back({code, std::move(question), use == uses.end() ? 0 : use->second.times});
        }
    }
    std::mt19937 random(rules.seed);
    std::vector<Drawn> drawn;
    std::u16string missing;
    for (const Usual& usual : kUsual) {
        const auto part = rules.parts.find(usual.kind);
        if (part == rules.parts.end() || part->second.count < 1) continue;
        RequirePoints(part->second.points);
        std::vector<const AvailableQuestion*> candidates;
        for (const AvailableQuestion& one : all) {
            if (one.question.kind == usual.kind) candidates.push_back(&one);
        }
        Shuffle(candidates, random);
        if (rules.seldom_first) {
            std::stable_sort(candidates.begin(), candidates.end(),
                             [](const AvailableQuestion* a, const AvailableQuestion* b) { return a->used < b->used; });
        }
        const std::size_t wanted = part->second.count;
        if (candidates.size() < wanted) {
            missing += u"\n" + std::u16string(KindName(usual.kind)) + u"要 " + ToText(wanted) +
                       u" 题，符合条件的只有 " + ToText(candidates.size()) + u" 题。";
            if (usual.kind == QuestionKind::Operation && without_keywords > 0)
                missing += u"没有评分要点的操作题不能自动组卷。";
            continue;
        }
        for (std::size_t i = 0; i < wanted; ++i) {
            const AvailableQuestion& one = *candidates[i];
            drawn.push_back({one.data_code, one.question.rec_no, usual.kind,
                             part->second.points > 0 ? part->second.points : usual.points, one.question.difficulty,
                             one.question.keywords});
        }
    }
    if (!missing.empty()) Refuse(u"试题不够，没有组卷：" + missing);
    if (drawn.empty()) Refuse(u"请至少选择一道试题。");
    RequireSubject(folder, first.subject, first.name);
    return AddPaper(folder, first.subject, rules.title, rules.minutes, drawn);
}

std::int32_t MakePaper(const DataFolder& folder, std::u16string_view title, std::int32_t minutes,
                       const std::vector<ChosenQuestion>& questions) {
    RequireHead(title, minutes);
    if (questions.empty()) Refuse(u"请至少选择一道试题。");
    std::vector<Drawn> drawn;
    std::set<std::pair<std::u16string, std::u16string>> seen;
    const exchange::BankEntry first = exchange::RequireBank(folder.Banks(), questions.front().data_code);
    for (const ChosenQuestion& chosen : questions) {
        const exchange::BankEntry bank = exchange::RequireBank(folder.Banks(), chosen.data_code);
        if (bank.subject != first.subject) {
            Refuse(u"题库“" + bank.name + u"”与“" + first.name + u"”不属于同一个科目，不能组成一份试卷。");
        }
        if (!seen.emplace(bank.code, ToUpper(chosen.rec_no)).second) Refuse(u"试题 " + chosen.rec_no + u" 选了两次。");
        RequirePoints(chosen.points);
        const dao::Connection database(exchange::FileOf(folder.Banks(), bank));
        const auto question = exchange::BankRows(*database.operator->(), bank.code).Find(chosen.rec_no);
        if (!question) Refuse(u"题库“" + bank.name + u"”中没有试题 " + chosen.rec_no + u"。");
        const QuestionKind kind = question->kind;
        if (kind == QuestionKind::Operation && question->keywords.empty()) {
            Refuse(u"操作题 " + chosen.rec_no + u" 没有评分要点，不能评分；请先在题库中写上要点。");
        }
        drawn.push_back({bank.code, question->rec_no, kind, chosen.points > 0 ? chosen.points : UsualPoints(kind),
                         question->difficulty, question->keywords});
    }
    RequireSubject(folder, first.subject, first.name);
    return AddPaper(folder, first.subject, title, minutes, drawn);
}

}  // namespace qmtrain::host
