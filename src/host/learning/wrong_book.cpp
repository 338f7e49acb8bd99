#include "host/learning/wrong_book.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "core/trap.h"
#include "host/papers/outcome.h"
#include "host/widgets/signs.h"
#include "notes/note.h"
#include "ui/client_problem.h"

namespace qmtrain::host {
namespace {

std::u16string StateText(const WrongEntry& entry) {
    return entry.item.right_since ? WithSign(kRightSign, u"已做对") : WithSign(kWrongSign, u"还没做对");
}

std::u16string TimesText(const WrongEntry& entry) {
    return ToText(entry.item.wrong_times) + u" / " + ToText(entry.item.times);
}

std::u16string DateText(Date date) {
    return Format(date, u"yyyy-mm-dd");
}

std::u16string NoteOn(const WrongBook& book, const DataFolder& folder, const PracticedQuestion& question) {
    Note note;
    note.ClientPath(folder.path);
    std::u16string problem;
    if (!note.Init(problem)) return {};
    note.LoadFromOther(question.data_code, question.rec_no, question.subject, false, book.User());
    if (note.NoteID() == -1) return {};
    return note.Name() + (note.Content().empty() ? u"" : u"\n" + note.Content());
}

}  // namespace

Date FirstDay(WrongPeriod period, Date today) {
    switch (period) {
        case WrongPeriod::Always: return {};
        case WrongPeriod::Week: return {std::floor(today.days) - 6};
        case WrongPeriod::Month: return {std::floor(today.days) - 29};
        case WrongPeriod::Quarter: return {std::floor(today.days) - 89};
    }
    return {};
}

WrongBook::WrongBook(DataFolder folder, Edition edition, std::int32_t user, std::int32_t subject)
    : source_(std::move(folder), edition), user_(user), subject_(subject) {}

void WrongBook::Find(Date from, std::vector<WrongQuestion>& into) {
    const TrapWatch watch;
    std::u16string problem;
    wrong_.ClientPath(source_.Folder().path);
    if (!wrong_.Init(problem) && !problem.empty()) RaiseComponentError(u"qmtrain", problem);
    wrong_.UserId(user_);
    wrong_.SubjectCode(subject_);
    wrong_.StartDate(from);
    wrong_.Load();
    if (watch.First()) RaiseComponentError(u"qmtrain", ui::ClientProblem(*watch.First()));
    into = wrong_.Items();
}

void WrongBook::Load() {
    std::vector<WrongQuestion> found;
    Find({}, found);
    std::map<std::pair<std::int32_t, std::u16string>, WrongEntry> known;  // texts that were read before
    for (WrongEntry& entry : all_) {
        known.emplace(
            std::pair(entry.item.question.subject, entry.item.question.data_code + u"|" + entry.item.question.rec_no),
            std::move(entry));
    }
    all_.clear();
    within_.clear();
    for (WrongQuestion& item : found) {
        WrongEntry entry;
        const auto before = known.find({item.question.subject, item.question.data_code + u"|" + item.question.rec_no});
        if (before != known.end()) {
            entry = before->second;
        } else {
            entry.title = source_.Title(item.question.subject, item.question.data_code, item.question.rec_no);
            if (entry.title.empty()) entry.title = u"（题库中没有这道题）";
            entry.bank = source_.BankName(item.question.subject, item.question.data_code);
            entry.type = source_.TypeName(item.question.subject, item.question.type, item.question.distin);
        }
        entry.item = std::move(item);
        all_.push_back(std::move(entry));
    }
}

std::vector<const WrongEntry*> WrongBook::Filtered(const WrongFilter& filter, Date today) {
    const std::vector<WrongEntry>* entries = &all_;
    const Date from = FirstDay(filter.period, today);
    // Answers are looked up in what was found last.
    std::vector<WrongQuestion> found;
    const bool is_new = from.days != wrong_.StartDate().days;
    if (is_new) Find(from, found);
    if (from.days != 0 && is_new) {
        std::map<std::pair<std::int32_t, std::u16string>, const WrongEntry*> texts;
        for (const WrongEntry& entry : all_) {
            texts[{entry.item.question.subject, entry.item.question.data_code + u"|" + entry.item.question.rec_no}] =
                &entry;
        }
        within_.clear();
        for (WrongQuestion& item : found) {
            const auto text =
                texts.find({item.question.subject, item.question.data_code + u"|" + item.question.rec_no});
            if (text == texts.end()) continue;
            WrongEntry entry = *text->second;
            entry.item = std::move(item);
            within_.push_back(std::move(entry));
        }
    }
    if (from.days != 0) entries = &within_;
    std::vector<const WrongEntry*> shown;
    const auto has = [&](const std::u16string& text) {
        return qmtrain::Find(text, filter.search, 0, Case::Ignored) != std::u16string::npos;
    };
    for (const WrongEntry& entry : *entries) {
        const PracticedQuestion& question = entry.item.question;
        if (!filter.data_code.empty() && ToUpper(question.data_code) != ToUpper(filter.data_code)) continue;
        if (filter.type != -1 && question.type != filter.type) continue;
        if (entry.item.wrong_times < filter.least_times) continue;
        if (filter.only_open && entry.item.right_since) continue;
        if (!filter.search.empty() && !has(entry.title) && !has(question.rec_no) && !has(entry.bank) &&
            !has(entry.type))
            continue;
        shown.push_back(&entry);
    }
    return shown;
}

std::vector<std::pair<std::u16string, std::u16string>> WrongBook::Banks() const {
    std::map<std::u16string, std::u16string> banks;
    for (const WrongEntry& entry : all_) banks.emplace(entry.item.question.data_code, entry.bank);
    return {banks.begin(), banks.end()};
}

std::vector<std::pair<std::int32_t, std::u16string>> WrongBook::Types() const {
    std::map<std::int32_t, std::u16string> types;
    for (const WrongEntry& entry : all_) types.emplace(entry.item.question.type, entry.type);
    return {types.begin(), types.end()};
}

bool WrongBook::Remove(const WrongEntry& entry) {
    const PracticedQuestion& question = entry.item.question;
    return wrong_.Remove(question.subject, question.data_code, question.rec_no);
}

bool WrongBook::Restore(const WrongEntry& entry) {
    const PracticedQuestion& question = entry.item.question;
    return wrong_.Restore(question.subject, question.data_code, question.rec_no);
}

std::u16string WrongBook::StudentAnswer(const WrongEntry& entry) {
    const std::vector<WrongQuestion>& items = wrong_.Items();
    const PracticedQuestion& wanted = entry.item.question;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const PracticedQuestion& one = items[i].question;
        if (one.subject != wanted.subject || one.rec_no != wanted.rec_no || one.data_code != wanted.data_code) continue;
        return wrong_.LoadItem(static_cast<std::int32_t>(i) + 1) ? wrong_.ItemStudentAnswer() : std::u16string();
    }
    return {};
}

