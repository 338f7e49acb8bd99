// Lists whose columns share the width that they have.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include <wx/dataview.h>

namespace qmtrain::host {

struct ListColumn {
    std::u16string_view title;
    int width;  // the least one, in pixels of an unscaled screen
    wxAlignment alignment;
    bool spare = false;  // left out where there is no room for all, the last one first
};

// The column at `flexible` takes what the others leave, and ends with an ellipsis.
wxDataViewListCtrl* MakeFittedList(wxWindow* parent, std::u16string_view name, const std::vector<ListColumn>& columns,
                                   std::size_t flexible);

}  // namespace qmtrain::host
