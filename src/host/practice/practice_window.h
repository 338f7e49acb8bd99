// The window in which a paper is practised, and in which it is looked through when it has been handed in.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/dialog.h>
#include <wx/infobar.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/timer.h>

#include "host/data/settings.h"
#include "host/papers/question_view.h"
#include "host/practice/navigator_view.h"
#include "host/practice/practice.h"
#include "host/practice/result_view.h"

namespace qmtrain::host {

class PracticeWindow : public wxDialog {
public:
    // The practice must outlive the window. ShowModal returns wxID_OK when the paper has been handed in.
    PracticeWindow(wxWindow* parent, const DataFolder& folder, Practice& practice);

    // What is to be practised next, when the candidate has chosen that.
    const std::optional<Practice::Start>& Again() const { return again_; }

    void GoTo(std::size_t index);
    std::size_t Current() const { return current_; }

    QuestionView* Question = nullptr;
    ResultView* Summary = nullptr;
    NavigatorView* Navigator = nullptr;
    wxStaticText* LblTitle = nullptr;
    wxStaticText* LblKind = nullptr;
    wxStaticText* LblPaper = nullptr;
    wxStaticText* LblTime = nullptr;
    wxStaticText* LblCounts = nullptr;
    ShareBar* Progress = nullptr;
    wxInfoBar* Notice = nullptr;
    wxButton* BtnTime = nullptr;
    wxButton* BtnSmaller = nullptr;
    wxButton* BtnLarger = nullptr;
    wxButton* BtnHelp = nullptr;
    wxButton* BtnPrevious = nullptr;
    wxButton* BtnNext = nullptr;
    wxButton* BtnCheck = nullptr;
    wxButton* BtnMark = nullptr;
    wxButton* BtnClear = nullptr;
    wxButton* BtnNote = nullptr;
    wxButton* BtnLeave = nullptr;
    wxButton* BtnHandIn = nullptr;
    wxCheckBox* ChkMistakes = nullptr;
    wxButton* BtnSummary = nullptr;
    wxButton* BtnRedoMistakes = nullptr;
    wxButton* BtnRedoPaper = nullptr;
    wxButton* BtnClose = nullptr;

private:
    void Build();
    wxSizer* BuildHeader();
    wxSizer* BuildNavigator();
    wxSizer* BuildButtons();
    void BindEvents();
    bool HandleKey(const wxKeyEvent& event);
    bool ChooseByKey(int key);
    void Step(int direction);
    void StepThrough(int direction);
    void Enter();
    void ShowQuestion();
    void ShowState();
    void ShowCells();
    void ShowCell(std::size_t index);
    void ShowTime();
    void ShowNoteState();
    void ShowSummary();
    void Zoom(int direction);
    void ToggleTime();
    void KeepAnswer();
    void Check();
    void Tick();
    void KeepTime();
    void ToggleMark();
    void WriteNote();
    void AskHandIn();
    void HandIn();
    void Finished();
    void Leave();
    void Redo(Mode mode);

    bool IsOver() const { return result_.has_value(); }
    bool IsLast() const { return current_ + 1 >= practice_.Size(); }

    // While it lives, something is open over the window.
    class Covering {
    public:
        explicit Covering(int& count) : count_(count) { ++count_; }
        Covering(const Covering&) = delete;
        Covering& operator=(const Covering&) = delete;
        ~Covering() { --count_; }

    private:
        int& count_;
    };

    // Runs a step that may fail, and tells the user why it did.
    void Guarded(const std::function<void()>& body);

    DataFolder folder_;
    Practice& practice_;
    Settings settings_;
    std::size_t current_ = 0;
    std::optional<Outcome> result_;  // nothing while the paper has not been handed in
    std::optional<Practice::Start> again_;
    std::u16string candidate_;
    std::chrono::steady_clock::time_point ask_for_notes_;  // not before: the server is away
    int zoom_ = 100;
    bool time_hidden_ = false;
    bool told_ = false;       // a failing save is reported once for each question
    bool reminded_ = false;   // that little time is left
    bool time_over_ = false;  // of an exam: what is not handed in yet can only be handed in
    int covered_ = 0;         // boxes and dialogs that are open over the window
    wxBoxSizer* body_ = nullptr;
    wxBoxSizer* buttons_ = nullptr;
    wxTimer timer_;
};

// Shows the practice, and what the candidate wants to practise after it. Raises the component's error when that cannot
// be started.
void Practise(wxWindow* parent, const DataFolder& folder, Practice& practice);

}  // namespace qmtrain::host
