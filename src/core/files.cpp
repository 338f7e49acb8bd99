#include "core/files.h"

#include <random>

#include "core/error.h"

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

void FileSystem::RenameToNew(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (Exists(to)) Raise(ErrorNumber::DatabaseExists, {FromNativePath(to)});
    Rename(from, to);
}

std::string UniqueName(std::string_view before, std::string_view after) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr int kLength = 16;
    std::random_device random;
    std::string name(before);
    for (int i = 0; i < kLength; ++i) name += kDigits[random() % kDigits.size()];
    return name += after;
}

std::u16string InFolder(std::u16string_view folder, std::u16string_view file) {
    std::u16string path(folder);
    if (path.empty() || path.back() != u'\\') path += u'\\';
    return path.append(file);
}

}  // namespace qmtrain
