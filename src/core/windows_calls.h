// Files by the system's own calls: names of any length, handles, errors, owners.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include <windows.h>

namespace qmtrain {

inline constexpr DWORD kSuccess = ERROR_SUCCESS;
inline constexpr DWORD kSharedWithAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Paths longer than this, to which endings may yet be appended, need the form that starts with "\\?\".
inline constexpr std::size_t kShortPath = 200;
inline constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
inline constexpr std::wstring_view kLongSharePrefix = L"\\\\?\\UNC\\";

// The path in a form of any length.
std::wstring Extended(const std::wstring& path);

[[noreturn]] void RaiseSystemError(const std::filesystem::path& path, DWORD code);

class Handle {
public:
    explicit Handle(HANDLE handle = INVALID_HANDLE_VALUE) : handle_(handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Handle() {
        if (IsOpen()) CloseHandle(handle_);
    }

    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return handle_; }

private:
    HANDLE handle_;
};

// Returns the system's error. If the path leads to a pipe, the server of that cannot impersonate the caller.
DWORD TryOpen(const std::wstring& path, DWORD access, DWORD disposition, Handle& out, DWORD flags = 0);

inline DWORD ErrorUnless(BOOL done) {
    return done != FALSE ? kSuccess : GetLastError();
}

inline OVERLAPPED At(std::uint64_t offset) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return place;
}

// What the system says of a file's owner and rights; null where it says nothing.
class Owner {
public:
    explicit Owner(HANDLE file);
    explicit Owner(const std::wstring& path);
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() { LocalFree(descriptor_); }

    PSID Account() const { return owner_; }
    PACL Rights() const { return rights_; }

private:
    PSECURITY_DESCRIPTOR descriptor_ = nullptr;
    PSID owner_ = nullptr;
    PACL rights_ = nullptr;
};

// Whether the account may write the file, for its own or by its groups; yes where the system does not tell.
bool MayWrite(const Owner& account, HANDLE file);

}  // namespace qmtrain
