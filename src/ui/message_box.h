// Message boxes with the answers that Visual Basic knows.
#pragma once

#include <string_view>

class wxWindow;

namespace qmtrain::ui {

enum class Answer : int { Cancel = 2, Yes = 6, No = 7 };

// `usual` is the default button, the answer to Enter.
Answer AskYesNo(wxWindow* parent, std::u16string_view text, std::u16string_view title, Answer usual = Answer::Yes);
Answer AskYesNoCancel(wxWindow* parent, std::u16string_view text, std::u16string_view title);
void Inform(wxWindow* parent, std::u16string_view text, std::u16string_view title);

}  // namespace qmtrain::ui
