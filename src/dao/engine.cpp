#include "dao/engine.h"

#include <atomic>
#include <utility>

#include "core/error.h"
#include "dao/jet_database.h"
#include "dao/jet_engine.h"
#include "dao/system_engine.h"

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

Engine::Engine() : own_(std::make_unique<JetEngine>()) {}

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

std::shared_ptr<Database> Engine::OpenDatabase(std::u16string_view name, bool read_only) {
    if (SystemEngine* system = System()) return system->OpenDatabase(name, DatabaseFile(name), read_only);
    return own_->OpenDatabase(name, read_only);
}

std::shared_ptr<Database> Engine::CreateDatabase(std::u16string_view name) {
    return own_->CreateDatabase(name);
}

void Engine::BeginTrans() {
    if (SystemEngine* system = System()) system->BeginTrans();
    own_->BeginTrans();
}

// The machine's engine commits when ours has everything on the disk and can still go back.
void Engine::CommitTrans() {
    SystemEngine* system = System();
    if (system == nullptr) return own_->CommitTrans();
    bool done = false;
    try {
        own_->CommitTrans([&] {
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
            own_->Rollback();
            throw;
        }
    }
    own_->Rollback();
}

}  // namespace qmtrain::dao
