// wxWidgets in a program that may not have started it.
#pragma once

#include <string_view>

namespace qmtrain::ui {

// Starts wxWidgets unless the program has done so; it then stays until the program ends. Without a display it returns
// false, and the log says so under the operation's name.
bool StartToolkit(std::u16string_view operation);

}  // namespace qmtrain::ui
