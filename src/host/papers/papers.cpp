#include "host/papers/papers.h"

#include <algorithm>

#include "bank/data_info.h"
#include "bank/fill_answer.h"
#include "bank/question_item.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "dao/dao.h"
#include "records/train_info.h"
#include "ui/question_text.h"

namespace qmtrain::host {
namespace {

constexpr std::int32_t kMostMinutes = 6000;
constexpr std::size_t kMostOptions = 26;  // A to Z

// Answers beyond a Long would make every reader of the result fail.
bool IsLongOrNone(std::u16string_view answer) {
    if (!IsNumeric(answer)) return true;
    try {
        ToLong(answer);
    } catch (const AutomationError&) {
        return false;
    }
    return true;
}

std::vector<PaperQuestion> QuestionsOf(dao::Connection& host, std::int32_t paper) {
    std::vector<PaperQuestion> questions;
    const auto rows =
        host->OpenRecordset(u"Select * From PaperQuestions Where PaperNo=" + ToText(paper) + u" Order By QuestionNo");
    for (; !rows->Eof(); rows->MoveNext()) {
        PaperQuestion question;
        question.number = ToLong(rows->Fields(u"QuestionNo").Value());
        question.type = LongOr(rows->Fields(u"QuestionType").Value(), 0);
        question.data_code = TextOr(rows->Fields(u"DataCode").Value(), u"");
        question.rec_no = TextOr(rows->Fields(u"RecNo").Value(), u"");
        question.score = SingleOr(rows->Fields(u"Score").Value(), 0);
        question.distin = LongOr(rows->Fields(u"Distin").Value(), 1);
        question.difficult = LongOr(rows->Fields(u"Difficult").Value(), 1);
        question.keywords = TextOr(rows->Fields(u"Keywords").Value(), u"");
        questions.push_back(std::move(question));
    }
    return questions;
}

std::vector<Paper> Papers(const DataFolder& folder, const std::u16string& condition) {
    dao::Connection host(folder.Host());
    std::vector<Paper> papers;
    const auto rows = host->OpenRecordset(u"Select * From Papers Where " + condition + u" Order By PaperNo");
    for (; !rows->Eof(); rows->MoveNext()) {
        Paper paper;
        paper.number = ToLong(rows->Fields(u"PaperNo").Value());
        paper.subject = LongOr(rows->Fields(u"SubjectCode").Value(), 0);
        paper.title = TextOr(rows->Fields(u"Title").Value(), u"");
        paper.theory_no = LongOr(rows->Fields(u"TheoryNo").Value(), 0);
        paper.operation_no = LongOr(rows->Fields(u"OperationNo").Value(), 0);
        paper.minutes = std::clamp(LongOr(rows->Fields(u"Minutes").Value(), 60), 0, kMostMinutes);
        paper.questions = QuestionsOf(host, paper.number);
        papers.push_back(std::move(paper));
    }
    return papers;
}

std::int32_t NextNumber(dao::Database& host, const std::u16string& of) {
    const auto rows = host.OpenRecordset(u"Select Max(" + of);
    return LongOr(rows->Fields(0).Value(), 0) + 1;
}

std::optional<Paper> First(std::vector<Paper> papers) {
    if (papers.empty()) return std::nullopt;
    return std::move(papers.front());
}

// The stand-alone edition of the component leaves options alone; they stand in the bank all the same.
std::shared_ptr<TextCollection> OptionsInBank(const DataFolder& folder, const PaperQuestion& place) {
    RequireNoQuote(place.rec_no);
    DataInfo catalogue;
    catalogue.TotalPath(folder.Banks());
    if (!catalogue.InitDb() || !catalogue.LoadFromDataCode(place.data_code, -1)) return nullptr;
    const dao::Connection bank(folder.Bank(catalogue.MdbName()));
    const auto rows = bank->OpenRecordset(u"Select C_ChoiceAnswer,M_answercont From Tbl_ChoiceVice Where C_RecNo='" +
                                          place.rec_no + u"' Order By C_ChoiceAnswer");
    auto options = std::make_shared<TextCollection>();
    for (; !rows->Eof(); rows->MoveNext()) {
        options->Add(TextOr(rows->Fields(u"M_answercont").Value(), u""),
                     TextOr(rows->Fields(u"C_ChoiceAnswer").Value(), u""));
    }
    return options;
}

// What the catalogue says of a bank, for messages.
struct BankEntry {
    std::u16string name;
    std::u16string file;
};

std::optional<BankEntry> EntryOf(const DataFolder& folder, Edition edition, std::int32_t subject,
                                 std::u16string_view data_code) {
    DataInfo catalogue;
    catalogue.IsNet(edition == Edition::Network);
    if (edition == Edition::Network) {
        catalogue.LocalMdbPath(folder.LocalPaper());
    } else {
        catalogue.TotalPath(folder.Banks());
    }
    if (!catalogue.InitDb() || !catalogue.LoadFromDataCode(data_code, subject)) return std::nullopt;
    return BankEntry{catalogue.Description(), catalogue.MdbName()};
}

// Why a question is not there: the reason that the user can do something about.
[[noreturn]] void RaiseMissing(const DataFolder& folder, Edition edition, std::int32_t subject,
                               const PaperQuestion& place, std::u16string_view otherwise) {
    const std::optional<BankEntry> entry = EntryOf(folder, edition, subject, place.data_code);
    if (!entry) {
        RaiseComponentError(u"qmtrain",
                            u"题库目录中没有代码为“" + place.data_code + u"”的题库（试题 " + place.rec_no + u"）。");
    }
    const std::u16string bank = u"题库“" + entry->name + u"”（" +
                                (edition == Edition::Network ? std::u16string(u"LocalPaper.mdb") : entry->file) + u"）";
    if (edition == Edition::StandAlone) {
        const std::u16string file = folder.Bank(entry->file);
        if (!FileExists(file)) RaiseComponentError(u"qmtrain", bank + u"的文件不存在：" + file);
    }
    RaiseComponentError(u"qmtrain", (bank + u"中的试题 " + place.rec_no + u" 无法使用：").append(otherwise));
}

std::vector<document::RichText> OptionTexts(const TextCollection* options) {
    std::vector<document::RichText> texts;
    if (options == nullptr) return texts;
    for (const TextCollection::Entry& option : *options) texts.push_back(ui::StoredText(option.item));
    return texts;
}

}  // namespace

void WritePaper(dao::Database& host, Paper& paper) {
    paper.number = NextNumber(host, u"PaperNo) From Papers");
    // Trainings know their paper by these: no other one of the subject may have the same.
    paper.theory_no = NextNumber(host, u"TheoryNo) From Papers Where SubjectCode=" + ToText(paper.subject));
    const auto papers = host.OpenRecordset(u"Select Top 1 * From Papers");
    papers->AddNew();
    papers->Fields(u"PaperNo").Value(paper.number);
    papers->Fields(u"SubjectCode").Value(paper.subject);
    papers->Fields(u"Title").Value(paper.title);
    papers->Fields(u"TheoryNo").Value(paper.theory_no);
    papers->Fields(u"OperationNo").Value(paper.operation_no);
    papers->Fields(u"Minutes").Value(paper.minutes);
    papers->Update();
    std::int32_t number = 0;
    const auto rows = host.OpenRecordset(u"Select Top 1 * From PaperQuestions");
    for (PaperQuestion& question : paper.questions) {
        question.number = ++number;
        rows->AddNew();
        rows->Fields(u"PaperNo").Value(paper.number);
        rows->Fields(u"QuestionNo").Value(question.number);
        rows->Fields(u"QuestionType").Value(question.type);
        rows->Fields(u"DataCode").Value(question.data_code);
        rows->Fields(u"RecNo").Value(question.rec_no);
        rows->Fields(u"Score").Value(question.score);
        rows->Fields(u"Distin").Value(question.distin);
        rows->Fields(u"Difficult").Value(question.difficult);
        if (!question.keywords.empty()) rows->Fields(u"Keywords").Value(question.keywords);
        rows->Update();
    }
}

PracticeSource SourceIn(const DataFolder& folder, Edition edition, std::int32_t user, std::int32_t subject) {
    return {folder.path, folder.Banks(), folder.LocalPaper(), edition == Edition::Network, user, subject};
}

float Paper::FullScore() const {
    double sum = 0;
    for (const PaperQuestion& question : questions) sum += static_cast<double>(question.score);
    return static_cast<float>(sum);
}

std::vector<Paper> PapersOf(const DataFolder& folder, std::int32_t subject) {
    return Papers(folder, subject == -1 ? std::u16string(u"PaperNo Is Not Null") : u"SubjectCode=" + ToText(subject));
}

std::optional<Paper> FindPaper(const DataFolder& folder, std::int32_t number) {
    return First(Papers(folder, u"PaperNo=" + ToText(number)));
}

std::optional<Paper> PaperOfTraining(const DataFolder& folder, std::int32_t train_id) {
    TrainInfo train;
    train.ClientPath(folder.path);
    std::u16string problem;
    if (!train.Init(problem)) return std::nullopt;
    train.LoadFromID(train_id);
    return First(Papers(folder, u"SubjectCode=" + ToText(train.SubjectCode()) + u" And TheoryNo=" +
                                    ToText(train.TheoryNo()) + u" And OperationNo=" + ToText(train.OperationNo())));
}

Paper OnlyQuestions(Paper paper, const std::vector<std::int32_t>& numbers) {
    if (numbers.empty()) return paper;
    std::erase_if(paper.questions, [&](const PaperQuestion& question) {
        return std::find(numbers.begin(), numbers.end(), question.number) == numbers.end();
    });
    return paper;
}

QuestionContent LoadQuestion(const DataFolder& folder, Edition edition, std::int32_t subject,
                             const PaperQuestion& place) {
    // Before anything is opened.
    if (edition == Edition::StandAlone) {
        const std::optional<BankEntry> entry = EntryOf(folder, edition, subject, place.data_code);
        if (entry) folder.Bank(entry->file);
    }
    QuestionItem item;
    item.IsNet(edition == Edition::Network);
    item.DataMdbPath(folder.Banks());
    if (edition == Edition::Network) item.LocalPaperMdb(folder.LocalPaper());
    item.DataCode(place.data_code);
    item.RecNo(place.rec_no);
    item.SubjectCode(subject);
    const auto missing = [&](std::u16string_view reason) { RaiseMissing(folder, edition, subject, place, reason); };
    std::u16string problem;
    if (!item.InitQuestionItem(problem)) missing(problem);
    if (item.Title().empty() && item.Answer().empty()) missing(u"题库中没有这个题号。");

    QuestionContent question;
    question.kind = item.Kind();
    question.answer = item.Answer();
    if (question.kind == QuestionKind::Unknown) missing(u"题型无法识别。");
    std::shared_ptr<TextCollection> options = item.ChoiceItems();
    const bool choice = IsChoice(question.kind);
    if (choice && !options) options = OptionsInBank(folder, place);
    question.stem = ui::StoredText(item.Title());
    question.options = OptionTexts(options.get());
    if (choice && question.options.empty()) missing(u"没有选择项。");
    if (choice && question.options.size() > kMostOptions) missing(u"选择项太多。");
    if (choice && !IsLongOrNone(question.answer)) missing(u"标准答案无法识别。");
    if (question.kind == QuestionKind::Fill) {
        FillAnswer answer;
        answer.Answer(item.Answer());
        question.blanks = answer.GetFillCount();
    }
    return question;
}

}  // namespace qmtrain::host
