// What the program is, its version, and the licences of what is linked in.
#pragma once

#include <wx/dialog.h>

namespace qmtrain::host {

class AboutDialog : public wxDialog {
public:
    explicit AboutDialog(wxWindow* parent);
};

}  // namespace qmtrain::host
