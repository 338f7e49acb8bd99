// The two tabs of the history window, of which one is active.
#pragma once

#include <array>

namespace qmtrain::review {

inline constexpr int kListTab = 0;
inline constexpr int kChartTab = 1;
inline constexpr const char16_t* kTabCaptions[] = {u"列表显示", u"图形显示"};

// Twips by which an active tab stands higher.
inline constexpr int kTabRise = 15;

class TabPair {
public:
    // False for the tab that is active already: nothing is to be painted or shown then.
    bool Click(int tab) {
        if (tab == active_) return false;
        active_ = tab;
        return true;
    }

    int Active() const { return active_; }

private:
    int active_ = kListTab;
};

}  // namespace qmtrain::review
