#include "dao/engine_object.h"

#include <map>
#include <mutex>
#include <thread>

#include "dao/database_object.h"
#include "dao/database_settings.h"
#include "dao/engine.h"
#include "dao/jet_database.h"
#include "dao/jet_engine.h"
#include "jet/session.h"
#include "odbc/connect_string.h"
#include "odbc/pool.h"

namespace qmtrain::dao {
namespace {

// By thread. None of it belongs to a thread itself: when one ends, this library may have left the process.
class LastErrors {
public:
    void Set(const AutomationError& error) {
        constexpr std::size_t kMostThreads = 256;  // the end of a thread is not reported here
        const std::scoped_lock lock(mutex_);
        if (errors_.size() >= kMostThreads) errors_.clear();
        errors_[std::this_thread::get_id()] = std::make_shared<ErrorObject>(error);
    }

    std::vector<AnyObject> Get() {
        const std::scoped_lock lock(mutex_);
        const auto found = errors_.find(std::this_thread::get_id());
        return found == errors_.end() ? std::vector<AnyObject>() : std::vector<AnyObject>{found->second};
    }

    static LastErrors& Instance() {
        static LastErrors errors;
        return errors;
    }

private:
    std::mutex mutex_;
    std::map<std::thread::id, std::shared_ptr<ErrorObject>> errors_;
};

}  // namespace

void RememberError(const AutomationError& error) {
    constexpr std::int32_t kFirstOfEngine = 3000;
    constexpr std::int32_t kBeyondEngine = 4000;
    if (error.Number() < kFirstOfEngine || error.Number() >= kBeyondEngine) return;
    LastErrors::Instance().Set(error);
}

// Workspaces

Workspace::Workspace(std::u16string name, std::u16string user, std::shared_ptr<jet::Session> session)
    : name_(std::move(name)), user_(std::move(user)), session_(std::move(session)), databases_({[this] {
          std::vector<AnyObject> open;
          for (const auto& opened : opened_) {
              if (auto database = opened.lock(); database && database->Jet().IsOpen()) open.emplace_back(database);
          }
          return open;
      }}) {}

std::shared_ptr<DatabaseObject> Workspace::Add(std::shared_ptr<DatabaseObject> database) {
    std::erase_if(opened_, [](const auto& opened) { return opened.expired(); });
    opened_.push_back(database);
    return database;
}

std::shared_ptr<DatabaseObject> Workspace::OpenDatabase(std::u16string_view name, bool exclusive, bool read_only,
                                                        std::u16string_view connect) {
    RequireOpen();
    const LinkRights links{.write = true, .servers = Engine::Instance().GetOwnUse().links.servers};
    return Add(std::make_shared<DatabaseObject>(JetEngine::Instance().OpenDatabase(
        name, connect, {.read_only = read_only, .exclusive = exclusive, .links = links, .session = session_})));
}

std::shared_ptr<DatabaseObject> Workspace::CreateDatabase(std::u16string_view name, std::u16string_view locale,
                                                          std::int32_t options) {
    RequireOpen();
    return Add(std::make_shared<DatabaseObject>(
        JetEngine::Instance().CreateDatabase(name, NewDatabaseOf(locale, options), {.session = session_})));
}

void Workspace::RequireOpen() const {
    if (closed_) Raise(ErrorNumber::ObjectInvalid);
}

void Workspace::BeginTrans() {
    RequireOpen();
    if (session_)
        session_->BeginTransaction();
    else
        Engine::Instance().BeginTrans();
}

void Workspace::CommitTrans() {
    RequireOpen();
    if (session_)
        session_->CommitTransaction();
    else
        Engine::Instance().CommitTrans();
}

void Workspace::Rollback() {
    RequireOpen();
    if (session_)
        session_->RollbackTransaction();
    else
        Engine::Instance().Rollback();
}

void Workspace::Close() {
    RequireOpen();
    for (const auto& opened : opened_) {
        if (auto database = opened.lock(); database && database->Jet().IsOpen()) database->Close();
    }
    opened_.clear();
    if (!session_) return;
    while (session_->IsInTransaction()) session_->RollbackTransaction();
    closed_ = true;
    if (const auto engine = engine_.lock()) engine->Drop(shared_from_this());
}

// The engine

EngineObject::EngineObject()
    : first_(std::make_shared<Workspace>(u"#Default Workspace#", u"admin", nullptr)),
      workspaces_({.append =
                       [this](const AnyObject& object) {
                           const auto* workspace = std::get_if<std::shared_ptr<Workspace>>(&object);
                           if (workspace == nullptr) Raise(ErrorNumber::TypeMismatch);
                           (*workspace)->SetEngine(weak_from_this());
                       }}),
      errors_({.load = [] { return LastErrors::Instance().Get(); }}) {
    workspaces_.Append(first_);
}

std::int16_t EngineObject::LoginTimeout() const {
    return static_cast<std::int16_t>(odbc::LoginTimeout().count());
}

void EngineObject::LoginTimeout(std::int16_t seconds) {
    if (seconds < 0) Raise(ErrorNumber::InvalidArgument, {u"LoginTimeout"});
    odbc::LoginTimeout(std::chrono::seconds(seconds));
}

std::shared_ptr<Workspace> EngineObject::CreateWorkspace(std::u16string_view name, std::u16string_view user,
                                                         std::u16string_view) const {
    return std::make_shared<Workspace>(std::u16string(name), std::u16string(user), std::make_shared<jet::Session>());
}

std::shared_ptr<DatabaseObject> EngineObject::OpenDatabase(std::u16string_view name, bool exclusive, bool read_only,
                                                           std::u16string_view connect) {
    return first_->OpenDatabase(name, exclusive, read_only, connect);
}

std::shared_ptr<DatabaseObject> EngineObject::CreateDatabase(std::u16string_view name, std::u16string_view locale,
                                                             std::int32_t options) {
    return first_->CreateDatabase(name, locale, options);
}

void EngineObject::CompactDatabase(std::u16string_view source, std::u16string_view target, std::u16string_view locale,
                                   std::int32_t options, std::u16string_view password) const {
    Engine::Instance().CompactDatabase(source, target, locale, options, password);
}

void EngineObject::RepairDatabase(std::u16string_view name) const {
    Engine::Instance().RepairDatabase(name);
}

}  // namespace qmtrain::dao
