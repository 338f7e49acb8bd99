// The rows of a report list, and their order.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qmtrain::ui {

struct ListRow {
    std::u16string key;                 // a text prefix and a number: a bare number is no key
    std::vector<std::u16string> cells;  // may be more than are shown
    int icon = 0;                       // 1 is the first of the list's icons, 0 none
    bool warning = false;               // red and bold
};

// A cell as a list shows it: in one line, line breaks and other control characters as blanks, and cut off far beyond
// what a column shows.
std::u16string CellText(std::u16string_view cell);

class ListModel {
public:
    void Clear() { rows_.clear(); }
    void Add(ListRow row) { rows_.emplace_back(std::move(row)); }

    // Instead of Add(): that many rows, each of which is made when it is first needed.
    void SetRows(std::size_t count, std::function<ListRow(std::size_t)> make);

    std::size_t Size() const { return rows_.size(); }
    const ListRow& Row(std::size_t index) const;

    // Keys compare without regard to letter case.
    std::optional<std::size_t> Find(std::u16string_view key) const;

    // By the texts of a column, in the order of dictionaries; rows with equal texts stay as they were.
    void Sort(std::size_t column, bool ascending);

private:
    mutable std::vector<std::optional<ListRow>> rows_;
    std::function<ListRow(std::size_t)> make_;  // by the order before any Sort, which makes them all
};

}  // namespace qmtrain::ui
