#include "jet/temporary_file.h"

#include "core/error.h"
#include "core/files.h"

namespace qmtrain::jet {

std::unique_ptr<File> OpenTemporaryFile(FileSystem& system) {
    const std::filesystem::path path = std::filesystem::temp_directory_path() / UniqueName("qmtrain-", ".tmp");
    auto file = system.Open(path, OpenMode::CreateNew);
    system.Remove(path);  // the file stays as long as it is open
    return file;
}

}  // namespace qmtrain::jet
