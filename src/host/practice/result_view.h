// The result of a paper: the score, whether it is a pass, the time, and how each kind of question went.
#pragma once

#include <wx/panel.h>

#include "host/papers/outcome.h"
#include "host/widgets/look.h"

namespace qmtrain::host {

class ResultView : public wxPanel {
public:
    ResultView(wxWindow* parent, const Outcome& outcome, std::u16string_view title);

    // As it is read out: "总分 100，得分 70，及格。…"
    const std::u16string& Text() const { return text_; }

private:
    std::u16string text_;
};

// A bar filled to a share from 0 to 1, with a line at another share.
class ShareBar : public wxWindow {
public:
    ShareBar(wxWindow* parent, double share, Tint tint, std::u16string_view name, int height);
    void SetShare(double share, std::u16string_view name);
    double Share() const { return share_; }

private:
    void Paint();

    double share_;
    Tint tint_;
};

}  // namespace qmtrain::host
