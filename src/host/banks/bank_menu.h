// The main window's menu of banks and papers.
#pragma once

#include <functional>
#include <optional>

#include <wx/frame.h>
#include <wx/menu.h>

#include "host/papers/papers.h"

namespace qmtrain::host {

// What the menu asks of its window.
struct BankMenuHost {
    std::function<std::optional<Paper>()> selected_paper;
    std::function<Edition()> edition;
    std::function<void()> changed;  // banks or papers are
};

// `frame` outlives the menu.
wxMenu* MakeBankMenu(wxFrame& frame, const DataFolder& folder, bool read_only, BankMenuHost host);

}  // namespace qmtrain::host
