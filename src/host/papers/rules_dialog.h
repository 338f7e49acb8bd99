// A paper by rules, out of one bank or several.
#pragma once

#include <map>
#include <vector>

#include <wx/checkbox.h>
#include <wx/checklst.h>
#include <wx/choice.h>

#include "exchange/bank_file.h"
#include "host/papers/paper_rules.h"
#include "host/widgets/form_dialog.h"

namespace qmtrain::host {

class RulesDialog : public FormDialog {
public:
    // Raises what the engine raises.
    RulesDialog(wxWindow* parent, const DataFolder& folder);
    std::int32_t PaperNo() const { return paper_no_; }

    wxCheckListBox* LstBanks;
    wxTextCtrl* TxtTitle;
    wxSpinCtrl* SpnMinutes;
    std::map<QuestionKind, wxSpinCtrl*> SpnCounts;
    std::map<QuestionKind, wxSpinCtrlDouble*> SpnPoints;
    wxChoice* CboLeast;
    wxChoice* CboMost;
    wxCheckBox* ChkSeldom;
    wxCheckBox* ChkNotFromLast;
    wxSpinCtrl* SpnSeed;

private:
    PaperRules Rules() const;

    std::vector<exchange::BankEntry> banks_;
    std::int32_t paper_no_ = -1;
};

}  // namespace qmtrain::host
