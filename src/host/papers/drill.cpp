#include "host/papers/drill.h"

#include <algorithm>

#include "core/convert.h"
#include "core/error.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "dao/dao.h"
#include "host/data/host_tables.h"
#include "host/data/learning_tables.h"
#include "host/data/people.h"

namespace qmtrain::host {
namespace {

constexpr float kScoreWhenUnknown = 2;

// What papers say of the marking of an operation question.
std::u16string KeywordsOf(dao::Database& host, const DrillQuestion& question) {
    RequireNoQuote(question.data_code);
    RequireNoQuote(question.rec_no);
    const auto rows = host.OpenRecordset(u"Select Keywords From PaperQuestions Where DataCode='" + question.data_code +
                                         u"' And RecNo='" + question.rec_no + u"' And Keywords Is Not Null");
    return HasRow(*rows) ? TextOr(rows->Fields(0).Value(), u"") : std::u16string();
}

void Write(dao::Database& host, Paper& paper) {
    host.Atomically([&] {
        WritePaper(host, paper);
        host.Execute(u"Insert Into DrillPapers Values (" + ToText(paper.number) + u")");
    });
}

}  // namespace

Drill MakeDrill(const DataFolder& folder, Edition edition, std::int32_t subject, std::u16string_view title,
                const std::vector<DrillQuestion>& questions) {
    UpgradeHostDatabase(folder.path);
    const dao::Connection connection(folder.Host());
    dao::Database& host = *connection.operator->();
    EnsureLearningTables(host);
    Drill drill;
    drill.paper.subject = subject;
    drill.paper.title = title;
    std::u16string reason;
    for (const DrillQuestion& one : questions) {
        PaperQuestion place;
        place.number = static_cast<std::int32_t>(drill.paper.questions.size()) + 1;
        place.type = one.type;
        place.data_code = one.data_code;
        place.rec_no = one.rec_no;
        place.score = one.score > 0 ? one.score : kScoreWhenUnknown;
        place.distin = one.distin;
        place.difficult = one.difficult;
        try {
            const QuestionContent content = LoadQuestion(folder, edition, subject, place);
            if (content.kind == QuestionKind::Operation) {
                place.keywords = KeywordsOf(host, one);
                if (place.keywords.empty()) RaiseComponentError(u"qmtrain", u"操作题没有评分关键字。");
            }
        } catch (const AutomationError& error) {
            ++drill.left_out;
            if (reason.empty()) reason = error.Description();
            continue;
        }
        drill.paper.questions.push_back(std::move(place));
    }
    if (drill.paper.questions.empty()) {
        RaiseComponentError(
            u"qmtrain", reason.empty() ? std::u16string(u"没有可以练习的试题。") : u"没有可以练习的试题：" + reason);
    }
    AddQuestionTypes(folder, subject);
    Write(host, drill.paper);
    return drill;
}

std::set<std::int32_t> DrillPapers(const DataFolder& folder) {
    const dao::Connection connection(folder.Host());
    dao::Database& host = *connection.operator->();
    std::set<std::int32_t> numbers;
    if (!HasLearningTables(host)) return numbers;
    const auto rows = host.OpenRecordset(u"Select PaperNo From DrillPapers");
    for (; !rows->Eof(); rows->MoveNext()) numbers.insert(ToLong(rows->Fields(0).Value()));
    return numbers;
}

}  // namespace qmtrain::host
