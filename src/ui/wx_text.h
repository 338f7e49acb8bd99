// Texts between the component and wxWidgets.
#pragma once

#include <string>
#include <string_view>

#include <wx/string.h>

namespace qmtrain::ui {

wxString ToWx(std::u16string_view text);
std::u16string FromWx(const wxString& text);

// The lines of a text box as databases keep them: each ended by CR LF, however the control ends them.
std::u16string StoredLines(const wxString& text);

}  // namespace qmtrain::ui
