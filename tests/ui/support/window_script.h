// Drives windows on a display: a script of steps for a modal window, with real mouse and keyboard input.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/dialog.h>
#include <wx/timer.h>
#include <wx/uiaction.h>

#include "ui/toolkit.h"

namespace qmtrain::test {

// The window of a class that is shown; null when there is none.
template <class Window>
Window* Shown() {
    for (wxWindow* window : wxTopLevelWindows) {
        auto* found = dynamic_cast<Window*>(window);
        if (found != nullptr && found->IsShown()) return found;
    }
    return nullptr;
}

inline void MoveTo(const wxWindow& window, wxPoint place) {
    wxUIActionSimulator().MouseMove(window.ClientToScreen(place));
}
inline void Click(const wxWindow& window, wxPoint place) {
    MoveTo(window, place);
    wxUIActionSimulator().MouseClick();
}
inline void Click(const wxWindow& window) {
    const wxSize size = window.GetClientSize();
    Click(window, {size.x / 2, size.y / 2});
}
inline void Press(int key) {
    wxUIActionSimulator().Char(key);
}

// Steps are taken while a modal window runs, each when the one before it has come true. After the last one, and when
// waiting takes too long, every modal window is closed.
class WindowScript {
public:
    using Step = std::function<void()>;
    using Condition = std::function<bool()>;

    WindowScript& Do(Step step) { return Add({"", std::move(step), nullptr}); }
    WindowScript& Await(const char* what, Condition condition) { return Add({what, nullptr, std::move(condition)}); }
    // What closes the last window; the script does not.
    WindowScript& DoLast(Step step) {
        closes_itself_ = true;
        return Do(std::move(step));
    }

    // `show` returns when the window is closed.
    void Play(const Step& show) {
        constexpr int kTick = 20;
        wxTimer timer;
        timer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { Tick(); });
        timer.Start(kTick);
        watch_.Start();
        show();
        EXPECT_EQ(next_, entries_.size()) << "the window closed before the end of the script";
    }
    int Play(wxDialog& window) {
        int result = 0;
        Play([&] { result = window.ShowModal(); });
        return result;
    }

private:
    struct Entry {
        std::string awaited;
        Step step;
        Condition condition;
    };

    WindowScript& Add(Entry entry) {
        entries_.push_back(std::move(entry));
        return *this;
    }

    void Tick() {
        constexpr long kPatience = 20000;  // milliseconds
        if (watch_.Time() > kPatience) {
            ADD_FAILURE() << "waited in vain: " << (next_ < entries_.size() ? entries_[next_].awaited : "for the end");
            next_ = entries_.size();
            closes_itself_ = false;
            watch_.Start();
        }
        if (next_ == entries_.size()) {
            if (!closes_itself_) CloseInnermost();
            return;
        }
        const Entry& entry = entries_[next_];
        if (entry.condition && !entry.condition()) return;
        ++next_;
        watch_.Start();
        if (entry.step) entry.step();
    }

    // One at each tick: the loop of an outer one cannot end before the inner one has.
    static void CloseInnermost() {
        wxDialog* innermost = nullptr;
        for (wxWindow* window : wxTopLevelWindows) {
            auto* dialog = dynamic_cast<wxDialog*>(window);
            if (dialog != nullptr && dialog->IsModal()) innermost = dialog;
        }
        if (innermost != nullptr) {
            innermost->EndModal(wxID_CANCEL);
        } else {
            wxTheApp->ExitMainLoop();  // of a main window
        }
    }

    std::vector<Entry> entries_;
    std::size_t next_ = 0;
    bool closes_itself_ = false;
    wxStopWatch watch_;
};

// A fixture with a display; what the toolkit objects to is a failure.
template <class Fixture>
class WithDisplay : public Fixture {
protected:
    void SetUp() override {
        if (!ui::StartToolkit(u"tests")) GTEST_SKIP() << "There is no display; xvfb-run has one.";
        wxSetAssertHandler([](const wxString& file, int line, const wxString& function, const wxString& condition,
                              const wxString& message) {
            ADD_FAILURE() << file << ":" << line << " " << function << ": " << condition << " " << message;
        });
    }
};

}  // namespace qmtrain::test
