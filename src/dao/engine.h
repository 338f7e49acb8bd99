// The database engine: one in a process.
#pragma once

#include <memory>
#include <mutex>
#include <string_view>

#include "dao/jet_engine.h"
#include "dao/system_engine.h"

namespace qmtrain::dao {

class Database;
class JetDatabase;

class Engine {
public:
    // The process's engine, made on first use.
    static Engine& Instance();

    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // Opens a database file; a folder stands for the "Total.mdb" in it. Raises FileNotFound, UnknownFormat,
    // PasswordInvalid, FileDamaged …, and what ChosenEngine() raises.
    std::shared_ptr<Database> OpenDatabase(std::u16string_view name, bool read_only = false);

    // Makes a new, empty database in the General order, always with our own engine. Raises DatabaseExists.
    std::shared_ptr<JetDatabase> CreateDatabase(std::u16string_view name);

    // Transactions over the databases that this thread has opened; they nest. A database that is opened meanwhile takes
    // part. A commit that fails has undone the transaction in all of them. CommitTrans and Rollback raise
    // TransactionNotStarted when there is none.
    void BeginTrans();
    void CommitTrans();
    void Rollback();

    // Opens databases with this engine from now on, with our own when there is none, whatever the setting says.
    void Use(std::unique_ptr<SystemEngine> engine);

    // Lets go of the machine's engine; the next database that is opened chooses anew. Requires: no database is open.
    void ReleaseSystem();

private:
    Engine() = default;
    ~Engine();

    // The machine's engine if databases are to be opened with it.
    SystemEngine* System();

    JetEngine own_;
    std::mutex choosing_;
    std::unique_ptr<SystemEngine> system_;
    bool chosen_ = false;
};

}  // namespace qmtrain::dao
