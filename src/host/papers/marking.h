// Marking a candidate's answer.
#pragma once

#include <string>
#include <string_view>

#include "bank/question_kind.h"

namespace qmtrain::host {

struct Mark {
    float score = 0;
    std::u16string error;      // what was wrong, for the candidate; empty when nothing was
    std::u16string error_xml;  // the same for programs
};

struct Task {
    QuestionKind kind = QuestionKind::Unknown;
    std::u16string standard_answer;  // as the bank stores it
    std::u16string keywords;         // of an operation question, separated by "#"
    float full_score = 0;
};

// `answer` is in the form in which results store it: a choice as the number of its bits, "-1" or "0", blanks
// separated by "@", or text.
Mark MarkAnswer(const Task& task, std::u16string_view answer);

// How much of a question has been answered. Blanks (spaces, empty lines) are no answer.
enum class Answered { No, Partly, Yes };

// `blanks` counts those of a fill-in question: it is answered when every one of them is.
Answered IsAnswered(QuestionKind kind, int blanks, std::u16string_view answer);

// "未作答", "部分作答", "已作答".
std::u16string_view AnsweredText(Answered answered);

}  // namespace qmtrain::host
