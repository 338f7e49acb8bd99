// What is still open, before a paper is handed in.
#pragma once

#include <optional>

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/listbox.h>

#include "host/practice/navigator.h"

namespace qmtrain::host {

class HandInDialog : public wxDialog {
public:
    HandInDialog(wxWindow* parent, const Practice& practice);

    // The question to go back to, when one was chosen. ShowModal returns wxID_OK for handing in.
    std::optional<std::size_t> Chosen() const { return chosen_; }

    wxListBox* LstOpen = nullptr;
    wxButton* BtnBack = nullptr;
    wxButton* BtnHandIn = nullptr;

private:
    void GoToSelected();

    std::vector<OpenQuestion> open_;
    std::optional<std::size_t> chosen_;
};

}  // namespace qmtrain::host
