#include "dao/engine.h"

#include <atomic>
#include <utility>

#include "core/error.h"
#include "core/files.h"
#include "core/system.h"
#include "dao/database_settings.h"
#include "dao/jet_database.h"
#include "dao/jet_engine.h"
#include "dao/system_engine.h"
#include "jet/compact.h"
#include "jet/database.h"
#include "jet/repair.h"

namespace qmtrain::dao {
namespace {

// What a thread opens databases with. It has no destructor: when a thread ends, the library behind the machine's engine
// may have left the process, and nothing of it is called any more.
struct Choice {
    SystemEngine* system = nullptr;
    bool made = false;
};

thread_local Choice choice;
std::atomic<int> systems = 0;  // of all threads

// Another error is on its way to the host.
void RollbackQuietly(SystemEngine& system) {
    try {
        system.Rollback();
    } catch (const AutomationError&) {
        // Its transaction ended with the commit that failed.
    }
}

}  // namespace

#ifndef _WIN32
std::unique_ptr<SystemEngine> ChosenEngine() {
    return nullptr;
}
#endif

// Our own engine lives as long as this one. For a host that knows nothing of servers, its environment can allow them.
Engine::Engine() {
    JetEngine::Instance();
    own_use_.links.servers = Setting("QMTRAININFO_SERVER_LINKS") == u"on";
}

Engine::~Engine() = default;

Engine& Engine::Instance() {
    static Engine engine;
    return engine;
}

SystemEngine* Engine::System() {
    if (!choice.made) Use(ChosenEngine());
    return choice.system;
}

void Engine::Use(std::unique_ptr<SystemEngine> engine) {
    ReleaseSystem();
    choice = {engine.release(), true};
    if (choice.system != nullptr) ++systems;
}

void Engine::ReleaseSystem() {
    if (choice.system != nullptr) --systems;
    delete std::exchange(choice, {}).system;
}

bool Engine::HasSystem() const {
    return systems > 0;
}

std::shared_ptr<Database> Engine::OpenDatabase(std::u16string_view name, bool read_only, std::u16string_view connect,
                                               LinkRights links) {
    if (SystemEngine* system = System()) return system->OpenDatabase(name, DatabaseFile(name), read_only, connect);
    return JetEngine::Instance().OpenDatabase(name, connect, {.read_only = read_only, .links = links});
}

void Engine::SetOwnUse(const OwnUse& use) {
    const std::scoped_lock lock(mutex_);
    own_use_ = use;
}

Engine::OwnUse Engine::GetOwnUse() const {
    const std::scoped_lock lock(mutex_);
    return own_use_;
}

std::shared_ptr<Database> Engine::CreateDatabase(std::u16string_view name, std::u16string_view locale,
                                                 std::int32_t options) {
    return JetEngine::Instance().CreateDatabase(name, NewDatabaseOf(locale, options));
}

void Engine::CompactDatabase(std::u16string_view source, std::u16string_view target, std::u16string_view locale,
                             std::int32_t options, std::u16string_view password) {
    jet::Compact(DatabaseFile(source), ToNativePath(target), SettingsOf(locale, options),
                 {.durable = JetEngine::Instance().IsDurable(), .password = PasswordIn(password)});
}

void Engine::RepairDatabase(std::u16string_view name, std::u16string_view connect) {
    const bool durable = JetEngine::Instance().IsDurable();
    jet::Repair(*jet::Database::Open(DatabaseFile(name), {.durable = durable, .password = PasswordIn(connect)}));
}

void Engine::BeginTrans() {
    if (SystemEngine* system = System()) system->BeginTrans();
    JetEngine::Instance().BeginTrans();
}

// The machine's engine commits when ours has everything on the disk and can still go back.
void Engine::CommitTrans() {
    SystemEngine* system = System();
    if (system == nullptr) return JetEngine::Instance().CommitTrans();
    bool done = false;
    try {
        JetEngine::Instance().CommitTrans([&] {
            system->CommitTrans();
            done = true;
        });
    } catch (...) {
        if (!done) RollbackQuietly(*system);
        throw;
    }
}

void Engine::Rollback() {
    if (SystemEngine* system = System()) {
        try {
            system->Rollback();
        } catch (...) {
            JetEngine::Instance().Rollback();
            throw;
        }
    }
    JetEngine::Instance().Rollback();
}

}  // namespace qmtrain::dao
