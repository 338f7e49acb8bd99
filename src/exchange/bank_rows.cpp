#include "exchange/bank_rows.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <optional>
#include <unordered_map>
#include <utility>

#include "core/convert.h"
#include "core/error.h"
#include "core/message_text.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "document/rtf_reader.h"
#include "document/rtf_writer.h"
#include "ui/question_text.h"

namespace qmtrain::exchange {
namespace {

constexpr std::size_t kPrefix = 2;
constexpr std::size_t kTableCode = 2;

bool HasColumn(dao::Recordset& rows, std::u16string_view name) {
    const auto& fields = rows.Fields();
    return std::any_of(fields.begin(), fields.end(),
                       [&](const auto& field) { return EqualNames(field->Name(), name); });
}

std::u16string TextIn(dao::Recordset& rows, std::u16string_view column) {
    return TextOr(rows.Fields(column).Value(), u"");
}

void SetOrNull(dao::Field& field, std::u16string_view text) {
    field.Value(text.empty() ? Value(Null()) : Value(std::u16string(text)));
}

// With the line ends of text boxes.
std::u16string WithCrLf(std::u16string_view text) {
    std::u16string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') continue;
        if (text[i] == u'\n') out += u'\r';
        out += text[i];
    }
    return out;
}

void ReplaceAll(std::u16string& text, std::u16string_view wanted, std::u16string_view replacement) {
    for (std::size_t at = 0; (at = text.find(wanted, at)) != std::u16string::npos; at += replacement.size()) {
        text.replace(at, wanted.size(), replacement);
    }
}

// None right where the answer is no such number: the question can be looked at and mended.
std::int32_t BitsOf(std::u16string_view answer) {
    const Value value{std::u16string(answer)};
    if (!IsNumeric(value)) return 0;
    const double number = ToDouble(value);
    return number >= 0 && number <= std::numeric_limits<std::int32_t>::max() ? static_cast<std::int32_t>(number) : 0;
}

// An explanation that a bank without a column for it keeps as a document. A destination that readers of RTF pass over
// tells it from a document of the question. Earlier versions wrote it without: what is byte for byte as our writer
// writes it is ours, for no document of a question was ever made by it.
constexpr std::string_view kRtfBeginning = "{\\rtf1";
constexpr std::string_view kAnalysisMark = "{\\*\\qmtrainanalysis}";

Bytes AnalysisDocument(const document::RichText& analysis) {
    std::string rtf = document::WriteRtf(analysis);
    rtf.insert(kRtfBeginning.size(), kAnalysisMark);
    return {rtf.begin(), rtf.end()};
}

void ReadAnalysisDocument(const Value& document, Question& question) {
    if (document.IsNull()) return;
    question.other_document = true;
    if (document.GetType() != Value::Type::Binary) return;
    const std::string rtf(document.Binary().begin(), document.Binary().end());
    if (!rtf.starts_with(kRtfBeginning)) return;
    const bool marked = std::string_view(rtf).substr(kRtfBeginning.size()).starts_with(kAnalysisMark);
    document::RichText analysis = document::ReadRtf(std::u16string(rtf.begin(), rtf.end()));
    if (!marked && document::WriteRtf(analysis) != rtf) return;
    question.analysis = std::move(analysis);
    question.other_document = false;
}

void SetAnswer(Question& question, std::u16string_view answer) {
    switch (question.kind) {
        case QuestionKind::YesNo: question.is_true = Trimmed(answer) == u"-1"; break;
        case QuestionKind::Fill:
            for (const std::u16string& blank : Split(answer, u'@')) question.blanks.push_back(Split(blank, u'#'));
            break;
        case QuestionKind::Operation: {
            question.requirements = answer;
            std::erase(question.requirements, u'\r');
            break;
        }
        default: break;
    }
}

void Require(bool condition, std::u16string text) {
    if (!condition) RaiseComponentError(u"qmtrain", std::move(text));
}

}  // namespace

// "^p" ends a paragraph wherever a bank's text is shown, in RTF as well: there the first character is written by its
// number.
std::u16string StoredText(const document::RichText& text) {
    const std::u16string plain = text.PlainText();
    if (IsPlain(text) && plain.find(u"^p") == std::u16string::npos && !Trimmed(plain).starts_with(u"{\\rtf")) {
        return WithCrLf(plain);
    }
    const std::string rtf = document::WriteRtf(text);
    std::u16string out(rtf.begin(), rtf.end());
    ReplaceAll(out, u"^p", u"\\'5ep");
    return out;
}

