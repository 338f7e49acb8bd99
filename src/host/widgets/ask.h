// Confirmations whose default answer changes nothing.
#pragma once

#include <string_view>

class wxWindow;

namespace qmtrain::host {

// True when the user says `yes`; Enter and Esc say `no`.
bool Confirm(wxWindow* parent, std::u16string_view text, std::u16string_view title, std::u16string_view yes,
             std::u16string_view no);

enum class Unsaved { Save, Discard, Stay };
Unsaved AskUnsaved(wxWindow* parent, std::u16string_view text, std::u16string_view title);

}  // namespace qmtrain::host
