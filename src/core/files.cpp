#include "core/files.h"

#include <chrono>
#include <thread>

#include "core/error.h"

namespace qmtrain {

namespace fs = std::filesystem;

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

// The lock makes the end of the file ours, so that a write which got through only in part can be taken back.
void AppendToFile(const fs::path& path, std::string_view bytes) {
    constexpr std::uint64_t kLockedByte = std::uint64_t{1} << 40;  // nobody reads there
    constexpr auto kPatience = std::chrono::seconds(2);
    const auto file = FileSystem::Native().Open(path, OpenMode::Create);
    const auto give_up = std::chrono::steady_clock::now() + kPatience;
    while (!file->TryLock(kLockedByte, 1, File::Lock::Exclusive)) {
        if (std::chrono::steady_clock::now() > give_up) Raise(ErrorNumber::CannotLockFile, {FromNativePath(path)});
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    const std::uint64_t end = file->Size();
    try {
        file->WriteAt(end, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    } catch (const AutomationError&) {
        file->Resize(end);
        throw;
    }
}

}  // namespace qmtrain