BankRows::BankRows(dao::Database& database, std::u16string code, std::optional<std::int32_t> subject)
    : database_(database), code_(std::move(code)), subject_(subject) {
    RequireNoQuote(code_);
    const auto directory = database_.OpenRecordset(u"Select * From Tbl_Information");
    for (; !directory->Eof(); directory->MoveNext()) {
        const std::u16string table = TextIn(*directory, u"C_Tblname");
        const QuestionKind kind = KindOfTable(table);
        if (kind == QuestionKind::Unknown) continue;
        TableInfo& info = tables_[kind];
        if (!info.table.empty()) continue;
        const auto rows = database_.OpenRecordset(u"Select Top 1 * From " + table);
        info = {table,
                TextIn(*directory, u"C_TblCode"),
                HasColumn(*rows, u"M_Analysis"),
                HasColumn(*rows, u"O_RudeCont"),
                HasColumn(*rows, u"C_Category"),
                HasColumn(*rows, u"I_Difficulty"),
                HasColumn(*rows, u"M_Keywords")};
        if (prefix_.empty() && HasRow(*rows)) prefix_ = TextIn(*rows, u"C_RecNo").substr(0, kPrefix);
    }
    if (prefix_.size() < kPrefix) prefix_ = (code_ + u"00").substr(0, kPrefix);
}

std::u16string BankRows::OfBank(std::u16string_view more) const {
    std::u16string condition(more);
    const auto add = [&](const std::u16string& part) { condition += (condition.empty() ? u"" : u" And ") + part; };
    if (subject_) {
        add(u"C_DataCode='" + code_ + u"'");
        add(u"SubjectCode=" + ToText(*subject_));
    }
    return condition.empty() ? u"" : u" Where " + condition;
}

std::u16string BankRows::OfQuestion(std::u16string_view rec_no) const {
    RequireNoQuote(rec_no);
    return OfBank(std::u16string(u"C_RecNo='").append(rec_no).append(u"'"));
}

const TableInfo* BankRows::TableOf(std::u16string_view rec_no) const {
    if (rec_no.size() < kPrefix + kTableCode) return nullptr;
    const auto found = std::find_if(tables_.begin(), tables_.end(), [&](const TableInfo& info) {
        return !info.table.empty() && EqualNames(info.table_code, rec_no.substr(kPrefix, kTableCode));
    });
    return found == tables_.end() ? nullptr : &*found;
}

void BankRows::ReadTable(QuestionKind kind, std::u16string_view condition, std::vector<Question>& out,
                         const EachRow& each) {
    const TableInfo& info = Info(kind);
    if (info.table.empty()) return;
    const auto rows =
        database_.OpenRecordset(u"Select * From " + info.table + std::u16string(condition) + u" Order By C_RecNo");
    const std::u16string_view answer_column = kind == QuestionKind::Operation ? u"M_Answer" : u"C_Answer";
    for (; !rows->Eof(); rows->MoveNext()) {
        if (each) each();
        Question question;
        question.kind = kind;
        question.rec_no = TextIn(*rows, u"C_RecNo");
        question.stem = ui::StoredText(TextIn(*rows, u"M_Title"));
        const std::u16string answer = TextIn(*rows, answer_column);
        SetAnswer(question, answer);
        // The options come later, and then the answer's bits are wanted.
        if (kind == QuestionKind::Single || kind == QuestionKind::Multiple) question.keywords = answer;
        if (info.analysis) question.analysis = ui::StoredText(TextIn(*rows, u"M_Analysis"));
        if (!info.analysis && info.documents) {
            ReadAnalysisDocument(rows->Fields(u"O_RudeCont").Value(), question);
        }
        if (info.category) question.category = TextIn(*rows, u"C_Category");
        if (info.difficulty) question.difficulty = LongOr(rows->Fields(u"I_Difficulty").Value(), 0);
        if (info.keywords) question.keywords = TextIn(*rows, u"M_Keywords");
        out.push_back(std::move(question));
    }
}

