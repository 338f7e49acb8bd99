#include "host/widgets/ask.h"

#include <wx/msgdlg.h>

#include "ui/wx_text.h"

namespace qmtrain::host {

bool Confirm(wxWindow* parent, std::u16string_view text, std::u16string_view title, std::u16string_view yes,
             std::u16string_view no) {
    wxMessageDialog box(parent, ui::ToWx(text), ui::ToWx(title), wxYES_NO | wxNO_DEFAULT | wxICON_QUESTION);
    box.SetYesNoLabels(ui::ToWx(yes), ui::ToWx(no));
    return box.ShowModal() == wxID_YES;
}

Unsaved AskUnsaved(wxWindow* parent, std::u16string_view text, std::u16string_view title) {
    wxMessageDialog box(parent, ui::ToWx(text), ui::ToWx(title), wxYES_NO | wxCANCEL | wxICON_QUESTION);
    box.SetYesNoCancelLabels(ui::ToWx(u"保存(&S)"), ui::ToWx(u"不保存(&D)"), ui::ToWx(u"取消"));
    switch (box.ShowModal()) {
        case wxID_YES: return Unsaved::Save;
        case wxID_NO: return Unsaved::Discard;
        default: return Unsaved::Stay;
    }
}

}  // namespace qmtrain::host
