#include "host/practice/hand_in_dialog.h"

#include <wx/sizer.h>

#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

const ui::WindowSizes kSizes{{360, 180}, {440, 340}};

}  // namespace

HandInDialog::HandInDialog(wxWindow* parent, const Practice& practice)
    : wxDialog(parent, wxID_ANY, ui::ToWx(u"交卷"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      open_(OpenQuestions(practice)) {
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    auto* text = new wxStaticText(this, wxID_ANY, ui::ToWx(OpenText(practice)));
    text->SetFont(FontOf(TextSize::Body, true));
    text->Wrap(FromDIP(kSizes.first.x - 2 * ui::kWide));
    sizer->Add(text, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, FromDIP(ui::kWide));
    if (!open_.empty()) {
        LstOpen = new wxListBox(this, wxID_ANY);
        SetSpokenName(*LstOpen, u"没有答完或做了标记的题");
        for (const OpenQuestion& question : open_) LstOpen->Append(ui::ToWx(question.text));
        LstOpen->SetSelection(0);
        LstOpen->Bind(wxEVT_LISTBOX_DCLICK, [this](wxCommandEvent&) { GoToSelected(); });
        sizer->Add(LstOpen, 1, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, FromDIP(ui::kWide));
        sizer->AddSpacer(FromDIP(ui::kGap));
        sizer->Add(
            MakeLabel(this, u"双击一题，或选中后按回车键，可以回到那一题。", TextSize::Small, false, Tint::Quiet), 0,
            wxEXPAND | wxLEFT | wxRIGHT, FromDIP(ui::kWide));
        Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
            const bool enter = event.GetKeyCode() == WXK_RETURN || event.GetKeyCode() == WXK_NUMPAD_ENTER;
            if (enter && LstOpen->HasFocus()) return GoToSelected();
            event.Skip();
        });
    }
    BtnHandIn = new wxButton(this, wxID_OK, ui::ToWx(u"交卷(&H)"));
    BtnBack = new wxButton(this, wxID_CANCEL, ui::ToWx(u"返回作答(&B)"));
    sizer->Add(ui::ControlRow(*this, {}, {BtnHandIn, BtnBack}), 0, wxEXPAND | wxALL, FromDIP(ui::kWide));
    SetSizer(sizer);
    ui::SetSizes(*this, kSizes);
    if (open_.empty()) Fit();
    CentreOnParent();
    BtnBack->SetDefault();
    SetAffirmativeId(wxID_NONE);
    BtnHandIn->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { EndModal(wxID_OK); });
    BtnBack->SetFocus();
}

void HandInDialog::GoToSelected() {
    const int row = LstOpen->GetSelection();
    if (row < 0) return;
    chosen_ = open_[row].index;
    EndModal(wxID_CANCEL);
}

}  // namespace qmtrain::host