void BankRows::ReadOptions(std::u16string_view condition, std::vector<Question>& questions, const EachRow& each) {
    std::unordered_map<std::u16string, Question*> places;
    for (Question& question : questions) {
        if (question.kind == QuestionKind::Single || question.kind == QuestionKind::Multiple)
            places[question.rec_no] = &question;
    }
    if (places.empty()) return;
    const auto rows = database_.OpenRecordset(u"Select C_RecNo,C_ChoiceAnswer,M_answercont From Tbl_ChoiceVice" +
                                              std::u16string(condition) + u" Order By C_RecNo,C_ChoiceAnswer");
    for (; !rows->Eof(); rows->MoveNext()) {
        if (each) each();
        const auto place = places.find(TextOr(rows->Fields(0).Value(), u""));
        if (place != places.end()) {
            place->second->options.push_back({ui::StoredText(TextOr(rows->Fields(2).Value(), u"")), false});
        }
    }
    for (const auto& [rec_no, question] : places) {
        const std::int32_t bits = BitsOf(std::exchange(question->keywords, {}));
        for (std::size_t i = 0; i < question->options.size() && i < kMostOptions; ++i) {
            question->options[i].right = (bits >> i & 1) != 0;
        }
    }
}

std::size_t BankRows::CountRows(std::u16string_view table) const {
    const auto rows = database_.OpenRecordset(std::u16string(u"Select Count(*) As N From ").append(table) + OfBank());
    return static_cast<std::size_t>(std::max(0, LongOr(rows->Fields(0).Value(), 0)));
}

std::vector<Question> BankRows::Read(const Progress& progress) {
    constexpr std::size_t kRowsOfStep = 128;
    std::size_t all = 0;
    std::size_t done = 0;
    EachRow each;
    if (progress) {
        for (const TableInfo& info : tables_) all += info.table.empty() ? 0 : CountRows(info.table);
        all += CountRows(u"Tbl_ChoiceVice");
        each = [&] {
            if (done++ % kRowsOfStep == 0) Report(progress, std::min(done, all), all);
        };
    }
    std::vector<Question> questions;
    for (const QuestionKindInfo& kind : QuestionKinds()) ReadTable(kind.kind, OfBank(), questions, each);
    ReadOptions(OfBank(), questions, each);
    return questions;
}

std::optional<Question> BankRows::Find(std::u16string_view rec_no) {
    const TableInfo* table = TableOf(rec_no);
    if (table == nullptr) return std::nullopt;
    std::vector<Question> found;
    ReadTable(static_cast<QuestionKind>(table - tables_.begin()), OfQuestion(rec_no), found);
    if (found.empty()) return std::nullopt;
    ReadOptions(OfQuestion(rec_no), found);
    return std::move(found.front());
}

std::int32_t BankRows::LastNumber(QuestionKind kind, const std::set<std::u16string>& taken) {
    std::int32_t last = 0;
    const std::u16string beginning = prefix_ + Info(kind).table_code;
    const auto look = [&](std::u16string_view rec_no) {
        if (rec_no.size() <= beginning.size() || !EqualNames(rec_no.substr(0, beginning.size()), beginning)) return;
        const std::u16string_view digits = rec_no.substr(beginning.size());
        if (digits.size() > 9 || digits.find_first_not_of(u"0123456789") != std::u16string_view::npos) return;
        last = std::max(last, ToLong(Value(std::u16string(digits))));
    };
    const auto rows = database_.OpenRecordset(u"Select C_RecNo From " + Info(kind).table + OfBank());
    for (; !rows->Eof(); rows->MoveNext()) look(TextOr(rows->Fields(0).Value(), u""));
    for (const std::u16string& rec_no : taken) look(rec_no);
    return last;
}

std::u16string BankRows::NewNumber(QuestionKind kind, const std::set<std::u16string>& taken) {
    constexpr std::size_t kDigits = 4;
    std::int32_t& last = last_numbers_[kind];
    if (last < 0) last = LastNumber(kind, taken);
    std::u16string digits = ToText(++last);
    if (digits.size() < kDigits) digits.insert(0, kDigits - digits.size(), u'0');
    return prefix_ + Info(kind).table_code + digits;
}

void BankRows::Fill(dao::Recordset& row, const Question* before, const Question& question) {
    const TableInfo& info = Info(question.kind);
    const auto differs = [&](auto member) { return before == nullptr || before->*member != question.*member; };
    if (differs(&Question::stem)) row.Fields(u"M_Title").Value(StoredText(question.stem));
    if (before == nullptr || StoredAnswer(*before) != StoredAnswer(question)) {
        if (question.kind == QuestionKind::Operation) {
            SetOrNull(row.Fields(u"M_Answer"), WithCrLf(question.requirements));
        } else {
            row.Fields(u"C_Answer").Value(StoredAnswer(question));
        }
    }
    if (differs(&Question::analysis)) {
        const bool none = IsEmpty(question.analysis);
        if (info.analysis) {
            SetOrNull(row.Fields(u"M_Analysis"), none ? u"" : StoredText(question.analysis));
        } else if (info.documents && (before == nullptr || !before->other_document)) {
            row.Fields(u"O_RudeCont").Value(none ? Value(Null()) : Value(AnalysisDocument(question.analysis)));
        }
    }
    if (info.category && differs(&Question::category)) SetOrNull(row.Fields(u"C_Category"), question.category);
    if (info.difficulty && differs(&Question::difficulty)) {
        row.Fields(u"I_Difficulty").Value(question.difficulty == 0 ? Value(Null()) : Value(question.difficulty));
    }
    if (info.keywords && differs(&Question::keywords)) SetOrNull(row.Fields(u"M_Keywords"), question.keywords);
}

