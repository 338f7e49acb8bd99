// A progress bar with a button to cancel, for work that takes more than half a second.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include <wx/progdlg.h>

#include "exchange/question.h"

namespace qmtrain::host {

class WorkProgress {
public:
    WorkProgress(wxWindow* parent, std::u16string_view title) : parent_(parent), title_(title) {}

    // Of the next step of the work; it counts from its own beginning.
    exchange::Progress Of(std::u16string_view step);

private:
    wxWindow* parent_;
    std::u16string title_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::unique_ptr<wxProgressDialog> dialog_;
};

}  // namespace qmtrain::host
