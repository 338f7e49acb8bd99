// Edits the note on a question; shows it read-only where the folder cannot be written.
#pragma once

#include <string>
#include <string_view>

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/textctrl.h>

#include "host/data/data_folder.h"
#include "notes/note.h"

namespace qmtrain::host {

class NoteDialog : public wxDialog {
public:
    // Shows the candidate's note on the question when there is one. Raises the component's error when notes cannot be
    // kept.
    NoteDialog(wxWindow* parent, const DataFolder& folder, std::int32_t subject, std::int32_t user,
               std::u16string_view data_code, std::u16string_view rec_no);

    wxTextCtrl* TxtName = nullptr;
    wxTextCtrl* TxtContent = nullptr;
    wxButton* BtnSave = nullptr;

private:
    void Build();
    bool IsChanged() const;
    bool Save();
    void Leave();

    Note note_;
    std::int32_t subject_;
    std::int32_t user_;
    std::u16string data_code_;
    std::u16string rec_no_;
    std::u16string name_;  // as kept
    std::u16string content_;
    bool read_only_;
};

}  // namespace qmtrain::host
