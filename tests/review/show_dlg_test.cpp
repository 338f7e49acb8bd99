// A host that links the windows and asks for the history alone.

#include "records/client_fixture.h"
#include "records/train_info.h"
#include "review/frm_train.h"
#include "ui/support/window_script.h"

namespace qmtrain::review {
namespace {

using ShowDlgTest = test::WithDisplay<test::ClientTest>;

TEST_F(ShowDlgTest, ShowsTheWindowAndEscapeClosesIt) {
    using test::Shown;
    test::WindowScript script;
    script.Await("the window", [] { return Shown<FrmTrain>() != nullptr && Shown<FrmTrain>()->IsActive(); })
        .Do([] { EXPECT_EQ(Shown<FrmTrain>()->LvTrainInfo->GetItemCount(), 0); })
        .DoLast([] { test::Press(WXK_ESCAPE); });
    script.Play([] { TrainInfo().ShowDlg(); });
    EXPECT_EQ(Shown<FrmTrain>(), nullptr);
}

}  // namespace
}  // namespace qmtrain::review
