#include "notes/ui_manage_notes.h"

#include "notes/frm_notes.h"
#include "ui/toolkit.h"

namespace qmtrain {

void UIManageNotes::ShowDlg() {
    const ui::ToolkitUse toolkit(u"UIManageNotes.ShowDlg");
    if (!toolkit) return;
    notes::FrmNotes({.data_mdb_path = data_mdb_path_,
                     .client_path = client_path_,
                     .total_path = total_path_,
                     .local_paper_path = local_paper_path_,
                     .is_net = is_net_,
                     .subject_code = subject_code_,
                     .user_id = user_id_})
        .ShowModal();
}

}  // namespace qmtrain
