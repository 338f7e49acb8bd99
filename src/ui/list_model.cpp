#include "ui/list_model.h"

#include <algorithm>

#include "core/collation.h"
#include "core/text.h"

namespace qmtrain::ui {

std::u16string CellText(std::u16string_view cell) {
    constexpr std::size_t kLongestShown = 300;
    const bool cut = cell.size() > kLongestShown;
    if (cut) cell = cell.substr(0, kLongestShown - (IsHighSurrogate(cell[kLongestShown - 1]) ? 1 : 0));
    std::u16string text;
    for (const char16_t unit : cell) {
        const bool control = unit < 0x20 || unit == 0x7F || unit == 0x2028 || unit == 0x2029;
        if (unit == u'\n' && text.ends_with(u' ')) continue;  // of CR LF
        text += control ? u' ' : unit;
    }
    if (cut) text += u'…';
    return text;
}

void ListModel::SetRows(std::size_t count, std::function<ListRow(std::size_t)> make) {
    rows_.assign(count, std::nullopt);
    make_ = std::move(make);
}

const ListRow& ListModel::Row(std::size_t index) const {
    std::optional<ListRow>& row = rows_[index];
    if (!row) row = make_(index);
    return *row;
}

std::optional<std::size_t> ListModel::Find(std::u16string_view key) const {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        if (EqualNames(Row(i).key, key)) return i;
    }
    return std::nullopt;
}

void ListModel::Sort(std::size_t column, bool ascending) {
    std::vector<ListRow> rows;
    rows.reserve(rows_.size());
    for (std::size_t i = 0; i < rows_.size(); ++i) rows.push_back(Row(i));
    std::ranges::stable_sort(rows, [&](const ListRow& a, const ListRow& b) {
        const int order = collation::Compare(a.cells[column], b.cells[column]);
        return ascending ? order < 0 : order > 0;
    });
    std::ranges::move(rows, rows_.begin());
}

}  // namespace qmtrain::ui
