// The keys of the practice window.

#include <wx/textctrl.h>

#include "host/practice/practice_window.h"

namespace qmtrain::host {
namespace {

// Presses the button whose caption underlines the letter. Not every Windows looks for it beyond the panel that has the
// keyboard.
bool PressByLetter(const wxWindow& window, int letter) {
    for (wxWindow* child : window.GetChildren()) {
        if (!child->IsShown()) continue;
        if (auto* button = dynamic_cast<wxButton*>(child); button != nullptr && button->IsEnabled()) {
            if (button->GetLabel().Upper().Contains(wxString("&") + static_cast<wxChar>(letter))) {
                auto* click = new wxCommandEvent(wxEVT_BUTTON, button->GetId());
                click->SetEventObject(button);
                button->GetEventHandler()->QueueEvent(click);
                return true;
            }
        }
        if (PressByLetter(*child, letter)) return true;
    }
    return false;
}

}  // namespace

// Steps that rebuild the answer come after the key: the control that got it must not be gone before.
bool PracticeWindow::HandleKey(const wxKeyEvent& event) {
    wxWindow* focus = FindFocus();
    const bool in_text = dynamic_cast<wxTextEntry*>(focus) != nullptr;
    const bool in_box = in_text && focus->HasFlag(wxTE_MULTILINE);
    const bool on_button = dynamic_cast<wxAnyButton*>(focus) != nullptr || dynamic_cast<wxCheckBox*>(focus) != nullptr;
    const int key = event.GetKeyCode();
    if (event.AltDown()) return PressByLetter(*this, key);
    switch (key) {
        case WXK_ESCAPE: CallAfter([this] { Leave(); }); return true;
        case WXK_F1: {
            wxCommandEvent click(wxEVT_BUTTON, BtnHelp->GetId());
            BtnHelp->ProcessWindowEvent(click);
            return true;
        }
        case WXK_PAGEUP:
        case WXK_PAGEDOWN:
            if (in_text && !event.ControlDown()) return false;
            CallAfter([this, key] { Step(key == WXK_PAGEUP ? -1 : 1); });
            return true;
        case WXK_RETURN:
        case WXK_NUMPAD_ENTER:
            if (on_button || (in_box && !event.ControlDown())) return false;
            CallAfter([this] { Enter(); });
            return true;
        default: break;
    }
    if (event.ControlDown()) {
        switch (key) {
            case '+':
            case '=':
            case WXK_NUMPAD_ADD: Zoom(1); return true;
            case '-':
            case WXK_NUMPAD_SUBTRACT: Zoom(-1); return true;
            case '0':
            case WXK_NUMPAD0: Zoom(0); return true;
            default: return false;
        }
    }
    return !in_text && ChooseByKey(key);
}

bool PracticeWindow::ChooseByKey(int key) {
    if (IsOver()) return false;
    if (key >= 'A' && key <= 'H') return Question->Answers().Choose(static_cast<std::size_t>(key - 'A'));
    if (key >= '1' && key <= '8') return Question->Answers().Choose(static_cast<std::size_t>(key - '1'));
    if (key >= WXK_NUMPAD1 && key <= WXK_NUMPAD8) {
        return Question->Answers().Choose(static_cast<std::size_t>(key - WXK_NUMPAD1));
    }
    return false;
}

// The next blank, the answer of an exercise, the next question, handing in: whatever comes next.
void PracticeWindow::Enter() {
    const auto* focus = FindFocus();
    if (focus == Navigator && Navigator->Cursor() != current_) return GoTo(Navigator->Cursor());
    if (!IsOver() && Question->Answers().FocusNextBlank()) return;
    const bool answered = practice_.HowAnswered(current_) != Answered::No;
    if (!IsOver() && answered && BtnCheck != nullptr && BtnCheck->IsEnabled()) return Check();
    Step(1);
}

}  // namespace qmtrain::host
