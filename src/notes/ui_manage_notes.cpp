#include "notes/ui_manage_notes.h"

#include "notes/frm_notes.h"
#include "ui/toolkit.h"

namespace qmtrain {

void UIManageNotes::ShowDlg() {
    if (!ui::StartToolkit(u"UIManageNotes.ShowDlg")) return;
    notes::FrmNotes(source_).ShowModal();
}

}  // namespace qmtrain
