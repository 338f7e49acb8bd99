// What the notes manager says.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "bank/question_kind.h"
#include "core/date.h"

namespace qmtrain::notes {

// "不祥" for the zero date.
std::u16string CreateDateText(Date date);

// One more than the object's count.
std::u16string ViewTimesText(std::int32_t view_times);

std::u16string SaveQuestion(std::u16string_view short_name);
inline constexpr std::u16string_view kSaveTitle = u"保存修改";
std::u16string DeleteQuestion(std::u16string_view short_name);
inline constexpr std::u16string_view kDeleteTitle = u"删除笔记";

inline constexpr std::u16string_view kNoNotes = u"没有笔记!";
std::u16string NoNotesInBank(std::u16string_view bank);

// What goes to the log when a note has been saved, or could not be.
std::u16string SaveLogText(std::int32_t note_id, bool saved);

// What stands beside a note that could not be saved or deleted; without a reason it is gone.
std::u16string NotSavedText(std::u16string_view short_name, std::u16string_view reason);
std::u16string NotDeletedText(std::u16string_view short_name, std::u16string_view reason);

// The answer box of a question; empty for kinds that have none.
std::u16string AnswerText(QuestionKind kind, std::u16string_view answer);
inline constexpr std::u16string_view kAnswerTitle = u"全国计算机等级考试";

// Whether the button that opens the answer box is shown for a kind; an unknown one leaves it as it was.
bool ShowsAnswerButton(QuestionKind kind, bool now);

}  // namespace qmtrain::notes
