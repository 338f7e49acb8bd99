// The papers that can be practised, and their questions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dao/dao.h"
#include "document/rich_text.h"
#include "host/data/data_folder.h"
#include "host/papers/marking.h"
#include "records/practice_source.h"

namespace qmtrain::host {

enum class Edition { StandAlone, Network };

// The practice in the folder, as the component's windows take it; -1: all candidates, any subject.
PracticeSource SourceIn(const DataFolder& folder, Edition edition, std::int32_t user, std::int32_t subject);

struct PaperQuestion {
    std::int32_t number = 0;  // from 1
    std::int32_t type = 0;
    std::u16string data_code;
    std::u16string rec_no;
    float score = 0;
    std::int32_t distin = 1;
    std::int32_t difficult = 1;
    std::u16string keywords = {};
};

struct Paper {
    std::int32_t number = 0;
    std::int32_t subject = 0;
    std::u16string title;
    std::int32_t theory_no = 0;
    std::int32_t operation_no = 0;
    std::int32_t minutes = 0;
    std::vector<PaperQuestion> questions = {};

    float FullScore() const;
};

// -1 means every subject. Raise what the engine raises.
std::vector<Paper> PapersOf(const DataFolder& folder, std::int32_t subject);
std::optional<Paper> FindPaper(const DataFolder& folder, std::int32_t number);

// Writes a new paper; gives it a number, one for its trainings to know it by, and its questions theirs. Requires: in a
// change of the host's database that is done or undone as a whole.
void WritePaper(dao::Database& host, Paper& paper);

// The questions of these numbers alone; all of them when there are none.
Paper OnlyQuestions(Paper paper, const std::vector<std::int32_t>& numbers);

// The paper that a training was made of.
std::optional<Paper> PaperOfTraining(const DataFolder& folder, std::int32_t train_id);

// A question as it is shown to be answered.
struct QuestionContent {
    QuestionKind kind = QuestionKind::Unknown;
    document::RichText stem;
    std::vector<document::RichText> options;  // of a choice question, from A
    int blanks = 0;                           // of a fill-in question
    std::u16string answer;                    // the standard answer
};

// Raises the component's error when the question cannot be loaded: with the reason, the bank and the question.
QuestionContent LoadQuestion(const DataFolder& folder, Edition edition, std::int32_t subject,
                             const PaperQuestion& place);

}  // namespace qmtrain::host
