// The sort order of the history list, as clicks on its headers change it.
#pragma once

#include <array>

namespace qmtrain::review {

inline constexpr int kAscendingIcon = 1;
inline constexpr int kDescendingIcon = 2;
inline constexpr int kHistoryColumns = 9;

class HistorySort {
public:
    // `header` counts from 1. "得分" and "得分率(%)" sort by their copies with leading zeros, "总分" by its own text.
    void Click(int header);

    // The column, counted from 0. Before the first click the list is in the order of its filling.
    int Key() const { return key_; }
    bool Ascending() const { return ascending_; }

    // The icon of a header counted from 1; 0 is none.
    int Icon(int header) const { return icons_[header - 1]; }

private:
    void SetIcon(int header, int icon) { icons_[header - 1] = icon; }

    int key_ = 0;
    bool ascending_ = true;
    std::array<int, kHistoryColumns> icons_{};
};

}  // namespace qmtrain::review
