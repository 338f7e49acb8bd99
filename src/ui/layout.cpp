#include "ui/layout.h"

#include "ui/wx_text.h"

namespace qmtrain::ui {
namespace {

void Add(wxBoxSizer& row, const wxWindow& window, std::initializer_list<wxWindow*> controls) {
    const int gap = window.FromDIP(kGap);
    for (wxWindow* control : controls) {
        const bool last = control == *(controls.end() - 1);
        row.Add(control, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, last ? 0 : gap);
    }
}

}  // namespace

void SetSizes(wxTopLevelWindow& window, const WindowSizes& sizes) {
    window.SetMinClientSize(window.FromDIP(sizes.least));
    window.SetClientSize(window.FromDIP(sizes.first));
}

wxBoxSizer* ControlRow(const wxWindow& window, std::initializer_list<wxWindow*> left,
                       std::initializer_list<wxWindow*> right) {
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    Add(*row, window, left);
    if (left.size() > 0 && right.size() > 0) row->AddSpacer(window.FromDIP(kGap));
    row->AddStretchSpacer();
    Add(*row, window, right);
    return row;
}

void FitToCaption(wxButton& button, int margin) {
    const int width = button.GetTextExtent(button.GetLabelText()).x;
    button.SetMinSize(wxSize(width + button.FromDIP(2 * margin), -1));
}

wxStaticText* BoldCaption(wxWindow* parent, std::u16string_view text) {
    auto* caption = new wxStaticText(parent, wxID_ANY, wxString());
    caption->SetFont(caption->GetFont().Bold());
    caption->SetLabelText(ToWx(text));
    return caption;
}

}  // namespace qmtrain::ui
