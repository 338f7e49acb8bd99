#include "review/ui_train.h"

#include <wx/app.h>

#include "records/train_info.h"
#include "review/frm_train.h"
#include "ui/toolkit.h"

namespace qmtrain {

void UITrain::ShowUI() {
    const ui::ToolkitUse toolkit(u"UITrain.ShowUI");
    if (!toolkit) return;
    review::FrmTrain window(source_);
    window.RdDoQuestionPaper = [this](std::int32_t train_id, bool written) {
        wxYield();
        if (ReDoQuestionPaper) ReDoQuestionPaper(train_id, written);
        wxYield();
    };
    window.ShowModal();
}

void InstallHistoryWindow() {
    TrainInfo::SetHistoryWindow([] {
        const ui::ToolkitUse toolkit(u"TrainInfo.ShowDlg");
        if (!toolkit) return;
        review::FrmTrain().ShowModal();
    });
}

}  // namespace qmtrain
