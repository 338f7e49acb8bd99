// How a candidate's practice goes, in charts, and what to practise now; for a teacher all candidates and every
// question.
#pragma once

#include <set>
#include <vector>

#include <wx/button.h>
#include <wx/checklst.h>
#include <wx/choice.h>
#include <wx/dialog.h>
#include <wx/notebook.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "host/analysis.h"
#include "host/bars.h"
#include "host/form_dialog.h"
#include "host/people.h"
#include "host/settings.h"
#include "review/score_chart.h"
#include "ui/list_view.h"

namespace qmtrain::host {

// Whose figures a teacher looks at; with every one marked, or none, they are everybody's.
class ClassDialog : public FormDialog {
public:
    ClassDialog(wxWindow* parent, std::vector<Candidate> candidates, const std::set<std::int32_t>& chosen);
    std::set<std::int32_t> Chosen() const;

    wxCheckListBox* LstCandidates;

private:
    std::vector<Candidate> candidates_;
};

class AnalysisWindow : public wxDialog {
public:
    AnalysisWindow(wxWindow* parent, const DataFolder& folder, Edition edition, std::int32_t user, std::int32_t subject,
                   bool read_only);

    int ShowModal() override;

    // What the user has chosen to practise; the window is closed then.
    const std::optional<Advice>& Chosen() const { return chosen_; }

    wxStaticText* LblFigures = nullptr;
    wxStaticText* LblForecast = nullptr;
    wxChoice* CboSubject = nullptr;
    review::ScoreChart* PicRates = nullptr;
    RateBars* PicTypes = nullptr;
    RateBars* PicBanks = nullptr;
    RateBars* PicLevels = nullptr;
    RateBars* PicSubjects = nullptr;
    PaceChart* PicPace = nullptr;
    CountColumns* PicHours = nullptr;
    Calendar* PicDays = nullptr;
    wxNotebook* Pages = nullptr;
    ui::ListView* LvCandidates = nullptr;
    ui::ListView* LvItems = nullptr;
    wxStaticText* LblAnswers = nullptr;
    std::vector<wxStaticText*> LblAdvice;
    std::vector<wxButton*> BtnAdvice;
    wxButton* BtnExport = nullptr;
    wxButton* BtnClass = nullptr;  // of all candidates

private:
    void Build();
    wxWindow* BuildCharts(wxWindow* parent);
    wxWindow* BuildCandidates(wxWindow* parent);
    wxWindow* BuildItems(wxWindow* parent);
    void Fill();
    void FillCharts();
    void FillRates();
    void FillAdvice();
    void FillCandidates();
    void FillItems();
    void ShowAnswers();
    void ChooseClass();

    DataFolder folder_;
    bool read_only_;
    Settings settings_;
    Analysis analysis_;
    std::vector<std::int32_t> subjects_;
    std::vector<ItemRow> items_;
    ui::ListModel candidate_rows_;
    ui::ListModel item_rows_;
    std::vector<Advice> advice_;
    std::optional<Advice> chosen_;
    wxScrolledWindow* page_ = nullptr;
    wxFlexGridSizer* advice_rows_ = nullptr;
    wxSizer* below_ = nullptr;  // charts that say nothing without answers
    int sorted_items_by_ = -1;
    bool ascending_ = true;
};

}  // namespace qmtrain::host
