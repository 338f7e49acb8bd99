#include "dao/new_database.h"

#include <memory>
#include <string>

#include "core/error.h"
#include "core/files.h"
#include "dao/database.h"
#include "jet/database.h"

namespace qmtrain::dao {

void MakeDatabase(std::u16string_view name, std::u16string_view statements, const DatabaseFill& fill) {
    FileSystem& files = FileSystem::Native();
    const std::filesystem::path place = ToNativePath(name);
    if (files.Exists(place)) Raise(ErrorNumber::DatabaseExists, {name});
    const std::u16string unfinished_name = std::u16string(name) + u".new";
    const std::filesystem::path unfinished = ToNativePath(unfinished_name);
    files.Remove(unfinished);  // of a run that was broken off
    try {
        // Not the engine's: a transaction that is open there would undo everything when this is closed.
        const auto database = std::make_shared<Database>(unfinished_name, jet::Database::Create(unfinished));
        database->Atomically([&] {
            database->ExecuteScript(statements);
            if (fill) fill(*database);
        });
        database->Close();
        files.Rename(unfinished, place);
    } catch (const AutomationError&) {
        files.Remove(unfinished);
        throw;
    }
    files.SyncFolder(place.parent_path());
}

}  // namespace qmtrain::dao
