#include "host/new_folder.h"

#include <system_error>

#include "bank/schema.h"
#include "core/client_folder.h"
#include "core/error.h"
#include "core/files.h"
#include "records/schema.h"

namespace qmtrain::host {

void MakeDataFolder(std::u16string_view folder) {
    std::error_code failed;
    std::filesystem::create_directories(ToNativePath(folder), failed);
    if (failed) Raise(ErrorNumber::InvalidPath, {folder});
    if (!FileExists(ClientDatabase(folder))) CreateClientDatabase(folder);
    if (!FileExists(InFolder(folder, u"Total.mdb"))) CreateCatalogue(folder);
    const std::u16string paper = InFolder(folder, u"LocalPaper.mdb");
    if (!FileExists(paper)) CreateLocalPaperDatabase(paper);
}

}  // namespace qmtrain::host
