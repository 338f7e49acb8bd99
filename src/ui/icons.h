// The component's icons, drawn sharp at any scale.
#pragma once

#include <cstdint>

#include <wx/bmpbndl.h>

namespace qmtrain::ui {

enum class Icon : std::uint8_t {
    Pass,
    Fail,
    Ascending,
    Descending,
    Notebook,
    Bank,
    Note,
    Edit,
    Save,
    Delete,
    Previous,
    Next,
};

enum class IconState : std::uint8_t { Enabled, Disabled };

// `size` in pixels of an unscaled screen.
wxBitmapBundle GetIcon(Icon icon, int size = 16, IconState state = IconState::Enabled);

}  // namespace qmtrain::ui
