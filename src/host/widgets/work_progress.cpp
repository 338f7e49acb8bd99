#include "host/widgets/work_progress.h"

#include "ui/wx_text.h"

namespace qmtrain::host {

exchange::Progress WorkProgress::Of(std::u16string_view step) {
    return [this, step = ui::ToWx(step)](std::size_t done, std::size_t all) {
        constexpr int kMost = 1000;
        if (!dialog_) {
            if (std::chrono::steady_clock::now() - start_ < std::chrono::milliseconds(500)) return true;
            dialog_ = std::make_unique<wxProgressDialog>(ui::ToWx(title_), step, kMost, parent_,
                                                         wxPD_APP_MODAL | wxPD_CAN_ABORT);
        }
        const std::size_t part = all == 0 ? 0 : done * (kMost - 1) / all;
        return dialog_->Update(static_cast<int>(std::min<std::size_t>(part, kMost - 1)), step);
    };
}

}  // namespace qmtrain::host
