#include "core/files.h"

namespace qmtrain {

std::size_t File::ReadParts(std::uint64_t offset, std::span<const std::span<std::uint8_t>> parts) {
    std::size_t done = 0;
    for (const std::span<std::uint8_t> part : parts) {
        const std::size_t count = ReadAt(offset + done, part);
        done += count;
        if (count < part.size()) break;
    }
    return done;
}

std::u16string InFolder(std::u16string_view folder, std::u16string_view file) {
    std::u16string path(folder);
    if (path.empty() || path.back() != u'\\') path += u'\\';
    return path.append(file);
}

}  // namespace qmtrain
