// What the keys do while a paper is practised.
#pragma once

#include <wx/dialog.h>

namespace qmtrain::host {

class KeysDialog : public wxDialog {
public:
    explicit KeysDialog(wxWindow* parent);
};

}  // namespace qmtrain::host
