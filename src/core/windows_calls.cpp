#include "core/windows_calls.h"

#include <algorithm>
#include <array>

#include <aclapi.h>

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "core/windows_text.h"

namespace qmtrain {
namespace {

constexpr DWORD kQuotaExceeded = 1295;

std::u16string ErrorText(DWORD code) {
    std::array<wchar_t, 512> text{};
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                                        text.data(), static_cast<DWORD>(text.size()), nullptr);
    std::u16string message = FromWide({text.data(), length});
    while (!message.empty() && message.back() <= u' ') message.pop_back();
    return message.empty() ? u"错误 " + ToText(code) : message;
}

}  // namespace

std::wstring Extended(const std::wstring& path) {
    if (path.size() < kShortPath || path.starts_with(kLongPrefix) || path.starts_with(L"\\\\.\\")) return path;
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(std::min<std::size_t>(
        full.size(), GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr)));
    if (full.empty()) return path;
    if (full.starts_with(L"\\\\")) return std::wstring(kLongSharePrefix) + full.substr(2);
    return std::wstring(kLongPrefix) + full;
}

void RaiseSystemError(const std::filesystem::path& path, DWORD code) {
    const std::u16string name = FromNativePath(path);
    switch (code) {
        case ERROR_FILE_NOT_FOUND: Raise(ErrorNumber::FileNotFound, {name});
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME:
        case ERROR_INVALID_DRIVE:
        case ERROR_BAD_PATHNAME:
        case ERROR_BAD_NETPATH:
        case ERROR_BAD_NET_NAME:
        case ERROR_DIRECTORY:
        case ERROR_FILENAME_EXCED_RANGE: Raise(ErrorNumber::InvalidPath, {name});
        case ERROR_ACCESS_DENIED:
        case ERROR_WRITE_PROTECT:
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
        case ERROR_DELETE_PENDING:
        case ERROR_USER_MAPPED_FILE:
        case ERROR_FILE_EXISTS:
        case ERROR_ALREADY_EXISTS: Raise(ErrorNumber::CannotOpenFile, {name});
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
        case kQuotaExceeded:
        case ERROR_FILE_TOO_LARGE: Raise(ErrorNumber::DiskFull, {name});
        default: Raise(ErrorNumber::DiskError, {name, ErrorText(code)});
    }
}

DWORD TryOpen(const std::wstring& path, DWORD access, DWORD disposition, Handle& out, DWORD flags) {
    constexpr DWORD kNoIdentity = SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS;
    out = Handle(CreateFileW(path.c_str(), access, kSharedWithAll, nullptr, disposition,
                             FILE_ATTRIBUTE_NORMAL | kNoIdentity | flags, nullptr));
    return out.IsOpen() ? kSuccess : GetLastError();
}

Owner::Owner(const std::wstring& path) {
    GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner_,
                          nullptr, &rights_, nullptr, &descriptor_);
}

Owner::Owner(HANDLE file) {
    GetSecurityInfo(file, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner_, nullptr,
                    &rights_, nullptr, &descriptor_);
}

bool MayWrite(const Owner& account, HANDLE file) {
    const Owner target(file);
    if (account.Account() == nullptr || target.Account() == nullptr || target.Rights() == nullptr) return true;
    if (EqualSid(account.Account(), target.Account()) != FALSE) return true;
    TRUSTEE_W trustee{};
    BuildTrusteeWithSidW(&trustee, account.Account());
    ACCESS_MASK rights = 0;
    if (GetEffectiveRightsFromAclW(target.Rights(), &trustee, &rights) != kSuccess) return true;
    return (rights & FILE_WRITE_DATA) != 0;
}

}  // namespace qmtrain
