#include "exchange/bank_file.h"

#include <algorithm>

#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "dao/dao.h"
#include "exchange/bank_limits.h"
#include "exchange/bank_rows.h"
#include "exchange/checks.h"

namespace qmtrain::exchange {
namespace {

constexpr std::size_t kLongestCode = 20;
constexpr std::size_t kLongestName = 255;
constexpr std::int32_t kMostSubjects = 9999;
constexpr std::u16string_view kOtherDocument = u"题库中存放解析的位置是这道题的另一个文档，不覆盖它，解析略去。";

std::u16string Catalogue(std::u16string_view folder) {
    return InFolder(folder, u"Total.mdb");
}

std::vector<BankEntry> Entries(std::u16string_view folder, const std::u16string& condition) {
    const dao::Connection catalogue(Catalogue(folder));
    const auto rows =
        catalogue->OpenRecordset(u"Select * From Tbl_Subject" + condition + u" Order By SubjectCode, C_DataCode");
    std::vector<BankEntry> banks;
    for (; !rows->Eof(); rows->MoveNext()) {
        banks.push_back(
            {TextOr(rows->Fields(u"C_DataCode").Value(), u""), TextOr(rows->Fields(u"C_DataDescription").Value(), u""),
             TextOr(rows->Fields(u"C_DataName").Value(), u""), LongOr(rows->Fields(u"SubjectCode").Value(), 0)});
    }
    return banks;
}

[[noreturn]] void Refuse(std::u16string text) {
    RaiseComponentError(u"qmtrain", std::move(text));
}

// The code begins record numbers, and names the file.
void RequireCode(std::u16string_view code) {
    const bool plain =
        !code.empty() && code.size() <= kLongestCode && std::all_of(code.begin(), code.end(), [](char16_t unit) {
            return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z') || (unit >= u'0' && unit <= u'9') ||
                   unit == u'_';
        });
    if (!plain) {
        Refuse(std::u16string(u"题库代码“").append(Brief(code)).append(u"”应当是 1 到 20 个英文字母或数字。"));
    }
    // The catalogue's own name, and those of Windows' devices.
    const std::u16string upper = ToUpper(code);
    const std::u16string_view head = std::u16string_view(upper).substr(0, 3);
    const bool numbered =
        upper.size() == 4 && (head == u"COM" || head == u"LPT") && upper[3] >= u'0' && upper[3] <= u'9';
    if (numbered || upper == u"TOTAL" || upper == u"CON" || upper == u"PRN" || upper == u"AUX" || upper == u"NUL") {
        Refuse(std::u16string(u"题库代码“").append(code).append(u"”不能用作文件名，请换一个。"));
    }
}

// What the bank cannot take of a question as it is in the file; nothing more of one that it cannot take at all.
// `rows`: of the bank, when there is one.
void AddNoticesOf(ImportPlan& plan, const Question& question, Recognised& one, BankRows* rows) {
    const auto add_notice = [&](Notice::Kind kind, std::u16string text) {
        plan.notices.push_back({kind, question.line, Brief(question.stem.PlainText()), std::move(text), question.file});
    };
    const auto refuse = [&](std::u16string text) {
        one.as = Recognised::As::Impossible;
        add_notice(Notice::Kind::Error, std::move(text));
    };
    if (rows != nullptr && rows->Info(question.kind).table.empty()) {
        return refuse(u"题库没有存放" + std::u16string(InfoOf(question.kind).name) + u"的表。");
    }
    if (one.as == Recognised::As::Repeated) return add_notice(Notice::Kind::Skipped, u"与前面的一道题相同。");
    if (rows == nullptr) return;
    const TableInfo& info = rows->Info(question.kind);
    const Question* before = one.as == Recognised::As::New ? nullptr : &plan.existing[one.existing];
    if (one.as != Recognised::As::Same) {
        const Question held = WithoutUnheldParts(info, question);
        const Question after = before == nullptr ? held : Merged(*before, held);
        std::u16string problem = ProblemOfCharacters(*rows, before, after);
        if (!problem.empty()) return refuse(std::move(problem));
        if (before != nullptr) one.changes = Differences(*before, after);
        if (before != nullptr && one.changes.empty()) one.as = Recognised::As::Same;
    }
    if (const std::u16string parts = PartsWithoutColumn(info, question); !parts.empty()) {
        add_notice(Notice::Kind::Changed, u"这个题库没有存放" + parts + u"的字段，略去。");
    }
    if (before != nullptr && before->other_document && !IsEmpty(question.analysis)) {
        add_notice(Notice::Kind::Changed, std::u16string(kOtherDocument));
    }
}

void AddNotices(ImportPlan& plan, std::span<const Question> questions, BankRows* rows) {
    plan.recognition = Recognise(plan.existing, questions);
    for (std::size_t i = 0; i < questions.size(); ++i) {
        AddNoticesOf(plan, questions[i], plan.recognition.questions[i], rows);
    }
}

}  // namespace

// A bank lies in the folder of its catalogue: what the catalogue says cannot lead out of it.
std::u16string FileOf(std::u16string_view folder, const BankEntry& bank) {
    const bool plain = !bank.file.empty() && bank.file != u"." && bank.file != u".." &&
                       bank.file.find_first_of(u"\\/:*?\"<>|") == std::u16string::npos;
    if (!plain) Raise(ErrorNumber::InvalidPath, {bank.file});
    return InFolder(folder, bank.file);
}

std::vector<BankEntry> BanksIn(std::u16string_view folder) {
    return Entries(folder, u"");
}

std::optional<BankEntry> FindBank(std::u16string_view folder, std::u16string_view code) {
    if (code.find(u'\'') != std::u16string_view::npos) return std::nullopt;
    std::vector<BankEntry> found = Entries(folder, std::u16string(u" Where C_DataCode='").append(code).append(u"'"));
    if (found.empty()) return std::nullopt;
    return std::move(found.front());
}

BankEntry RequireBank(std::u16string_view folder, std::u16string_view code) {
    std::optional<BankEntry> bank = FindBank(folder, code);
    if (!bank) Refuse(std::u16string(u"题库目录中没有代码为“").append(Brief(code)).append(u"”的题库。"));
    return *std::move(bank);
}

std::vector<Question> ReadBank(std::u16string_view folder, std::u16string_view code, const Progress& progress) {
    const BankEntry bank = RequireBank(folder, code);
    const dao::Connection database(FileOf(folder, bank));
    return BankRows(*database.operator->(), bank.code).Read(progress);
}

ImportPlan PlanImport(std::u16string_view folder, const BankEntry& wanted, std::span<const Question> questions,
                      const Progress& progress) {
    RequireCode(wanted.code);
    ImportPlan plan;
    plan.bank = wanted;
    std::optional<BankEntry> known;
    if (FileExists(Catalogue(folder))) known = FindBank(folder, wanted.code);
    plan.is_new = !known;
    if (known) {
        plan.bank = *known;
        if (wanted.subject != 0 && wanted.subject != known->subject) {
            Refuse(u"题库“" + known->name + u"”（" + known->code + u"）属于科目 " + ToText(known->subject) +
                   u"，不是科目 " + ToText(wanted.subject) + u"。");
        }
        const dao::Connection database(FileOf(folder, plan.bank));
        BankRows rows(*database.operator->(), plan.bank.code);
        plan.existing = rows.Read(progress);
        AddNotices(plan, questions, &rows);
    } else {
        if (plan.bank.subject == 0) plan.bank.subject = 1;
        if (plan.bank.subject < 1 || plan.bank.subject > kMostSubjects) Refuse(u"科目代码应当是 1 到 9999。");
        if (plan.bank.name.empty()) plan.bank.name = plan.bank.code;
        if (plan.bank.name.size() > kLongestName) Refuse(u"题库名称最多 255 个字。");
        plan.bank.file = plan.bank.code + u".mdb";
        if (const std::u16string file = FileOf(folder, plan.bank); FileExists(file)) {
            RequireEmptyBank(file, plan.bank.code);
        }
        if (FileExists(Catalogue(folder))) {
            const std::u16string lacking = dao::Connection(Catalogue(folder))->LackingCharacter(plan.bank.name);
            if (!lacking.empty()) Refuse(u"题库目录存不下题库名称中的字符" + lacking + u"，请换一个名称。");
        }
        AddNotices(plan, questions, nullptr);
    }
    return plan;
}

}  // namespace qmtrain::exchange
