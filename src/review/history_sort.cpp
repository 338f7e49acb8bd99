#include "review/history_sort.h"

namespace qmtrain::review {
namespace {

// Headers up to "总分" sort by their own column; the ones after it by the hidden copy three columns further on.
constexpr int kLastOwnColumn = 4;
constexpr int kCopyDistance = 3;
constexpr int kLastVisibleKey = 6;

}  // namespace

void HistorySort::Click(int header) {
    const int key = (header <= kLastOwnColumn ? header : header + kCopyDistance) - 1;
    if (key == key_) {
        ascending_ = !ascending_;
        SetIcon(header, ascending_ ? kAscendingIcon : kDescendingIcon);
        return;
    }
    SetIcon(key_ + 1, 0);
    if (key_ > kLastVisibleKey) SetIcon(key_ - 2, 0);
    ascending_ = true;
    SetIcon(header, kAscendingIcon);
    key_ = key;
}

}  // namespace qmtrain::review
