// What the windows remember between sessions: sizes and choices. It is kept in the host's own database.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/data/data_folder.h"

namespace qmtrain::host {

class Settings {
public:
    explicit Settings(const DataFolder& folder) : folder_(folder) {}

    // Empty for what has not been set. Failures to read or write are ignored: no window fails for them.
    std::u16string Text(std::u16string_view name) const;
    std::int32_t Number(std::u16string_view name, std::int32_t otherwise) const;
    void Set(std::u16string_view name, std::u16string_view value) const;

private:
    DataFolder folder_;
};

// "960 640 1": the size of a window in pixels of an unscaled screen, and whether it fills the screen.
struct WindowPlace {
    int width = 0;
    int height = 0;
    bool maximized = false;

    static WindowPlace FromText(std::u16string_view text, WindowPlace otherwise);
    std::u16string ToText() const;
};

}  // namespace qmtrain::host
