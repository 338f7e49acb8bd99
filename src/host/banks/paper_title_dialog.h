// A paper of questions that were chosen by hand: asks for its title, and stays while it cannot be made.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/data/data_folder.h"
#include "host/papers/paper_rules.h"
#include "host/widgets/form_dialog.h"

namespace qmtrain::host {

class PaperTitleDialog : public FormDialog {
public:
    PaperTitleDialog(wxWindow* parent, const DataFolder& folder, const std::vector<ChosenQuestion>& questions);
    std::u16string Title() const;
    std::int32_t PaperNo() const { return number_; }

private:
    wxTextCtrl* title_;
    std::int32_t number_ = -1;
};

}  // namespace qmtrain::host
