// The questions of a training as the paper review lists and shows them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "dao/dao.h"
#include "document/rich_text.h"
#include "records/practice_source.h"
#include "ui/list_model.h"

namespace qmtrain::review {

// The cells of a question's row. The first three columns are not shown: by them the row's question is found again.
enum PaperColumn : std::size_t {
    kNumberKey,
    kRecNo,
    kDataCode,
    kNumber,
    kScore,
    kGotScore,
    kTypeName,
    kStandardAnswer,
    kStudentAnswer,
    kPaperColumns,
    // No columns: what the question's panes need of the row.
    kTypeNumber = kPaperColumns,
    kSubject,
    kStoredAnswer,
    kStoredStudentAnswer,
    kPaperCells
};

inline constexpr const char16_t* kPaperHeaders[kPaperColumns] = {
    u"题号", u"题库号", u"总题号", u"题号", u"分值", u"考生得分", u"试题类型", u"标准答案", u"考生答案"};

// The current row of a training's results; `number` counts from 1.
ui::ListRow ReadPaperRow(dao::Recordset& rows, std::int32_t number);

// The training whose questions are shown. Its subject is the result's where any subject is meant.
struct PaperSource : PracticeSource {
    std::int32_t train_id = -1;
};

// What the panes beside the list show of one question.
struct QuestionPanes {
    document::RichText title;
    std::optional<document::RichText> options;
    document::RichText answer;
    document::RichText error;
};

// The question of a row. One that cannot be loaded shows the reason as its title, and what the training holds of it:
// both answers and the error information. Failures are logged.
QuestionPanes ShowQuestionItem(const PaperSource& source, const ui::ListRow& row);

}  // namespace qmtrain::review
