#include "host/answer_panel.h"

#include <wx/sizer.h>
#include <wx/stattext.h>

#include "core/convert.h"
#include "core/text.h"
#include "core/utilities.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr int kGap = 8;  // pixels of an unscaled screen

wxString Letter(int place) {
    return wxString(static_cast<char>('A' + place));
}

}  // namespace

AnswerPanel::AnswerPanel(wxWindow* parent) : wxPanel(parent) {
    const auto changed = [this](wxCommandEvent& event) {
        event.Skip();
        if (OnChange) OnChange();
    };
    Bind(wxEVT_RADIOBUTTON, changed);
    Bind(wxEVT_CHECKBOX, changed);
    Bind(wxEVT_TEXT, changed);
}

void AnswerPanel::Ask(const Question& question, std::u16string_view answer) {
    DestroyChildren();
    radios_.clear();
    checks_.clear();
    texts_.clear();
    kind_ = question.kind;
    const bool row = kind_ == Kind::Single || kind_ == Kind::Multiple || kind_ == Kind::YesNo;
    SetSizer(new wxBoxSizer(row ? wxHORIZONTAL : wxVERTICAL));
    switch (kind_) {
        case Kind::Single: BuildChoices(question.choices, false); break;
        case Kind::Multiple: BuildChoices(question.choices, true); break;
        case Kind::YesNo: BuildYesNo(); break;
        case Kind::Fill: BuildBlanks(question.blanks); break;
        default: BuildText(); break;
    }
    if (!radios_.empty()) BuildNoRadio();
    Fill(answer);
    Layout();
}

void AnswerPanel::BuildChoices(int count, bool several) {
    for (int i = 0; i < count; ++i) {
        wxWindow* control = nullptr;
        if (several) {
            checks_.push_back(new wxCheckBox(this, wxID_ANY, Letter(i)));
            control = checks_.back();
        } else {
            radios_.push_back(new wxRadioButton(this, wxID_ANY, Letter(i), wxDefaultPosition, wxDefaultSize,
                                                i == 0 ? wxRB_GROUP : 0));
            control = radios_.back();
        }
        GetSizer()->Add(control, 0, wxALL, FromDIP(kGap));
    }
}

void AnswerPanel::BuildYesNo() {
    for (const std::u16string_view caption : {u"对", u"错"}) {
        radios_.push_back(new wxRadioButton(this, wxID_ANY, ui::ToWx(caption), wxDefaultPosition, wxDefaultSize,
                                            radios_.empty() ? wxRB_GROUP : 0));
        GetSizer()->Add(radios_.back(), 0, wxALL, FromDIP(kGap));
    }
}

// One of a group is always on. While nothing has been answered it is one that nobody sees.
void AnswerPanel::BuildNoRadio() {
    no_radio_ = new wxRadioButton(this, wxID_ANY, wxString());
    no_radio_->Hide();
}

void AnswerPanel::BuildBlanks(int count) {
    auto* grid = new wxFlexGridSizer(2, FromDIP(kGap), FromDIP(kGap));
    grid->AddGrowableCol(1);
    for (int i = 1; i <= count; ++i) {
        auto* caption = new wxStaticText(this, wxID_ANY, ui::ToWx(u"【" + ToText(i) + u"】"));
        grid->Add(caption, 0, wxALIGN_CENTRE_VERTICAL);
        texts_.push_back(new wxTextCtrl(this, wxID_ANY));
        grid->Add(texts_.back(), 1, wxEXPAND);
    }
    GetSizer()->Add(grid, 0, wxEXPAND | wxALL, FromDIP(kGap));
}

void AnswerPanel::BuildText() {
    texts_.push_back(
        new wxTextCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, FromDIP(wxSize(-1, 90)), wxTE_MULTILINE));
    GetSizer()->Add(texts_.back(), 1, wxEXPAND | wxALL, FromDIP(kGap));
}

// The bit set of a choice, a radio button's place, or the texts of the blanks.
void AnswerPanel::Fill(std::u16string_view answer) {
    const std::int32_t bits = IsNumeric(answer) ? ToLong(answer) : 0;
    for (std::size_t i = 0; i < checks_.size(); ++i) checks_[i]->SetValue((bits >> i & 1) != 0);
    if (!radios_.empty()) no_radio_->SetValue(true);
    for (std::size_t i = 0; kind_ == Kind::Single && i < radios_.size(); ++i) {
        if ((bits >> i & 1) != 0) radios_[i]->SetValue(true);
    }
    if (kind_ == Kind::YesNo && !answer.empty()) radios_[answer == u"-1" ? 0 : 1]->SetValue(true);
    if (kind_ == Kind::Fill) {
        const std::vector<std::u16string> parts = SplitAll(answer, u"@");
        for (std::size_t i = 0; i < texts_.size(); ++i) {
            texts_[i]->ChangeValue(ui::ToWx(i < parts.size() ? parts[i] : u""));
        }
    } else if (!texts_.empty()) {
        texts_[0]->ChangeValue(ui::ToWx(answer));
    }
}

void AnswerPanel::Enter(std::u16string_view answer) {
    Fill(answer);
    if (OnChange) OnChange();
}

std::u16string AnswerPanel::Answer() const {
    if (kind_ == Kind::YesNo) {
        if (radios_[0]->GetValue()) return u"-1";
        return radios_[1]->GetValue() ? u"0" : u"";
    }
    if (!radios_.empty() || !checks_.empty()) {
        std::int32_t bits = 0;
        for (std::size_t i = 0; i < radios_.size(); ++i) bits |= radios_[i]->GetValue() ? 1 << i : 0;
        for (std::size_t i = 0; i < checks_.size(); ++i) bits |= checks_[i]->GetValue() ? 1 << i : 0;
        return bits == 0 ? u"" : ToText(bits);
    }
    std::u16string answer;
    for (std::size_t i = 0; i < texts_.size(); ++i) {
        if (i > 0) answer += u"@";
        std::u16string blank = ui::StoredLines(texts_[i]->GetValue());
        // "@" and "#" separate blanks and alternatives: no answer can hold them.
        if (kind_ == Kind::Fill) std::erase_if(blank, [](char16_t unit) { return unit == u'@' || unit == u'#'; });
        answer += blank;
    }
    return answer;
}

}  // namespace qmtrain::host
