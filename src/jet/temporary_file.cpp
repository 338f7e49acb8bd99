#include "jet/temporary_file.h"

#include "core/error.h"
#include "core/files.h"

namespace qmtrain::jet {

std::unique_ptr<File> OpenTemporaryFile(FileSystem& system) {
    std::error_code failed;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(failed);
    if (failed) Raise(ErrorNumber::DiskError, {u"临时文件", u"系统的临时文件夹不存在。"});
    const std::filesystem::path path = folder / UniqueName("qmtrain-", ".tmp");
    auto file = system.OpenPlain(path, OpenMode::CreateNew);  // no other account may read it
    system.Remove(path);                                      // the file stays as long as it is open
    return file;
}

}  // namespace qmtrain::jet
