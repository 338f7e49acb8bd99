#include "ui/message_box.h"

#include <wx/msgdlg.h>

#include "ui/wx_text.h"

namespace qmtrain::ui {

Answer AskYesNo(wxWindow* parent, std::u16string_view text, std::u16string_view title, Answer usual) {
    const long preset = usual == Answer::No ? wxNO_DEFAULT : wxYES_DEFAULT;
    wxMessageDialog box(parent, ToWx(text), ToWx(title), wxYES_NO | preset | wxICON_QUESTION);
    box.SetYesNoLabels(ToWx(u"是(&Y)"), ToWx(u"否(&N)"));
    return box.ShowModal() == wxID_YES ? Answer::Yes : Answer::No;
}

void Inform(wxWindow* parent, std::u16string_view text, std::u16string_view title) {
    wxMessageDialog box(parent, ToWx(text), ToWx(title), wxOK | wxICON_INFORMATION);
    box.SetOKLabel(ToWx(u"确定"));
    box.ShowModal();
}

}  // namespace qmtrain::ui
