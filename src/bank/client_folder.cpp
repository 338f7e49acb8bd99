#include "bank/client_folder.h"

#include "core/error.h"
#include "core/files.h"

namespace qmtrain {

std::u16string ClientDatabase(std::u16string_view folder) {
    return InFolder(folder, u"Client.mdb");
}

void RequireClientDatabase(std::u16string_view folder) {
    if (FileExists(ClientDatabase(folder))) return;
    std::u16string description = u"路径[";
    description.append(folder).append(u"]错误,路径下不存在Client.mdb数据库");
    RaiseComponentError(u"QmTrainInfo", std::move(description));
}

bool OpenClientDatabase(std::u16string_view folder, dao::Connection& database, std::u16string& problem) {
    const std::u16string file = ClientDatabase(folder);
    if (!FileExists(file)) {
        problem = file + u"数据库不存在!";
        return false;
    }
    database.Open(file);
    return true;
}

}  // namespace qmtrain
