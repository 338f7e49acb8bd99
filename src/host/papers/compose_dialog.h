// Papers drawn from one bank.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include <wx/choice.h>

#include "host/papers/compose.h"
#include "host/widgets/form_dialog.h"

namespace qmtrain::host {

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
