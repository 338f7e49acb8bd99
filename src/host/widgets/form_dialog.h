// A dialog with a few fields and an action for them.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/sizer.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

namespace qmtrain::host {

class FormDialog : public wxDialog {
public:
    wxButton* BtnOK = nullptr;

protected:
    FormDialog(wxWindow* parent, std::u16string_view title);

    wxTextCtrl* AddText(std::u16string_view caption, std::u16string_view value, bool large = false);
    wxSpinCtrl* AddNumber(std::u16string_view caption, int value, int least, int most);
    void AddControl(std::u16string_view caption, wxWindow* control, bool grows = false);
    void AddLine(wxStaticText* line);

    // To be called last. `keep` raises the component's error for what is not accepted; the dialog then stays.
    void Finish(std::u16string_view ok, std::function<void()> keep);

private:
    wxFlexGridSizer* grid_;
    wxBoxSizer* sizer_;
};

}  // namespace qmtrain::host
