// A question as rich text, for every window that shows one.
#pragma once

#include <string>
#include <string_view>

#include "bank/text_collection.h"
#include "ui/document/rich_text.h"

namespace qmtrain::ui {

// The font of question texts.
inline constexpr const char16_t* kQuestionFont = u"宋体";
inline constexpr int kQuestionHalfPoints = 21;

// A text from a question bank, RTF or plain, in which "^p" ends a paragraph: without the black colour tables that text
// boxes leave behind, and without the placeholders "[%user%]" and "%user%".
RichText StoredText(std::u16string_view stored);

// Takes out every `placeholder`, up to the first that stands at position 0 or 1: that one and all behind it stay.
void RemovePlaceholder(RichText& text, std::u16string_view placeholder);

// "选择项:" and the options, each in a paragraph of its own behind its letter.
RichText OptionsText(const TextCollection& options);

// The stem and, if there are any, the options below it.
RichText QuestionText(std::u16string_view title, const TextCollection* options);

}  // namespace qmtrain::ui
