// Message boxes with the answers that Visual Basic knows.
#pragma once

#include <string_view>

class wxWindow;

namespace qmtrain::ui {

enum class DialogResult : int { Cancel = 2, Yes = 6, No = 7 };

// `usual` is the default button, the answer to Enter.
DialogResult AskYesNo(wxWindow* parent, std::u16string_view text, std::u16string_view title,
                      DialogResult usual = DialogResult::Yes);
DialogResult AskYesNoCancel(wxWindow* parent, std::u16string_view text, std::u16string_view title);
void Inform(wxWindow* parent, std::u16string_view text, std::u16string_view title);

}  // namespace qmtrain::ui
