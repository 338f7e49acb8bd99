// Where a candidate answers the question on the screen: options, yes or no, blanks, or a text.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <wx/panel.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "host/papers/choice_row.h"
#include "host/papers/papers.h"

namespace qmtrain::host {

class AnswerPanel : public wxPanel {
public:
    explicit AnswerPanel(wxWindow* parent);

    // Makes the controls for the question and fills them with what has been answered.
    void Ask(const QuestionContent& question, std::u16string_view answer, int zoom);

    // The answer in the form in which results store it.
    std::u16string Answer() const;

    // The candidate has changed something.
    std::function<void()> OnChange;
    // A control has got the focus by the user, and may lie outside what is seen.
    std::function<void(wxWindow&)> OnFocus;

    // As if the candidate had entered it. An empty one takes the answer back.
    void Enter(std::u16string_view answer);

    // Chooses the option of a place, or takes it back where several may be chosen. False when there is none.
    bool Choose(std::size_t place);

    // What was given and what is right; nothing can be changed any more.
    void Reveal(std::u16string_view standard_answer);

    // The answer takes the keyboard: what has been chosen, or the first that can be.
    void FocusAnswer();
    // The blank after the one that has the focus; false when there is none.
    bool FocusNextBlank();

    // Arranges the controls in a column; its height.
    int Arrange(int width);

    std::vector<ChoiceRow*> Rows;
    std::vector<wxTextCtrl*> Texts;

private:
    void AddRow(ChoiceRow::Selection kind, std::u16string letter, document::RichText text);
    void AddText(long style, std::u16string_view name);
    void MoveFrom(std::size_t place, int direction);
    void Fill(std::u16string_view answer);
    void TellFocus(wxWindow& control);

    QuestionKind kind_ = QuestionKind::Unknown;
    std::vector<wxStaticText*> captions_;
    bool locked_ = false;
    wxWindow* first_ = nullptr;  // what FocusAnswer has given the focus
};

}  // namespace qmtrain::host
