#include "dao/engine.h"

#include <filesystem>

#include "core/error.h"
#include "core/files.h"
#include "dao/database.h"
#include "jet/database.h"

namespace qmtrain::dao {

Engine& Engine::Instance() {
    static Engine engine;
    return engine;
}

std::vector<std::shared_ptr<Database>> Engine::OpenDatabases() {
    std::vector<std::shared_ptr<Database>> open;
    std::erase_if(databases_, [&](const std::weak_ptr<Database>& known) {
        auto database = known.lock();
        if (!database || !database->IsOpen()) return true;
        open.push_back(std::move(database));
        return false;
    });
    return open;
}

std::shared_ptr<Database> Engine::Adopt(std::shared_ptr<Database> database) {
    OpenDatabases();  // forgets those that are gone
    databases_.push_back(database);
    for (int i = 0; i < transactions_; ++i) database->Storage().BeginTransaction();
    return database;
}

std::shared_ptr<Database> Engine::OpenDatabase(std::u16string_view name, bool read_only) {
    std::filesystem::path path = ToNativePath(name);
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        const bool ends = !name.empty() && (name.back() == u'\\' || name.back() == u'/');
        path = ToNativePath(std::u16string(name) + (ends ? u"Total.mdb" : u"\\Total.mdb"));
    }
    return Adopt(std::make_shared<Database>(std::u16string(name), jet::Database::Open(path, {.read_only = read_only})));
}

std::shared_ptr<Database> Engine::CreateDatabase(std::u16string_view name) {
    return Adopt(std::make_shared<Database>(std::u16string(name), jet::Database::Create(ToNativePath(name))));
}

void Engine::BeginTrans() {
    ++transactions_;
    for (const auto& database : OpenDatabases()) database->Storage().BeginTransaction();
}

void Engine::CommitTrans() {
    if (transactions_ == 0) Raise(ErrorNumber::TransactionNotStarted);
    --transactions_;
    for (const auto& database : OpenDatabases()) database->Storage().CommitTransaction();
}

void Engine::Rollback() {
    if (transactions_ == 0) Raise(ErrorNumber::TransactionNotStarted);
    --transactions_;
    for (const auto& database : OpenDatabases()) database->Storage().RollbackTransaction();
}

}  // namespace qmtrain::dao
