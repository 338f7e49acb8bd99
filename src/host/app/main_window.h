// The host's main window: candidate, subject, papers and past results.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include <wx/button.h>
#include <wx/choice.h>
#include <wx/dataview.h>
#include <wx/frame.h>
#include <wx/radiobut.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/timer.h>

#include "host/data/data_folder.h"
#include "host/data/people.h"
#include "host/data/settings.h"
#include "host/practice/overview.h"
#include "host/practice/unfinished.h"
#include "host/widgets/curve.h"

namespace qmtrain::host {

struct WrongFilter;

inline constexpr std::u16string_view kMainTitle = u"全国计算机等级考试模拟练习";
inline constexpr int kBandRow = 44;  // the height of a practice that is not handed in; pixels of an unscaled screen

class MainWindow : public wxFrame {
public:
    // What is not given is as it was the last time. Raises the component's error for a candidate or a subject that does
    // not exist.
    struct Choices {
        std::optional<std::int32_t> user = {};
        std::optional<std::int32_t> subject = {};
        std::optional<Edition> edition = {};
    };
    MainWindow(DataFolder folder, const Choices& choices);

    void StartPaper(const Paper& paper, Mode mode);
    void Resume(std::int32_t train_id);
    void ShowHistory();
    void ShowHistory(std::int32_t user, std::int32_t subject);
    void ShowNotes();
    void ShowWrongQuestions(const WrongFilter* filter = nullptr);
    void ShowReview();
    void ShowAnalysis(bool everybody = false);
    void ShowNotes(std::int32_t user, std::int32_t subject);

    // Reads everything anew.
    void Fill();

    wxChoice* CboUser = nullptr;
    wxChoice* CboSubject = nullptr;
    wxStaticText* LblUser = nullptr;
    wxButton* BtnRules = nullptr;
    wxRadioButton* OptStandAlone = nullptr;
    wxRadioButton* OptNet = nullptr;
    wxScrolledWindow* Band = nullptr;
    std::vector<wxButton*> BtnResume;
    std::vector<wxButton*> BtnDiscard;
    wxDataViewListCtrl* LvPapers = nullptr;
    wxPanel* Nothing = nullptr;  // in the place of papers when there are none
    wxStaticText* LblNothing = nullptr;
    wxButton* BtnNothing = nullptr;
    wxButton* BtnExam = nullptr;
    wxButton* BtnExercise = nullptr;
    wxStaticText* LblFigures = nullptr;
    Curve* PicCurve = nullptr;
    wxDataViewListCtrl* LvLast = nullptr;
    wxStaticText* LblNoLast = nullptr;
    wxButton* BtnReview = nullptr;
    wxButton* BtnHistory = nullptr;
    wxButton* BtnNotes = nullptr;
    wxButton* BtnWrong = nullptr;
    wxButton* BtnToday = nullptr;  // says how many questions are due
    wxButton* BtnAnalysis = nullptr;
    wxStaticText* LblFolder = nullptr;

    std::int32_t UserId() const;
    std::int32_t SubjectCode() const;
    Edition GetEdition() const { return OptNet->GetValue() ? Edition::Network : Edition::StandAlone; }

private:
    void Build();
    void BuildMenu();
    wxSizer* BuildChoices(wxWindow* page);
    wxSizer* BuildPapers(wxWindow* page);
    wxSizer* BuildPast(wxWindow* page);
    void BindEvents();
    void Choose(const Choices& choices);
    void FillPeople(std::int32_t user, std::int32_t subject);
    void FillBand();
    void Upload(bool asked);
    void FillPapers(std::int32_t selected);
    void FillPast();
    void CountDueQuestions();
    void ShowNothing();
    void PractiseSelected(Mode mode);
    void AskDiscard(const UnfinishedPractice& practice);
    void ReviewSelected();
    void RedoSelected();
    void ShowPastMenu();
    void ShowRules();
    void EditCandidate(bool is_new);
    void EditSubject(bool is_new);
    void ComposeFromBank();
    void MakeExamples();
    void Remember();
    const PastPractice* SelectedPast() const;

    // Tells the user why the body has failed.
    void Guarded(const std::function<void()>& body);

    // The same for what happens by itself: that the database server is away stands in the window.
    void AtServer(const std::function<void()>& body);

    DataFolder folder_;
    bool read_only_;
    Settings settings_;
    std::vector<Candidate> users_;
    std::vector<Subject> subjects_;
    Overview overview_;
    std::u16string server_away_;          // why; empty: it is there, or there is none
    std::function<void()> when_nothing_;  // what the button in the place of papers does
    wxTimer upload_timer_;                // runs while practices wait for the server, or the window does
};

}  // namespace qmtrain::host
