// Lets TrainInfo::ShowDlg show the history window, before main. Nothing refers to this file, so a program that links
// qmtrain::windows names its symbol to the linker, which would leave it in the library otherwise.
#include "review/ui_train.h"

namespace qmtrain {
namespace {

bool Installed() {
    InstallHistoryWindow();
    return true;
}

}  // namespace
}  // namespace qmtrain

extern "C" {
extern const bool qmtrain_history_window;
const bool qmtrain_history_window = qmtrain::Installed();
}
