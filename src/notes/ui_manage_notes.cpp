#include "notes/ui_manage_notes.h"

#include "notes/frm_notes.h"
#include "ui/toolkit.h"

namespace qmtrain {

void UIManageNotes::ShowDlg() {
    const ui::ToolkitUse toolkit(u"UIManageNotes.ShowDlg");
    if (!toolkit) return;
    notes::FrmNotes({source_, total_path_}).ShowModal();
}

}  // namespace qmtrain
