#include "core/files.h"

#include <algorithm>
#include <random>

#include "core/error.h"

namespace qmtrain {
namespace {

constexpr std::size_t kLongestName = 255;  // bytes, on Windows UTF-16 units

}  // namespace

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

bool IsTooLongName(const std::filesystem::path& path) {
    return path.filename().native().size() > kLongestName;
}

std::filesystem::path WithEnding(const std::filesystem::path& path, std::string_view ending, std::size_t room) {
    using Text = std::filesystem::path::string_type;
    Text whole = path.native();
    const std::size_t too_long = path.filename().native().size() + ending.size() + room;
    std::size_t cut = too_long > kLongestName ? too_long - kLongestName : 0;
    const auto is_inside = [](Text::value_type unit) {  // of a character of several units
        return sizeof unit == 1 ? (unit & 0xC0) == 0x80 : (unit & 0xFC00) == 0xDC00;
    };
    while (cut > 0 && cut < whole.size() && is_inside(whole[whole.size() - cut])) ++cut;
    whole.resize(whole.size() - std::min(cut, whole.size()));
    whole.append(ending.begin(), ending.end());
    return whole;
}

std::u16string InFolder(std::u16string_view folder, std::u16string_view file) {
    std::u16string path(folder);
    if (path.empty() || path.back() != u'\\') path += u'\\';
    return path.append(file);
}

}  // namespace qmtrain
