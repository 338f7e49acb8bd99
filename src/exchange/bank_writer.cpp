#include <optional>
#include <system_error>

#include "bank/create_bank.h"
#include "core/error.h"
#include "core/files.h"
#include "dao/dao.h"
#include "dao/transaction.h"
#include "exchange/bank_file.h"
#include "exchange/bank_rows.h"

namespace qmtrain::exchange {
namespace {

// An empty bank in which the tables of our own banks are known. One that stands there already is taken only when it
// is empty: an import that was killed has left it.
class NewBank {
public:
    NewBank(const std::u16string& file, const BankEntry& bank) : file_(file) {
        if (FileExists(file)) {
            const dao::Connection database(file);
            if (!BankRows(*database.operator->(), bank.code).Read().empty()) {
                RaiseComponentError(u"qmtrain",
                                    u"文件“" + file + u"”已经存在，而题库目录中没有它；请改用别的题库代码。");
            }
            return;
        }
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
        made_ = true;
    }
    NewBank(const NewBank&) = delete;
    NewBank& operator=(const NewBank&) = delete;
    ~NewBank() {
        if (!made_) return;
        std::error_code ignored;
        std::filesystem::remove(ToNativePath(file_), ignored);
    }
    void Keep() { made_ = false; }

private:
    std::u16string file_;
    bool made_ = false;
};

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
            rows.Change(Merged(plan.existing[one.existing], questions[i]));
        }
    }
}

}  // namespace

std::u16string FileOf(std::u16string_view folder, const BankEntry& bank);

void CarryOut(std::u16string_view folder, const ImportPlan& plan, std::span<const Question> questions,
              const ImportChoice& choice, const Progress& progress) {
    const std::u16string file = FileOf(folder, plan.bank);
    std::optional<NewBank> made;
    if (plan.is_new) made.emplace(file, plan.bank);
    {
        // Record sets and databases close before the transaction is undone.
        dao::Transaction transaction;
        const dao::Connection database(file);
        BankRows rows(*database.operator->(), plan.bank.code);
        WriteQuestions(rows, plan, questions, choice, progress);
        const dao::Connection catalogue(InFolder(folder, u"Total.mdb"));
        if (plan.is_new) AddEntry(*catalogue.operator->(), plan.bank);
        transaction.Commit();
    }
    if (made) made->Keep();
}

}  // namespace qmtrain::exchange
