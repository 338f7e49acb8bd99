// wxWidgets in a program that may not have started it.
#pragma once

#include <string_view>

namespace qmtrain::ui {

// For a program of our own: starts wxWidgets unless that has happened; it stays until the program ends. False without a
// display, or while another thread has windows; the log says so under the operation's name.
bool StartToolkit(std::u16string_view operation);

// For a window in a program that may know nothing of wxWidgets: a use of it from before the window is made until it is
// gone. The first use starts wxWidgets unless the program has; the end of the outermost one stops it, so that the next
// window may open on any thread. (GTK stays with the thread that it was started on.) A WM_QUIT that the program posts
// meanwhile closes the windows and is posted again after the outermost one.
class ToolkitUse {
public:
    enum class State {
        Ready,
        NoDisplay,
        OnOtherThread,  // which has windows open
    };

    // Without an operation the log says nothing.
    explicit ToolkitUse(std::u16string_view operation = {});
    ToolkitUse(const ToolkitUse&) = delete;
    ToolkitUse& operator=(const ToolkitUse&) = delete;
    ~ToolkitUse();

    State GetState() const { return state_; }
    explicit operator bool() const { return state_ == State::Ready; }

private:
    State state_;
};

#ifdef _WIN32
// The library whose windows they are (a HINSTANCE), when it is not the program. Before the first use.
void SetToolkitModule(void* module);
#endif

}  // namespace qmtrain::ui
