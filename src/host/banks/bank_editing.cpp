#include "host/banks/bank_editing.h"

#include <algorithm>
#include <tuple>

#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "dao/dao.h"
#include "exchange/bank_limits.h"
#include "exchange/checks.h"

namespace qmtrain::host {
namespace {

std::u16string SearchedText(const exchange::Question& question) {
    std::u16string text = question.rec_no + u'\n' + question.stem.PlainText() + u'\n' + question.category;
    for (const exchange::Option& option : question.options) text += u'\n' + option.text.PlainText();
    if (question.kind == QuestionKind::Fill || question.kind == QuestionKind::Operation) {
        text += u'\n' + exchange::StoredAnswer(question);
    }
    return ToLower(text);
}

std::vector<std::u16string> Words(std::u16string_view search) {
    std::vector<std::u16string> words(1);
    for (const char16_t unit : ToLower(search)) {
        if (unit == u' ' || unit == u'\u3000') {
            words.emplace_back();
        } else {
            words.back() += unit;
        }
    }
    std::erase_if(words, [](const std::u16string& word) { return word.empty(); });
    return words;
}

// In any order: that of a table changes when rows are put back.
bool SameRows(const std::vector<exchange::StoredRow>& a, const std::vector<exchange::StoredRow>& b) {
    return std::is_permutation(a.begin(), a.end(), b.begin(), b.end());
}

}  // namespace

template <class Change>
void BankEditing::Within(std::u16string_view code, Change change) {
    const exchange::BankEntry entry = exchange::RequireBank(folder_.Banks(), code);
    const dao::Connection database(exchange::FileOf(folder_.Banks(), entry));
    database->Atomically([&] {
        exchange::BankRows rows(*database.operator->(), entry.code);
        change(rows, entry);
    });
}

void BankEditing::Open(std::u16string_view code, const exchange::Progress& progress) {
    const std::u16string wanted(code);
    code_.clear();
    questions_.clear();
    tables_.clear();
    const exchange::BankEntry entry = exchange::RequireBank(folder_.Banks(), wanted);
    const dao::Connection database(exchange::FileOf(folder_.Banks(), entry));
    exchange::BankRows rows(*database.operator->(), entry.code);
    std::vector<exchange::Question> questions = rows.Read(progress);
    for (const QuestionKindInfo& kind : QuestionKinds()) {
        if (!rows.Info(kind.kind).table.empty()) tables_.emplace(kind.kind, rows.Info(kind.kind));
    }
    uses_ = UsesOf(folder_, wanted);
    questions_ = std::move(questions);
    code_ = wanted;
}

void BankEditing::Put(std::u16string_view rec_no, std::optional<exchange::Question> question) {
    std::erase_if(questions_, [&](const exchange::Question& one) { return one.rec_no == rec_no; });
    if (!question) return;
    const auto before = [](const exchange::Question& a, const exchange::Question& b) {
        return std::tie(a.kind, a.rec_no) < std::tie(b.kind, b.rec_no);
    };
    const auto place = std::upper_bound(questions_.begin(), questions_.end(), *question, before);
    questions_.insert(place, *std::move(question));
}

const exchange::Question* BankEditing::Find(std::u16string_view rec_no) const {
    const auto found = std::find_if(questions_.begin(), questions_.end(),
                                    [&](const exchange::Question& one) { return one.rec_no == rec_no; });
    return found == questions_.end() ? nullptr : &*found;
}

QuestionUse BankEditing::UseOf(std::u16string_view rec_no) const {
    const auto found = uses_.find(std::u16string(rec_no));
    return found == uses_.end() ? QuestionUse() : found->second;
}

std::vector<ui::ListRow> BankEditing::Rows(std::optional<QuestionKind> kind, std::u16string_view search) const {
    const std::vector<std::u16string> words = Words(search);
    std::vector<ui::ListRow> rows;
    for (const exchange::Question& question : questions_) {
        if (kind && question.kind != *kind) continue;
        if (!words.empty()) {
            const std::u16string text = SearchedText(question);
            const bool has_all = std::all_of(words.begin(), words.end(), [&](const std::u16string& word) {
                return text.find(word) != std::u16string::npos;
            });
            if (!has_all) continue;
        }
        static constexpr const char16_t* kDifficulties[] = {u"", u"易", u"中", u"难"};
        const QuestionUse use = UseOf(question.rec_no);
        ui::ListRow row;
        row.key = u"q" + question.rec_no;
        row.cells = {question.rec_no,
                     std::u16string(InfoOf(question.kind).name),
                     exchange::Brief(question.stem.PlainText(), 120),
                     kDifficulties[std::clamp(question.difficulty, 0, 3)],
                     use.times == 0 ? u"" : ToText(use.times),
                     use.times == 0 ? u"" : ToText(use.Rate()) + u"%",
                     use.times == 0 ? u"" : Format(use.last, u"yyyy-mm-dd"),
                     question.category};
        rows.push_back(std::move(row));
    }
    return rows;
}

void BankEditing::Begin(std::u16string_view rec_no) {
    begun_.reset();
    std::optional<exchange::Question> now;
    Within(code_, [&](exchange::BankRows& rows, const exchange::BankEntry&) {
        now = rows.Find(rec_no);
        if (now) begun_.emplace(rec_no, rows.Rows(rec_no));
    });
    Put(rec_no, std::move(now));
    if (!begun_) RaiseComponentError(u"qmtrain", u"试题 " + std::u16string(rec_no) + u" 已被别人删除。");
}

std::u16string BankEditing::ProblemOf(const exchange::Question& question) const {
    if (std::u16string problem = exchange::ProblemOf(question); !problem.empty()) return problem;
    const auto table = tables_.find(question.kind);
    if (table == tables_.end()) {
        return u"题库没有存放" + std::u16string(InfoOf(question.kind).name) + u"的表。";
    }
    return exchange::ProblemOfSaving(table->second, question);
}

std::u16string BankEditing::Save(const exchange::Question& question) {
    if (std::u16string problem = exchange::ProblemOf(question); !problem.empty()) {
        RaiseComponentError(u"qmtrain", std::move(problem));
    }
    exchange::Question saved = question;
    Step step;
    step.code = code_;
    const std::set<std::u16string> taken = NumbersInUse(folder_, code_);
    std::optional<exchange::Question> now;
    Within(code_, [&](exchange::BankRows& rows, const exchange::BankEntry& entry) {
        const std::optional<exchange::Question> before = rows.Find(saved.rec_no);
        if (begun_ && begun_->first == saved.rec_no && !SameRows(begun_->second, rows.Rows(saved.rec_no))) {
            RaiseComponentError(u"qmtrain",
                                u"这道题已被别人修改，没有保存。请先把写好的文字复制出来，关闭后重新打开这道题。");
        }
        exchange::RequireSavable(rows, before ? &*before : nullptr, saved);
        if (saved.rec_no.empty()) saved.rec_no = rows.NewNumber(saved.kind, taken);
        if (!before) {
            rows.Add(saved, entry.subject);
        } else {
            step.before = rows.Rows(saved.rec_no);
            rows.Change(*before, saved);
        }
        now = rows.Find(saved.rec_no);
        step.after = rows.Rows(saved.rec_no);
    });
    begun_.reset();
    step.rec_no = saved.rec_no;
    step.text = (step.before.empty() ? u"新建 " : u"修改 ") + saved.rec_no;
    steps_.push_back(std::move(step));
    Put(saved.rec_no, std::move(now));
    return saved.rec_no;
}

void BankEditing::Remove(std::u16string_view rec_no) {
    Step step{u"删除 " + std::u16string(rec_no), code_, std::u16string(rec_no), {}};
    Within(code_, [&](exchange::BankRows& rows, const exchange::BankEntry&) {
        step.before = rows.Rows(rec_no);
        rows.Remove(rec_no);
    });
    steps_.push_back(std::move(step));
    Put(rec_no, std::nullopt);
}

std::u16string BankEditing::WarningBeforeRemoval(std::u16string_view rec_no) const {
    const QuestionUse use = UseOf(rec_no);
    std::u16string warning;
    if (use.times > 0)
        warning += u"这道题在练习历史中出现过 " + ToText(use.times) + u" 次，删除以后回顾试卷时看不到它。\n";
    if (use.has_notes) warning += u"有笔记写在这道题上。\n";
    int papers = 0;
    for (const Paper& paper : PapersOf(folder_, -1)) {
        papers += std::any_of(paper.questions.begin(), paper.questions.end(),
                              [&](const PaperQuestion& one) { return one.data_code == code_ && one.rec_no == rec_no; });
    }
    if (papers > 0) warning += u"有 " + ToText(papers) + u" 份试卷用到这道题，删除以后这些试卷不能再练习。\n";
    return warning;
}

std::u16string BankEditing::UndoText() const {
    return steps_.empty() ? u"" : u"撤销" + steps_.back().text;
}

std::u16string BankEditing::Undo() {
    const Step step = steps_.back();
    std::optional<exchange::Question> now;
    bool is_ours = false;
    Within(step.code, [&](exchange::BankRows& rows, const exchange::BankEntry&) {
        is_ours = SameRows(step.after, rows.Rows(step.rec_no));
        if (is_ours && !step.after.empty()) rows.Remove(step.rec_no);
        if (is_ours) rows.PutBack(step.before);
        now = rows.Find(step.rec_no);
    });
    steps_.pop_back();
    if (step.code == code_) {
        Put(step.rec_no, std::move(now));
    } else {
        Open(step.code);
    }
    if (!is_ours) {
        RaiseComponentError(u"qmtrain", u"试题 " + step.rec_no + u" 已被别人修改，不能撤销“" + step.text + u"”。");
    }
    return step.rec_no;
}

QuestionContent Shown(const exchange::Question& question) {
    QuestionContent shown;
    shown.kind = question.kind;
    shown.stem = question.stem;
    for (const exchange::Option& option : question.options) shown.options.push_back(option.text);
    shown.blanks = static_cast<int>(question.blanks.size());
    shown.answer = exchange::StoredAnswer(question);
    return shown;
}

}  // namespace qmtrain::host
