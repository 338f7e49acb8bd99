#include "host/commands/history_list.h"

#include <nlohmann/json.hpp>

#include "core/convert.h"
#include "core/csv.h"
#include "core/error.h"
#include "core/text.h"
#include "host/data/data_folder.h"
#include "host/data/people.h"
#include "host/papers/papers.h"
#include "records/train_info.h"
#include "review/training_row.h"

namespace qmtrain::host {
namespace {

using review::kTrainingHeaders;

std::string Csv(const std::vector<ui::ListRow>& rows) {
    std::string out;
    CsvWriter csv(out);
    for (const std::u16string_view header : kTrainingHeaders) csv.Quoted(header);
    csv.EndRow();
    for (const ui::ListRow& row : rows) {
        for (std::size_t i = 0; i < kTrainingHeaders.size(); ++i) csv.Quoted(row.cells[i]);
        csv.EndRow();
    }
    return out;
}

// A line for each training.
std::string Json(const std::vector<ui::ListRow>& rows) {
    std::string out = "[";
    for (const ui::ListRow& row : rows) {
        nlohmann::ordered_json training;
        for (std::size_t i = 0; i < kTrainingHeaders.size(); ++i) {
            training[ToUtf8(kTrainingHeaders[i])] = ToUtf8(row.cells[i]);
        }
        out += (out.size() > 1 ? ",\n" : "\n") + training.dump();
    }
    return out + "\n]\n";
}

std::string Text(const std::vector<ui::ListRow>& rows) {
    std::string out;
    for (const ui::ListRow& row : rows) {
        for (std::size_t i = 0; i < kTrainingHeaders.size(); ++i) out += (i > 0 ? "\t" : "") + ToUtf8(row.cells[i]);
        out += "\n";
    }
    return out;
}

}  // namespace

std::string HistoryText(const Options& options) {
    TrainInfo train;
    train.ClientPath(options.data);
    RequireReadable({options.data});
    std::u16string problem;
    if (!train.Init(problem)) RaiseComponentError(u"qmtrain", problem.empty() ? u"无法打开练习记录数据库。" : problem);
    if (options.user_named) RequireCandidate({options.data}, options.user);
    const auto trainings =
        train.GetRecordset(review::TrainingsQuery(options.user, options.subject, review::TrainingOrder::NewestFirst));
    if (!trainings) RaiseComponentError(u"qmtrain", u"无法读取练习历史。");
    std::vector<ui::ListRow> rows;
    const review::TrainingReader reader(*trainings);
    for (; !trainings->Eof(); trainings->MoveNext()) rows.push_back(review::ToListRow(reader.Read()));
    switch (options.output) {
        case Options::Output::Csv: return Csv(rows);
        case Options::Output::Json: return Json(rows);
        case Options::Output::Text: break;
    }
    return Text(rows);
}

std::string PapersText(const Options& options) {
    std::u16string text = u"试卷号\t科目\t题数\t满分\t时间（分钟）\t名称\n";
    for (const Paper& paper : PapersOf({options.data}, options.subject_named ? options.subject : -1)) {
        text += ToText(paper.number) + u"\t" + ToText(paper.subject) + u"\t" + ToText(paper.questions.size()) + u"\t" +
                ToText(Value(paper.FullScore())) + u"\t" + ToText(paper.minutes) + u"\t" + paper.title + u"\n";
    }
    return ToUtf8(text);
}

}  // namespace qmtrain::host
