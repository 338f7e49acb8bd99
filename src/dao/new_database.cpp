#include "dao/new_database.h"

#include <string>

#include "core/error.h"
#include "core/whole_file.h"
#include "dao/jet_engine.h"
#include "jet/create_database.h"
#include "jet/session.h"

namespace qmtrain::dao {

void MakeDatabase(std::u16string_view name, std::u16string_view statements, const DatabaseFill& fill,
                  const jet::NewDatabase& settings, FileSystem& files) {
    const std::filesystem::path place = ToNativePath(name);
    if (files.Exists(place)) Raise(ErrorNumber::DatabaseExists, {name});
    const std::filesystem::path unfinished = jet::UnfinishedPath(place);
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
    } catch (const AutomationError& error) {
        files.Remove(unfinished);
        throw NamedAfter(place, error, unfinished);
    }
    files.SyncFolder(place.parent_path());
}

}  // namespace qmtrain::dao
