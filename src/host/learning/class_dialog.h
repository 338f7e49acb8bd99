// The candidates whose figures a teacher looks at.
#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include <wx/checklst.h>

#include "host/data/people.h"
#include "host/widgets/form_dialog.h"

namespace qmtrain::host {

// Whose figures a teacher looks at; with all of them marked, or none, those of all candidates.
class ClassDialog : public FormDialog {
public:
    ClassDialog(wxWindow* parent, std::vector<Candidate> candidates, const std::set<std::int32_t>& chosen);
    std::set<std::int32_t> Chosen() const;

    wxCheckListBox* LstCandidates;

private:
    std::vector<Candidate> candidates_;
};

}  // namespace qmtrain::host
