#include "ui/message_box.h"

#include <wx/msgdlg.h>

#include "ui/wx_text.h"

namespace qmtrain::ui {
namespace {

// A box of many pages cannot be read, and takes the toolkit minutes.
wxString Shown(std::u16string_view text) {
    constexpr std::size_t kLongest = 2000;
    return text.size() <= kLongest ? ToWx(text) : ToWx(text.substr(0, kLongest)) + ToWx(u"…");
}

}  // namespace

DialogResult AskYesNo(wxWindow* parent, std::u16string_view text, std::u16string_view title, DialogResult usual) {
    const long preset = usual == DialogResult::No ? wxNO_DEFAULT : wxYES_DEFAULT;
    wxMessageDialog box(parent, Shown(text), ToWx(title), wxYES_NO | preset | wxICON_QUESTION);
    box.SetYesNoLabels(ToWx(u"是(&Y)"), ToWx(u"否(&N)"));
    return box.ShowModal() == wxID_YES ? DialogResult::Yes : DialogResult::No;
}

DialogResult AskYesNoCancel(wxWindow* parent, std::u16string_view text, std::u16string_view title) {
    wxMessageDialog box(parent, Shown(text), ToWx(title), wxYES_NO | wxCANCEL | wxICON_QUESTION);
    box.SetYesNoCancelLabels(ToWx(u"是(&Y)"), ToWx(u"否(&N)"), ToWx(u"取消"));
    switch (box.ShowModal()) {
        case wxID_YES: return DialogResult::Yes;
        case wxID_NO: return DialogResult::No;
        default: return DialogResult::Cancel;
    }
}

void Inform(wxWindow* parent, std::u16string_view text, std::u16string_view title) {
    wxMessageDialog box(parent, Shown(text), ToWx(title), wxOK | wxICON_INFORMATION);
    box.SetOKLabel(ToWx(u"确定"));
    box.ShowModal();
}

}  // namespace qmtrain::ui
