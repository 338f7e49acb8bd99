#include <chrono>
#include <thread>

#include <windows.h>

#include "core/error.h"
#include "core/files.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;

// Holds a plain file of one name, which cannot be put away or replaced meanwhile. A link is not followed, since it may
// lead to a file that is not ours to write.
class PlainFile {
public:
    explicit PlainFile(const fs::path& path)
        : handle_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                              FILE_FLAG_OPEN_REPARSE_POINT, nullptr)) {
        if (handle_ != INVALID_HANDLE_VALUE && IsPlain()) return;
        if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
        Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});
    }
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;
    ~PlainFile() { CloseHandle(handle_); }

private:
    bool IsPlain() const {
        BY_HANDLE_FILE_INFORMATION info{};
        FILE_ATTRIBUTE_TAG_INFO tag{};
        if (GetFileType(handle_) != FILE_TYPE_DISK || !GetFileInformationByHandle(handle_, &info)) return false;
        if (info.nNumberOfLinks != 1) return false;
        if ((info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return true;
        // Files that lie in a cloud have such a point, too, and are files.
        return GetFileInformationByHandleEx(handle_, FileAttributeTagInfo, &tag, sizeof tag) &&
               !IsReparseTagNameSurrogate(tag.ReparseTag);
    }

    HANDLE handle_;
};

}  // namespace

// The lock makes the end of the file ours, so that a partial write can be cut off again.
void AppendToFile(const fs::path& path, std::string_view bytes) {
    constexpr std::uint64_t kLockedByte = std::uint64_t{1} << 40;  // nobody reads there
    constexpr auto kPatience = std::chrono::seconds(2);
    const PlainFile plain(path);
    const auto file = FileSystem::Native().Open(path, OpenMode::ReadWrite);
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
