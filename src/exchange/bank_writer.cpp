#include <algorithm>
#include <optional>

#include "bank/create_bank.h"
#include "core/error.h"
#include "core/files.h"
#include "dao/dao.h"
#include "dao/transaction.h"
#include "exchange/bank_file.h"
#include "exchange/bank_rows.h"

namespace qmtrain::exchange {
namespace {

// Makes an empty bank in which the tables of our own banks are known, unless a file is there. It stays when the import
// fails, for another import may have gone on with it by then; the next one takes an empty bank.
void RequireFile(const std::u16string& file, const BankEntry& bank) {
    if (FileExists(file)) return;
    try {
        CreateQuestionBank(file, [&](dao::Database& database) {
            AddTeachingColumns(database);
            const auto rows = database.OpenRecordset(u"Select * From Tbl_Information");
            for (const QuestionKindInfo& kind : QuestionKinds()) {
                rows->AddNew();
                rows->Fields(u"C_TblCode").Value(std::u16string(kind.table_code));
                rows->Fields(u"C_DataCode").Value(bank.code);
                rows->Fields(u"C_Tblname").Value(std::u16string(kind.table));
                rows->Update();
            }
        });
    } catch (const AutomationError& error) {
        // Another process has made the file meanwhile; whether it is empty is checked under its lock.
        if (!error.Is(ErrorNumber::DatabaseExists)) throw;
    }
}

void AddEntry(dao::Database& catalogue, const BankEntry& bank) {
    const auto rows = catalogue.OpenRecordset(u"Select * From Tbl_Subject");
    rows->AddNew();
    rows->Fields(u"C_DataCode").Value(bank.code);
    rows->Fields(u"SubjectCode").Value(bank.subject);
    rows->Fields(u"C_DataName").Value(bank.file);
    rows->Fields(u"C_DataDescription").Value(bank.name);
    rows->Update();
}

void WriteQuestions(BankRows& rows, const ImportPlan& plan, std::span<const Question> questions,
                    const ImportChoice& choice, const Progress& progress) {
    if (choice.replace) {
        for (const std::size_t gone : plan.recognition.not_found) rows.Remove(plan.existing[gone].rec_no);
    }
    // A number that has just become free belongs to the question that had it.
    std::set<std::u16string> taken = choice.taken;
    for (const Question& question : plan.existing) taken.insert(question.rec_no);
    for (std::size_t i = 0; i < questions.size(); ++i) {
        if (i % 64 == 0) Report(progress, i, questions.size());
        const Recognised& one = plan.recognition.questions[i];
        if (one.as == Recognised::As::New) {
            Question added = questions[i];
            added.rec_no = rows.NewNumber(added.kind, taken);
            rows.Add(added, plan.bank.subject);
        } else if (one.as == Recognised::As::Changed) {
            const Question& before = plan.existing[one.existing];
            rows.Change(before, Merged(before, questions[i]));
        }
    }
}

// While the file was compared with the bank, and the user looked at the preview, others may have written.
void RequireSame(bool same) {
    if (!same) RaiseComponentError(u"qmtrain", u"题库在预览以后有改动，没有写入；请再导入一次。");
}

}  // namespace

// What an import that was killed has left, and nothing else, may stand where a new bank is to be.
void RequireEmptyBank(const std::u16string& file, const std::u16string& code) {
    const dao::Connection database(file);
    if (BankRows(*database.operator->(), code).Read().empty()) return;
    RaiseComponentError(u"qmtrain", u"文件“" + file + u"”已经存在，而题库目录中没有它；请改用别的题库代码。");
}

void CarryOut(std::u16string_view folder, const ImportPlan& plan, std::span<const Question> questions,
              const ImportChoice& choice, const Progress& progress) {
    const std::u16string file = FileOf(folder, plan.bank);
    const std::optional<BankEntry> entry = FindBank(folder, plan.bank.code);
    RequireSame(plan.is_new ? !entry : entry && entry->file == plan.bank.file);
    if (plan.is_new) RequireFile(file, plan.bank);
    // Record sets and databases close before the transaction is undone.
    dao::Transaction transaction;
    const dao::Connection database(file);
    // No other writer may come between reading the bank and the first change.
    database->Atomically([&] {
        BankRows rows(*database.operator->(), plan.bank.code);
        const auto before_writing = [&](std::size_t, std::size_t) { return !progress || progress(0, 1); };
        RequireSame(std::ranges::equal(rows.Read(before_writing), plan.existing));
        WriteQuestions(rows, plan, questions, choice, progress);
    });
    const dao::Connection catalogue(InFolder(folder, u"Total.mdb"));
    if (plan.is_new) AddEntry(*catalogue.operator->(), plan.bank);
    transaction.Commit();
}

}  // namespace qmtrain::exchange
