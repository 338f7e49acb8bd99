// How the paper review names question types and shows answers.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "bank/question_kind.h"

namespace qmtrain::review {

// A question type's display name, from the result's type and distinction and the type's own name and subject. Empty
// where the subject is not known.
std::u16string QuestionTypeName(std::int32_t question_type, std::u16string_view test_style,
                                std::u16string_view subject_code, std::int32_t distin);

// Without the markers of the marking; alternatives joined with " 或 ", blanks with " 与 ".
std::u16string FillText(std::u16string_view stored);

// How an answer is to be read.
enum class AnswerKind : std::uint8_t { Choice, YesNo, Text };

// From a question type and its display name, or from the kind of a question that has been loaded.
AnswerKind KindOfType(std::int32_t question_type, std::u16string_view type_name);
AnswerKind KindOfQuestion(QuestionKind kind);

// A stored answer as both the grid and the pane beside it show it. "-1" is "对" for every type from 1 to 27, any other
// yes/no answer "错"; the number of a choice is its letters, and no choice nothing.
std::u16string ShownAnswer(std::int32_t question_type, AnswerKind kind, std::u16string_view stored);

// For a question of which only the kind is known.
std::u16string PaneAnswer(QuestionKind kind, std::u16string_view stored);

}  // namespace qmtrain::review
