#include "dao/jet_engine.h"

#include "dao/database_settings.h"
#include "dao/jet_database.h"
#include "jet/database.h"
#include "odbc/connect_string.h"

namespace qmtrain::dao {

JetEngine& JetEngine::Instance() {
    static JetEngine engine;
    return engine;
}

// Of the thread that calls. Those that nobody uses any more are forgotten.
std::shared_ptr<jet::Session> JetEngine::OwnSession() {
    const std::scoped_lock lock(mutex_);
    std::erase_if(sessions_,
                  [](const auto& known) { return known.second.use_count() == 1 && !known.second->IsInTransaction(); });
    std::shared_ptr<jet::Session>& session = sessions_[std::this_thread::get_id()];
    if (!session) session = std::make_shared<jet::Session>();
    return session;
}

std::shared_ptr<JetDatabase> JetEngine::OpenDatabase(std::u16string_view name, bool read_only,
                                                     std::u16string_view connect, LinkRights links, bool exclusive) {
    auto database = JetDatabase::Open(name, read_only, OwnSession(), PasswordIn(connect), links, exclusive);
    if (odbc::ConnectString::IsOdbc(connect)) database->ServerLogin(connect);
    return database;
}

std::shared_ptr<JetDatabase> JetEngine::CreateDatabase(std::u16string_view name, std::u16string_view locale,
                                                       std::int32_t options) {
    return JetDatabase::Create(name, OwnSession(), NewDatabaseOf(locale, options));
}

void JetEngine::BeginTrans() {
    OwnSession()->BeginTransaction();
}

void JetEngine::CommitTrans(const std::function<void()>& other) {
    OwnSession()->CommitTransaction(other);
}

void JetEngine::Rollback() {
    OwnSession()->RollbackTransaction();
}

}  // namespace qmtrain::dao
