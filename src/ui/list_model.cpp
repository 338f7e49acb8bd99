#include "ui/list_model.h"

#include <algorithm>

#include "core/collation.h"
#include "core/text.h"

namespace qmtrain::ui {

std::optional<std::size_t> ListModel::Find(std::u16string_view key) const {
    const auto found =
        std::find_if(rows_.begin(), rows_.end(), [&](const ListRow& row) { return EqualNames(row.key, key); });
    if (found == rows_.end()) return std::nullopt;
    return static_cast<std::size_t>(found - rows_.begin());
}

void ListModel::Sort(std::size_t column, bool ascending) {
    const auto less = [&](const ListRow& a, const ListRow& b) {
        const int order = collation::Compare(a.cells[column], b.cells[column]);
        return ascending ? order < 0 : order > 0;
    };
    std::stable_sort(rows_.begin(), rows_.end(), less);
}

}  // namespace qmtrain::ui
