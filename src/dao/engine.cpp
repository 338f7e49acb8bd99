#include "dao/engine.h"

#include "core/error.h"
#include "dao/jet_database.h"

namespace qmtrain::dao {

#ifndef _WIN32
std::unique_ptr<SystemEngine> ChosenEngine() {
    return nullptr;
}
#endif

namespace {

// Another error is on its way to the host.
void RollbackQuietly(SystemEngine& system) {
    try {
        system.Rollback();
    } catch (const AutomationError&) {
        // Its transaction ended with the commit that failed.
    }
}

}  // namespace

Engine& Engine::Instance() {
    static Engine engine;
    return engine;
}

// The library behind the machine's engine may have left the process by now: nothing of it is called any more.
Engine::~Engine() {
    static_cast<void>(system_.release());
}

SystemEngine* Engine::System() {
    const std::scoped_lock lock(choosing_);
    if (!chosen_) system_ = ChosenEngine();
    chosen_ = true;
    return system_.get();
}

void Engine::Use(std::unique_ptr<SystemEngine> engine) {
    const std::scoped_lock lock(choosing_);
    system_ = std::move(engine);
    chosen_ = true;
}

void Engine::ReleaseSystem() {
    const std::scoped_lock lock(choosing_);
    system_.reset();
    chosen_ = false;
}

std::shared_ptr<Database> Engine::OpenDatabase(std::u16string_view name, bool read_only) {
    if (SystemEngine* system = System()) return system->OpenDatabase(name, DatabaseFile(name), read_only);
    return own_.OpenDatabase(name, read_only);
}

std::shared_ptr<JetDatabase> Engine::CreateDatabase(std::u16string_view name) {
    return own_.CreateDatabase(name);
}

void Engine::BeginTrans() {
    if (SystemEngine* system = System()) system->BeginTrans();
    own_.BeginTrans();
}

// The machine's engine commits when ours has everything on the disk and can still go back.
void Engine::CommitTrans() {
    SystemEngine* system = System();
    if (system == nullptr) return own_.CommitTrans();
    bool done = false;
    try {
        own_.CommitTrans([&] {
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
            own_.Rollback();
            throw;
        }
    }
    own_.Rollback();
}

}  // namespace qmtrain::dao
