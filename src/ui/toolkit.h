// wxWidgets in a program that may not have started it.
#pragma once

#include <string_view>

namespace qmtrain::ui {

// Starts wxWidgets unless the program has done so; it then stays until the program or StopToolkit ends it. Without a
// display, or on another thread than that of the first window, it returns false, and the log says so under the
// operation's name.
bool StartToolkit(std::u16string_view operation);

// Ends what StartToolkit has started; a later StartToolkit starts it again. False on another thread, and while a window
// is open.
bool StopToolkit();

#ifdef _WIN32
// The library whose windows they are (a HINSTANCE), when it is not the program. Before the first StartToolkit.
void SetToolkitModule(void* module);
#endif

}  // namespace qmtrain::ui
