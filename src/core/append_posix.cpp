#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;

constexpr off_t kLockedByte = off_t{1} << 40;  // nobody reads there
constexpr auto kPatience = std::chrono::seconds(2);

class AppendedFile {
public:
    // A link is not followed, since it may lead to a file that is not ours to write; a pipe is not waited for.
    explicit AppendedFile(const fs::path& path)
        : descriptor_(open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666)),
          path_(path) {
        if (descriptor_ < 0) RaiseCannotOpen();
        struct stat info {};
        if (fstat(descriptor_, &info) != 0 || !S_ISREG(info.st_mode) || info.st_nlink != 1) {
            close(descriptor_);
            RaiseCannotOpen();
        }
    }
    AppendedFile(const AppendedFile&) = delete;
    AppendedFile& operator=(const AppendedFile&) = delete;
    ~AppendedFile() { close(descriptor_); }

    void Lock() {
        const auto give_up = std::chrono::steady_clock::now() + kPatience;
        while (!TryLock()) {
            if (std::chrono::steady_clock::now() > give_up) {
                Raise(ErrorNumber::CannotLockFile, {FromNativePath(path_)});
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    void Append(std::string_view bytes) {
        struct stat info {};
        if (fstat(descriptor_, &info) != 0) RaiseDiskError();
        const off_t end = info.st_size;
        for (std::size_t done = 0; done < bytes.size();) {
            const ssize_t count =
                pwrite(descriptor_, bytes.data() + done, bytes.size() - done, end + static_cast<off_t>(done));
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) {
                const int code = errno;
                [[maybe_unused]] const int ignored = ftruncate(descriptor_, end);
                errno = code;
                RaiseDiskError();
            }
            done += count;
        }
    }

private:
    bool TryLock() {
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        lock.l_start = kLockedByte;
        lock.l_len = 1;
        if (fcntl(descriptor_, F_OFD_SETLK, &lock) == 0) return true;
        if (errno != EAGAIN && errno != EACCES && errno != EINTR) RaiseDiskError();
        return false;
    }

    [[noreturn]] void RaiseCannotOpen() { Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path_)}); }
    [[noreturn]] void RaiseDiskError() {
        const std::string reason = std::system_category().message(errno);
        Raise(errno == ENOSPC || errno == EDQUOT || errno == EFBIG ? ErrorNumber::DiskFull : ErrorNumber::DiskError,
              {FromNativePath(path_), FromUtf8(reason)});
    }

    int descriptor_;
    fs::path path_;
};

}  // namespace

// The lock makes the end of the file ours, so that a partial write can be cut off again.
void AppendToFile(const fs::path& path, std::string_view bytes) {
    AppendedFile file(path);
    file.Lock();
    file.Append(bytes);
}

}  // namespace qmtrain
