#include "dao/jet_engine.h"

#include <atomic>
#include <utility>

#include "core/system.h"
#include "dao/database_settings.h"
#include "jet/database.h"
#include "odbc/connect_string.h"

namespace qmtrain::dao {
namespace {

// The system's numbers of threads come again when one has ended.
std::uint64_t OwnThread() {
    static std::atomic<std::uint64_t> threads = 0;
    thread_local const std::uint64_t own = ++threads;
    return own;
}

}  // namespace

JetEngine::JetEngine() : durable_(Setting("QMTRAININFO_SYNC") != u"off") {}

JetEngine& JetEngine::Instance() {
    static JetEngine engine;
    return engine;
}

// The session of the calling thread. Sessions that are no longer used are dropped.
std::shared_ptr<jet::Session> JetEngine::OwnSession() {
    const std::scoped_lock lock(mutex_);
    std::erase_if(sessions_,
                  [](const auto& known) { return known.second.use_count() == 1 && !known.second->IsInTransaction(); });
    std::shared_ptr<jet::Session>& session = sessions_[OwnThread()];
    if (!session) session = std::make_shared<jet::Session>();
    return session;
}

DatabaseOptions JetEngine::Completed(DatabaseOptions options) {
    if (!options.session) options.session = OwnSession();
    options.durable = options.durable && durable_;
    return options;
}

std::shared_ptr<JetDatabase> JetEngine::OpenDatabase(std::u16string_view name, std::u16string_view connect,
                                                     DatabaseOptions options) {
    options.password = PasswordIn(connect);
    auto database = JetDatabase::Open(name, Completed(std::move(options)));
    if (odbc::ConnectString::IsOdbc(connect)) database->ServerLogin(connect);
    return database;
}

std::shared_ptr<JetDatabase> JetEngine::CreateDatabase(std::u16string_view name, const jet::NewDatabase& settings,
                                                       DatabaseOptions options) {
    return JetDatabase::Create(name, settings, Completed(std::move(options)));
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
