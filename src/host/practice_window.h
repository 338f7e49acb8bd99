// The window in which a paper is practised.
#pragma once

#include <optional>
#include <vector>

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/stattext.h>
#include <wx/timer.h>

#include "host/answer_panel.h"
#include "host/practice.h"
#include "ui/rich_text_view.h"

namespace qmtrain::host {

class PracticeWindow : public wxDialog {
public:
    // The practice must outlive the window.
    PracticeWindow(const DataFolder& folder, Practice& practice);

    // What was obtained; nothing while the paper has not been handed in.
    const std::optional<PracticeResult>& Result() const { return result_; }

    void GoTo(std::size_t index);
    std::size_t Current() const { return current_; }

    AnswerPanel* Answers = nullptr;
    ui::RichTextView* RtfQuestion = nullptr;
    wxStaticText* LblTitle = nullptr;
    wxStaticText* LblTime = nullptr;
    std::vector<wxButton*> BtnQuestions;
    wxButton* BtnPrevious = nullptr;
    wxButton* BtnNext = nullptr;
    wxButton* BtnMark = nullptr;
    wxButton* BtnNote = nullptr;
    wxButton* BtnHandIn = nullptr;

private:
    void Build();
    wxSizer* BuildNavigator();
    wxSizer* BuildButtons();
    void BindEvents();
    void ShowQuestion();
    void ShowState(std::size_t index);
    void ShowTime();
    void KeepAnswer();
    void Tick();
    void ToggleMark();
    void WriteNote();
    void AskHandIn();
    void HandIn();
    void Leave();

    // Runs a step that may fail, and tells the user why it did.
    template <class Body>
    void Guarded(Body body);

    DataFolder folder_;
    Practice& practice_;
    std::size_t current_ = 0;
    std::optional<PracticeResult> result_;
    bool told_ = false;  // a failing save is reported once for each question
    int covered_ = 0;    // boxes and dialogs that are open over the window
    wxTimer timer_;
};

}  // namespace qmtrain::host
