#include <algorithm>
#include <system_error>

#include "core/files.h"
#include "core/text.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;

// The entry of `folder` whose name equals `name` without regard to case; `name` itself when there is none.
fs::path FindWithoutCase(const fs::path& folder, const fs::path& name) {
    const std::u16string wanted = FoldName(FromNativePath(name));
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.empty() ? fs::path(".") : folder, ignored)) {
        if (FoldName(FromNativePath(entry.path().filename())) == wanted) return entry.path().filename();
    }
    return name;
}

}  // namespace

fs::path ToNativePath(std::u16string_view path) {
    std::string text = ToUtf8(path);
    std::replace(text.begin(), text.end(), '\\', '/');
    fs::path written(text);
    std::error_code ignored;
    if (written.empty() || fs::exists(written, ignored)) return written;
    fs::path found;
    for (const fs::path& name : written) {
        const fs::path next = found / name;
        found = name.empty() || fs::exists(next, ignored) ? next : found / FindWithoutCase(found, name);
    }
    return found;
}

std::u16string FromNativePath(const fs::path& path) {
    return FromUtf8(path.string());
}

bool FileExists(std::u16string_view path) {
    std::error_code ignored;
    return !path.empty() && fs::is_regular_file(ToNativePath(path), ignored);
}

fs::path ProgramFolder() {
    std::error_code ignored;
    return fs::read_symlink("/proc/self/exe", ignored).parent_path();
}

}  // namespace qmtrain
