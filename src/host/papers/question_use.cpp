#include "host/papers/question_use.h"

#include <algorithm>

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/files.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "dao/dao.h"
#include "host/data/people.h"

namespace qmtrain::host {
namespace {

std::u16string OfBank(std::u16string_view data_code) {
    RequireNoQuote(data_code);
    return std::u16string(u" Where DataCode='").append(data_code).append(u"'");
}

template <class Row>
void ForEach(dao::Database& database, const std::u16string& query, Row row) {
    const auto rows = database.OpenRecordset(query);
    for (; !rows->Eof(); rows->MoveNext()) row(*rows);
}

}  // namespace

std::map<std::u16string, QuestionUse> UsesOf(const DataFolder& folder, std::u16string_view data_code) {
    std::map<std::u16string, QuestionUse> uses;
    if (!FileExists(ClientDatabase(folder.path))) return uses;  // nothing has been practised
    const dao::Connection client(ClientDatabase(folder.path));
    std::map<std::int32_t, Date> starts;
    ForEach(*client.operator->(), u"Select TrainID, StartDate From TrainInfo", [&](dao::Recordset& row) {
        starts[LongOr(row.Fields(0).Value(), 0)] = DateOr(row.Fields(1).Value(), Date{});
    });
    ForEach(*client.operator->(),
            u"Select QuestionRecNo, QuestionScore, AnswerScore, TrainID From TrainResult" + OfBank(data_code),
            [&](dao::Recordset& row) {
                QuestionUse& use = uses[TextOr(row.Fields(0).Value(), u"")];
                ++use.times;
                use.full += SingleOr(row.Fields(1).Value(), 0);
                use.got += SingleOr(row.Fields(2).Value(), 0);
                use.last = std::max(use.last, starts[LongOr(row.Fields(3).Value(), 0)]);
            });
    ForEach(*client.operator->(), u"Select QuestionRecNo From Notes" + OfBank(data_code),
            [&](dao::Recordset& row) { uses[TextOr(row.Fields(0).Value(), u"")].has_notes = true; });
    return uses;
}

std::set<std::u16string> NumbersInUse(const DataFolder& folder, std::u16string_view data_code) {
    std::set<std::u16string> numbers;
    for (const auto& [rec_no, use] : UsesOf(folder, data_code)) numbers.insert(rec_no);
    if (!FileExists(folder.Host())) return numbers;
    const dao::Connection host(folder.Host());
    ForEach(*host.operator->(), u"Select RecNo From PaperQuestions" + OfBank(data_code),
            [&](dao::Recordset& row) { numbers.insert(TextOr(row.Fields(0).Value(), u"")); });
    return numbers;
}

std::u16string RemovalSummary(const DataFolder& folder, const exchange::ImportPlan& plan) {
    const std::vector<std::size_t>& gone = plan.recognition.not_found;
    std::u16string summary = u"删除 " + ToText(gone.size()) + u" 题";
    if (gone.empty()) return summary;
    const std::set<std::u16string> used = NumbersInUse(folder, plan.bank.code);
    const auto count = std::count_if(gone.begin(), gone.end(),
                                     [&](std::size_t one) { return used.contains(plan.existing[one].rec_no); });
    if (count > 0) summary += u"（其中 " + ToText(count) + u" 题在练习历史、笔记或试卷中用到）";
    return summary;
}

void RequireSubject(const DataFolder& folder, std::int32_t subject, std::u16string_view name) {
    AddSubject(folder, {subject, std::u16string(name), u""});
    AddQuestionTypes(folder, subject);
}

}  // namespace qmtrain::host