ui::ListRow ToListRow(const WrongEntry& entry) {
    ui::ListRow row;
    const PracticedQuestion& question = entry.item.question;
    row.key = u"Q" + ToText(question.subject) + u"|" + question.data_code + u"|" + question.rec_no;
    row.cells = {question.rec_no,  entry.title,
                 entry.type,       entry.bank,
                 TimesText(entry), DateText(entry.item.last_wrong),
                 StateText(entry), Format(entry.item.wrong_times, u"00000")};
    return row;
}

std::vector<DrillQuestion> ToDrill(const std::vector<const WrongEntry*>& entries) {
    std::vector<DrillQuestion> questions;
    for (const WrongEntry* entry : entries) {
        const PracticedQuestion& question = entry->item.question;
        questions.push_back({question.data_code, question.rec_no, question.type, question.distin, question.difficult,
                             entry->item.full});
    }
    return questions;
}

document::RichText WrongText(WrongBook& book, const WrongEntry& entry) {
    const PracticedQuestion& asked = entry.item.question;
    document::RichText text;
    QuestionContent question;
    try {
        question = book.Source().Load(asked.subject, asked.data_code, asked.rec_no);
        text = question.stem;
        char16_t letter = u'A';
        for (const document::RichText& option : question.options) {
            text.EndParagraph();
            text.SetParagraphFormat({});
            text.AppendText(std::u16string(1, letter++) + u". ");
            text.Append(option);
        }
    } catch (const AutomationError& error) {
        text.AppendText(error.Description());
    }
    text.EndParagraph();
    report::AppendLine(text, u"我的答案", ShownAnswer(question.kind, book.StudentAnswer(entry)));
    if (question.kind != QuestionKind::Unknown)
        report::AppendLine(text, u"正确答案", ShownAnswer(question.kind, question.answer));
    report::AppendLine(text, u"错误次数",
                       TimesText(entry) + u"（最近一次 " + DateText(entry.item.last_wrong) + u"，得 " +
                           ToText(Value(entry.item.got)) + u" / " + ToText(Value(entry.item.full)) + u" 分）");
    const std::u16string note = NoteOn(book, book.Source().Folder(), asked);
    if (!note.empty()) report::AppendLine(text, u"笔记", note);
    return text;
}

report::Report WrongReport(WrongBook& book, const std::vector<const WrongEntry*>& entries, std::u16string_view whose) {
    report::Report made;
    made.title = u"错题本";
    made.subtitle = std::u16string(whose).append(u"，共 ") + ToText(entries.size()) + u" 题";
    for (const char16_t* header : kWrongHeaders) made.data.columns.push_back({header});
    made.data.columns.push_back({u"我的答案"});
    int number = 0;
    for (const WrongEntry* entry : entries) {
        ui::ListRow row = ToListRow(*entry);
        row.cells.resize(std::size(kWrongHeaders));
        row.cells.push_back(book.StudentAnswer(*entry));
        made.data.rows.push_back(std::move(row.cells));
        made.sections.push_back(
            {ToText(++number) + u". " + entry->type + u"　" + entry->item.question.rec_no + u"　" + entry->bank,
             WrongText(book, *entry)});
    }
    return made;
}

}  // namespace qmtrain::host