void BankRows::AddOptions(const Question& question, std::int32_t subject) {
    const bool is_choice = question.kind == QuestionKind::Single || question.kind == QuestionKind::Multiple;
    if (!is_choice || question.options.empty()) return;
    if (!adding_options_) adding_options_ = database_.OpenRecordset(u"Select * From Tbl_ChoiceVice");
    for (std::size_t i = 0; i < question.options.size(); ++i) {
        adding_options_->AddNew();
        adding_options_->Fields(u"C_RecNo").Value(question.rec_no);
        adding_options_->Fields(u"C_DataCode").Value(code_);
        adding_options_->Fields(u"SubjectCode").Value(subject);
        adding_options_->Fields(u"C_ChoiceAnswer").Value(std::u16string(1, LetterOf(i)));
        adding_options_->Fields(u"M_answercont").Value(StoredText(question.options[i].text));
        adding_options_->Update();
    }
}

void BankRows::Add(const Question& question, std::int32_t subject) {
    const TableInfo& info = Info(question.kind);
    Require(!info.table.empty(), u"题库没有存放" + std::u16string(InfoOf(question.kind).name) + u"的表。");
    std::shared_ptr<dao::Recordset>& rows = adding_[question.kind];
    if (!rows) rows = database_.OpenRecordset(u"Select * From " + info.table);
    rows->AddNew();
    rows->Fields(u"C_RecNo").Value(question.rec_no);
    rows->Fields(u"C_DataCode").Value(code_);
    rows->Fields(u"SubjectCode").Value(subject);
    Fill(*rows, nullptr, question);
    rows->Update();
    AddOptions(question, subject);
}

void BankRows::Change(const Question& before, const Question& question) {
    const TableInfo& info = Info(question.kind);
    const auto rows = database_.OpenRecordset(u"Select * From " + info.table + OfQuestion(question.rec_no));
    Require(!rows->Eof(), u"题库中已经没有试题 " + question.rec_no + u"。");
    const std::int32_t subject = LongOr(rows->Fields(u"SubjectCode").Value(), 0);
    rows->Edit();
    Fill(*rows, &before, question);
    rows->Update();
    const auto same_text = [](const Option& one, const Option& other) { return one.text == other.text; };
    if (std::ranges::equal(before.options, question.options, same_text)) return;  // which are right is in the answer
    database_.Execute(u"Delete From Tbl_ChoiceVice" + OfQuestion(question.rec_no));
    AddOptions(question, subject);
}

void BankRows::Remove(std::u16string_view rec_no) {
    const TableInfo* table = TableOf(rec_no);
    Require(table != nullptr, u"题库中没有试题 " + std::u16string(rec_no) + u"。");
    database_.Execute(u"Delete From " + table->table + OfQuestion(rec_no));
    database_.Execute(u"Delete From Tbl_ChoiceVice" + OfQuestion(rec_no));
}

std::vector<StoredRow> BankRows::Rows(std::u16string_view rec_no) {
    std::vector<StoredRow> stored;
    const TableInfo* table = TableOf(rec_no);
    if (table == nullptr) return stored;
    for (const std::u16string& name : {table->table, std::u16string(u"Tbl_ChoiceVice")}) {
        const auto rows = database_.OpenRecordset(u"Select * From " + name + OfQuestion(rec_no));
        for (; !rows->Eof(); rows->MoveNext()) {
            StoredRow& row = stored.emplace_back();
            row.table = name;
            for (const auto& field : rows->Fields()) row.fields.emplace_back(field->Name(), field->Value());
        }
    }
    return stored;
}

void BankRows::PutBack(const std::vector<StoredRow>& stored) {
    for (const StoredRow& row : stored) {
        const auto rows = database_.OpenRecordset(u"Select Top 1 * From " + row.table);
        rows->AddNew();
        for (const auto& [name, value] : row.fields) rows->Fields(name).Value(value);
        rows->Update();
    }
}

}  // namespace qmtrain::exchange
