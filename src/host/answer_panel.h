// Where a candidate answers the question on the screen: choices, yes or no, blanks, or a text.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <wx/checkbox.h>
#include <wx/panel.h>
#include <wx/radiobut.h>
#include <wx/textctrl.h>

#include "host/papers.h"

namespace qmtrain::host {

class AnswerPanel : public wxPanel {
public:
    explicit AnswerPanel(wxWindow* parent);

    // Makes the controls for the question and fills them with what has been answered.
    void Ask(const Question& question, std::u16string_view answer);

    // The answer in the form in which results store it.
    std::u16string Answer() const;

    // The candidate has changed something.
    std::function<void()> OnChange;

    // As if the candidate had entered it.
    void Enter(std::u16string_view answer);

private:
    void BuildChoices(int count, bool several);
    void BuildYesNo();
    void BuildNoRadio();
    void BuildBlanks(int count);
    void BuildText();
    void Fill(std::u16string_view answer);

    Kind kind_ = Kind::Unknown;
    std::vector<wxRadioButton*> radios_;
    wxRadioButton* no_radio_ = nullptr;
    std::vector<wxCheckBox*> checks_;
    std::vector<wxTextCtrl*> texts_;
};

}  // namespace qmtrain::host
