#include "host/banks/paper_title_dialog.h"

#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr int kMinutes = 60;

}  // namespace

PaperTitleDialog::PaperTitleDialog(wxWindow* parent, const DataFolder& folder,
                                   const std::vector<ChosenQuestion>& questions)
    : FormDialog(parent, u"组成试卷") {
    title_ = AddText(u"试卷名称(&N)", u"自选试卷");
    Finish(u"组成试卷(&P)", [this, folder, questions] { number_ = MakePaper(folder, Title(), kMinutes, questions); });
    title_->SetFocus();
    title_->SelectAll();
}

std::u16string PaperTitleDialog::Title() const {
    return ui::FromWx(title_->GetValue());
}

}  // namespace qmtrain::host
