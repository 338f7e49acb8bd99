// A dialog with a few fields, and what is done with them.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <wx/button.h>
#include <wx/choice.h>
#include <wx/dialog.h>
#include <wx/sizer.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "host/compose.h"
#include "host/people.h"

namespace qmtrain::host {

class FormDialog : public wxDialog {
public:
    wxButton* BtnOK = nullptr;

protected:
    FormDialog(wxWindow* parent, std::u16string_view title);

    wxTextCtrl* AddText(std::u16string_view caption, std::u16string_view value, bool large = false);
    wxSpinCtrl* AddNumber(std::u16string_view caption, int value, int least, int most);
    void AddControl(std::u16string_view caption, wxWindow* control, bool grows = false);
    void AddLine(wxStaticText* line);

    // To be called last. `keep` raises the component's error for what is not accepted; the dialog then stays.
    void Finish(std::u16string_view ok, std::function<void()> keep);

private:
    wxFlexGridSizer* grid_;
    wxBoxSizer* sizer_;
};

class CandidateDialog : public FormDialog {
public:
    CandidateDialog(wxWindow* parent, const DataFolder& folder, Candidate candidate);
    std::int32_t Id() const { return candidate_.id; }

    wxTextCtrl* TxtName;
    wxTextCtrl* TxtNumber;

private:
    Candidate candidate_;
};

class SubjectDialog : public FormDialog {
public:
    SubjectDialog(wxWindow* parent, const DataFolder& folder, Subject subject);
    std::int32_t Code() const { return subject_.code; }

    wxTextCtrl* TxtName;
    wxTextCtrl* TxtRules;

private:
    Subject subject_;
};

// Draws a paper from a bank's questions.
class ComposeDialog : public FormDialog {
public:
    // Requires: a bank.
    ComposeDialog(wxWindow* parent, const DataFolder& folder, std::vector<Bank> banks);
    std::int32_t PaperNo() const { return paper_no_; }
    std::int32_t SubjectCode() const;

    wxChoice* CboBank;
    wxTextCtrl* TxtTitle;
    wxSpinCtrl* SpnMinutes;
    std::map<QuestionKind, wxSpinCtrl*> SpnCounts;
    wxStaticText* LblProblem;

private:
    void ShowBank();

    std::vector<Bank> banks_;
    std::int32_t paper_no_ = -1;
};

}  // namespace qmtrain::host
