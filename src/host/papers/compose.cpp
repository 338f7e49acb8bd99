#include "host/papers/compose.h"

#include <algorithm>
#include <random>

#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "dao/dao.h"
#include "host/data/people.h"
#include "host/papers/papers.h"

namespace qmtrain::host {
namespace {

struct Usual {
    QuestionKind kind;
    int count;
    float score;  // of each
};

constexpr Usual kUsual[] = {{QuestionKind::Single, 20, 2},
                            {QuestionKind::Multiple, 5, 4},
                            {QuestionKind::YesNo, 10, 2},
                            {QuestionKind::Fill, 5, 4}};
constexpr std::size_t kLongestTitle = 100;

void ReadQuestions(const std::u16string& file, Bank& bank, bool by_subject) {
    RequireNoQuote(bank.code);
    const dao::Connection database(file);
    const std::u16string of_bank =
        u"'" + bank.code + u"'" + (by_subject ? u" And SubjectCode=" + ToText(bank.subject) : std::u16string());
    const auto tables = database->OpenRecordset(u"Select * From Tbl_Information Where C_DataCode='" + bank.code + u"'");
    for (; !tables->Eof(); tables->MoveNext()) {
        const std::u16string table = TextOr(tables->Fields(u"C_Tblname").Value(), u"");
        const std::u16string code = TextOr(tables->Fields(u"C_TblCode").Value(), u"");
        const QuestionKind kind = KindOfTable(table);
        if (kind == QuestionKind::Unknown || kind == QuestionKind::Operation) continue;
        std::vector<std::u16string>& numbers = bank.questions[kind];
        const auto rows = database->OpenRecordset(u"Select C_RecNo From " + table + u" Where C_DataCode=" + of_bank +
                                                  u" Order By C_RecNo");
        for (; !rows->Eof(); rows->MoveNext()) {
            std::u16string number = TextOr(rows->Fields(0).Value(), u"");
            if (number.size() > 4 && EqualNames(number.substr(2, 2), code)) numbers.push_back(std::move(number));
        }
        if (numbers.empty()) bank.questions.erase(kind);
    }
}

void RequirePlan(const Bank& bank, const PaperPlan& plan) {
    const auto refuse = [](std::u16string_view reason) { RaiseComponentError(u"qmtrain", std::u16string(reason)); };
    if (plan.title.find_first_not_of(u' ') == std::u16string::npos) refuse(u"请输入试卷名称。");
    if (plan.title.size() > kLongestTitle) refuse(u"试卷名称最多 100 个字。");
    if (plan.minutes < 1 || plan.minutes > 600) refuse(u"考试时间应当是 1 到 600 分钟。");
    int all = 0;
    for (const auto& [kind, count] : plan.counts) {
        const auto has = bank.questions.find(kind);
        if (count > 0 && has != bank.questions.end()) all += std::min(count, static_cast<int>(has->second.size()));
    }
    if (all == 0) refuse(u"请至少选择一道试题。");
}

}  // namespace

std::vector<Bank> BanksOf(const DataFolder& folder, Edition edition) {
    const bool is_net = edition == Edition::Network;
    std::vector<Bank> banks;
    {
        const dao::Connection catalogue(is_net ? folder.LocalPaper() : InFolder(folder.Banks(), u"Total.mdb"));
        const auto rows = catalogue->OpenRecordset(u"Select * From Tbl_Subject Order By SubjectCode, C_DataCode");
        for (; !rows->Eof(); rows->MoveNext()) {
            Bank bank;
            bank.code = TextOr(rows->Fields(u"C_DataCode").Value(), u"");
            bank.name = TextOr(rows->Fields(u"C_DataDescription").Value(), u"");
            bank.subject = LongOr(rows->Fields(u"SubjectCode").Value(), 0);
            if (!is_net) bank.file = TextOr(rows->Fields(u"C_DataName").Value(), u"");
            banks.push_back(std::move(bank));
        }
    }
    for (Bank& bank : banks) {
        try {
            ReadQuestions(is_net ? folder.LocalPaper() : folder.Bank(bank.file), bank, is_net);
        } catch (const AutomationError& error) {
            bank.problem = error.Description();
        }
    }
    return banks;
}

PaperPlan UsualPlan(const Bank& bank) {
    PaperPlan plan;
    plan.title = bank.name + u" 练习卷";
    plan.minutes = 30;
    for (const Usual& usual : kUsual) {
        const auto has = bank.questions.find(usual.kind);
        if (has != bank.questions.end()) {
            plan.counts[usual.kind] = std::min(usual.count, static_cast<int>(has->second.size()));
        }
    }
    return plan;
}

std::int32_t ComposePaper(const DataFolder& folder, const Bank& bank, const PaperPlan& plan, unsigned seed) {
    RequirePlan(bank, plan);
    AddSubject(folder, {bank.subject, bank.name, u""});
    AddQuestionTypes(folder, bank.subject);
    std::mt19937 random(seed);
    std::int32_t paper_no = 0;
    dao::Connection host(folder.Host());
    host->Atomically([&] {
        Paper paper{.subject = bank.subject, .title = plan.title, .minutes = plan.minutes};
        for (const Usual& usual : kUsual) {
            const auto wanted = plan.counts.find(usual.kind);
            const auto has = bank.questions.find(usual.kind);
            if (wanted == plan.counts.end() || wanted->second < 1 || has == bank.questions.end()) continue;
            std::vector<std::u16string> drawn = has->second;
            std::shuffle(drawn.begin(), drawn.end(), random);
            drawn.resize(std::min(drawn.size(), static_cast<std::size_t>(wanted->second)));
            for (const std::u16string& rec_no : drawn) {
                paper.questions.push_back(
                    {.type = InfoOf(usual.kind).type, .data_code = bank.code, .rec_no = rec_no, .score = usual.score});
            }
        }
        WritePaper(*host.operator->(), paper);
        paper_no = paper.number;
    });
    return paper_no;
}

}  // namespace qmtrain::host
