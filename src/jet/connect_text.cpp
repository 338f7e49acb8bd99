#include "jet/connect_text.h"

#include <algorithm>

#include "core/text.h"

namespace qmtrain::jet {

bool NamesAccess(std::u16string_view connect) {
    const std::u16string_view program = connect.substr(0, connect.find(u';'));
    return program.empty() || EqualNames(program, u"MS Access");
}

std::optional<std::u16string> ConnectValue(std::u16string_view connect, std::u16string_view key) {
    for (std::size_t at = connect.find(u';'); at != std::u16string_view::npos; at = connect.find(u';', at + 1)) {
        const std::u16string_view rest = connect.substr(at + 1);
        const std::u16string_view part = rest.substr(0, rest.find(u';'));
        const std::size_t equals = part.find(u'=');
        if (equals == std::u16string_view::npos || !EqualNames(part.substr(0, equals), key)) continue;
        return std::u16string(part.substr(equals + 1));
    }
    return std::nullopt;
}

}  // namespace qmtrain::jet
