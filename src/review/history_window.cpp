// A program that links the windows has this file in it, and with it what TrainInfo::ShowDlg shows.
#include "review/ui_train.h"

namespace qmtrain {
namespace {

[[maybe_unused]] const bool installed = (InstallHistoryWindow(), true);

}  // namespace
}  // namespace qmtrain
