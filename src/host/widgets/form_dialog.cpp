#include "host/widgets/form_dialog.h"

#include "core/error.h"
#include "exchange/question.h"
#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// Pixels of an unscaled screen.
const wxSize kTextSize(300, -1);
const wxSize kLargeTextSize(300, 120);

std::u16string WithoutAccelerator(std::u16string_view caption) {
    return std::u16string(caption.substr(0, caption.find(u'(')));
}

}  // namespace

FormDialog::FormDialog(wxWindow* parent, std::u16string_view title)
    : wxDialog(parent, wxID_ANY, ui::ToWx(title), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      grid_(new wxFlexGridSizer(2, FromDIP(wxSize(ui::kMargin, ui::kGap)))),
      sizer_(new wxBoxSizer(wxVERTICAL)) {
    grid_->AddGrowableCol(1);
    sizer_->Add(grid_, 1, wxEXPAND | wxALL, FromDIP(ui::kWide));
}

void FormDialog::AddControl(std::u16string_view caption, wxWindow* control, bool grows) {
    grid_->Add(new wxStaticText(this, wxID_ANY, ui::ToWx(std::u16string(caption) + u"：")), 0,
               grows ? wxALIGN_TOP : wxALIGN_CENTRE_VERTICAL);
    grid_->Add(control, 1, wxEXPAND);
    if (grows) grid_->AddGrowableRow(static_cast<std::size_t>(grid_->GetItemCount()) / 2 - 1);
    SetSpokenName(*control, WithoutAccelerator(caption));
}

wxTextCtrl* FormDialog::AddText(std::u16string_view caption, std::u16string_view value, bool large) {
    auto* text = new wxTextCtrl(this, wxID_ANY, ui::ToWx(value), wxDefaultPosition,
                                FromDIP(large ? kLargeTextSize : kTextSize), large ? wxTE_MULTILINE : 0);
    if (large) SetInnerMargin(*text);
    AddControl(caption, text, large);
    return text;
}

wxSpinCtrl* FormDialog::AddNumber(std::u16string_view caption, int value, int least, int most) {
    auto* number = new wxSpinCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxSP_ARROW_KEYS, least,
                                  most, value);
    AddControl(caption, number);
    return number;
}

void FormDialog::AddLine(wxStaticText* line) {
    sizer_->Add(line, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(ui::kWide));
}

void FormDialog::Finish(std::u16string_view ok, std::function<void()> keep) {
    BtnOK = new wxButton(this, wxID_OK, ui::ToWx(ok));
    auto* cancel = new wxButton(this, wxID_CANCEL, ui::ToWx(u"取消(&C)"));
    BtnOK->SetDefault();
    BtnOK->Bind(wxEVT_BUTTON, [this, keep = std::move(keep)](wxCommandEvent&) {
        try {
            keep();
        } catch (const AutomationError& error) {
            return ui::Inform(this, error.Description(), ui::FromWx(GetTitle()));
        } catch (const exchange::Cancelled&) {
            return;  // the form stays open
        }
        EndModal(wxID_OK);
    });
    sizer_->Add(ui::ControlRow(*this, {}, {BtnOK, cancel}), 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM,
                FromDIP(ui::kWide));
    SetSizerAndFit(sizer_);
    CentreOnParent();
}

}  // namespace qmtrain::host
