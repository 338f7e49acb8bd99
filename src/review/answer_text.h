// How the paper review names question types and shows answers.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qmtrain::review {

// A question type's display name, from the result's type and distinction and the type's own name and subject. Empty
// where the subject is not known.
std::u16string QuestionTypeName(std::int32_t question_type, std::u16string_view test_style,
                                std::u16string_view subject_code, std::int32_t distin);

// Without the markers of the marking; alternatives joined with " 或 ", blanks with " 与 ".
std::u16string FillText(std::u16string_view stored);

// A choice answer: a number as its letters, anything else as it stands.
std::u16string ChoiceText(std::u16string_view stored);

// "对" for "-1", else "错".
std::u16string YesNoText(std::u16string_view stored);

// A stored answer in the grid, where the type's display name tells the kind of question.
std::u16string GridAnswer(std::int32_t question_type, std::u16string_view type_name, std::u16string_view stored);

// A stored answer beside the question, whose own kind ("单选题" …) decides.
std::u16string PaneAnswer(std::u16string_view kind, std::u16string_view stored);

}  // namespace qmtrain::review
