#include "dao/jet_engine.h"

#include "core/error.h"
#include "dao/jet_database.h"
#include "jet/database.h"

namespace qmtrain::dao {

std::vector<std::shared_ptr<JetDatabase>> JetEngine::OpenDatabases() {
    std::vector<std::shared_ptr<JetDatabase>> open;
    std::erase_if(databases_, [&](const std::weak_ptr<JetDatabase>& known) {
        auto database = known.lock();
        if (!database || !database->IsOpen()) return true;
        open.push_back(std::move(database));
        return false;
    });
    return open;
}

std::shared_ptr<JetDatabase> JetEngine::Adopt(std::shared_ptr<JetDatabase> database) {
    const std::scoped_lock lock(mutex_);
    OpenDatabases();  // forgets those that are gone
    databases_.push_back(database);
    for (int i = 0; i < transactions_; ++i) database->Storage().BeginTransaction();
    return database;
}

std::shared_ptr<JetDatabase> JetEngine::OpenDatabase(std::u16string_view name, bool read_only) {
    return Adopt(JetDatabase::Open(name, read_only));
}

std::shared_ptr<JetDatabase> JetEngine::CreateDatabase(std::u16string_view name) {
    return Adopt(JetDatabase::Create(name));
}

void JetEngine::BeginTrans() {
    const std::scoped_lock lock(mutex_);
    ++transactions_;
    for (const auto& database : OpenDatabases()) database->Storage().BeginTransaction();
}

void JetEngine::CommitTrans() {
    const std::scoped_lock lock(mutex_);
    if (transactions_ == 0) Raise(ErrorNumber::TransactionNotStarted);
    --transactions_;
    for (const auto& database : OpenDatabases()) database->Storage().CommitTransaction();
}

void JetEngine::Rollback() {
    const std::scoped_lock lock(mutex_);
    if (transactions_ == 0) Raise(ErrorNumber::TransactionNotStarted);
    --transactions_;
    for (const auto& database : OpenDatabases()) database->Storage().RollbackTransaction();
}

}  // namespace qmtrain::dao
