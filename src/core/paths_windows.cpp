#include <windows.h>

#include "core/files.h"
#include "core/windows_calls.h"
#include "core/windows_text.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;

DWORD AttributesOf(std::u16string_view path) {
    return path.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(ToNativePath(path).c_str());
}

}  // namespace

fs::path ToNativePath(std::u16string_view path) {
    return Extended(ToWide(path));
}

std::u16string FromNativePath(const fs::path& path) {
    const std::wstring_view native = path.native();
    if (native.starts_with(kLongSharePrefix)) return u"\\\\" + FromWide(native.substr(kLongSharePrefix.size()));
    if (native.starts_with(kLongPrefix)) return FromWide(native.substr(kLongPrefix.size()));
    return FromWide(native);
}

bool FileExists(std::u16string_view path) {
    const DWORD attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

fs::path ProgramFolder() {
    std::wstring name(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
        if (length < name.size()) {
            name.resize(length);
            return fs::path(name).parent_path();
        }
        name.resize(name.size() * 2);
    }
}

}  // namespace qmtrain
