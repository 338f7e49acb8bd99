// A question as rich text, for every window that shows one.
#pragma once

#include <string>
#include <string_view>

#include "bank/text_collection.h"
#include "document/rich_text.h"

namespace qmtrain::ui {

// The font of question texts.
inline constexpr const char16_t* kQuestionFont = u"宋体";
inline constexpr int kQuestionHalfPoints = 21;

// How the placeholders "[%user%]" and "%user%" are removed. StopAtStart is the way of the paper review, whose search
// ends at one that stands at position 0 or 1: that one and all after it stay.
enum class Placeholders : std::uint8_t { StopAtStart, RemoveAll };

bool IsRtf(std::u16string_view stored);

// A text from a question bank, RTF or plain, in which "^p" ends a paragraph: without the black colour tables that text
// boxes leave behind, and without placeholders.
document::RichText StoredText(std::u16string_view stored, Placeholders placeholders = Placeholders::StopAtStart);

// "选择项:" and the options, each in a paragraph of its own after its letter.
document::RichText OptionsText(const TextCollection& options, Placeholders placeholders = Placeholders::StopAtStart);

// The stem and, if there are any, the options below it; all placeholders go.
document::RichText QuestionText(std::u16string_view title, const TextCollection* options);

}  // namespace qmtrain::ui
