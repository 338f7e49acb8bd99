// A small curve of rates, with a line at the pass mark.
#pragma once

#include <vector>

#include <wx/window.h>

namespace qmtrain::host {

class Curve : public wxWindow {
public:
    explicit Curve(wxWindow* parent);

    // Percents, oldest first; the newest ones are shown.
    void SetRates(std::vector<float> rates);

private:
    void Paint();

    std::vector<float> rates_;
};

}  // namespace qmtrain::host
