#include "dao/new_database.h"

#include <string>

#include "core/error.h"
#include "dao/jet_engine.h"
#include "jet/session.h"

namespace qmtrain::dao {

void MakeDatabase(std::u16string_view name, std::u16string_view statements, const DatabaseFill& fill,
                  const jet::NewDatabase& settings, FileSystem& files) {
    const std::filesystem::path place = ToNativePath(name);
    if (files.Exists(place)) Raise(ErrorNumber::DatabaseExists, {name});
    std::filesystem::path unfinished = place;
    unfinished.replace_extension();
    unfinished += UniqueName("-", ".new");
    try {
        // Not the engine's: a transaction that is open there would undo everything when this is closed.
        const auto database = JetEngine::Instance().CreateDatabase(
            FromNativePath(unfinished), settings, {.session = std::make_shared<jet::Session>(), .files = &files});
        database->Atomically([&] {
            database->ExecuteScript(statements);
            if (fill) fill(*database);
        });
        database->Close();
        files.RenameToNew(unfinished, place);
    } catch (const AutomationError&) {
        files.Remove(unfinished);
        throw;
    }
    files.SyncFolder(place.parent_path());
}

}  // namespace qmtrain::dao
