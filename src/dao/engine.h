// The database engine: our own one in a process; in its place, one of the machine's in each apartment.
#pragma once

#include <memory>
#include <string_view>

namespace qmtrain::dao {

class Database;
class JetEngine;
class SystemEngine;

class Engine {
public:
    // The process's engine, made on first use.
    static Engine& Instance();

    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    ~Engine();

    // Opens a database file; a folder stands for the "Total.mdb" in it. Raises FileNotFound, UnknownFormat,
    // PasswordInvalid, FileDamaged …, and what ChosenEngine() raises.
    std::shared_ptr<Database> OpenDatabase(std::u16string_view name, bool read_only = false);

    // Makes a new, empty database in the General order, always with our own engine. Raises DatabaseExists.
    std::shared_ptr<Database> CreateDatabase(std::u16string_view name);

    // Transactions over the databases that this thread has opened; they nest. A database that is opened meanwhile takes
    // part. A commit that fails has undone the transaction in all of them. CommitTrans and Rollback raise
    // TransactionNotStarted when there is none.
    void BeginTrans();
    void CommitTrans();
    void Rollback();

    // Opens databases on this thread with this engine from now on, with our own when there is none, whatever the
    // setting says.
    void Use(std::unique_ptr<SystemEngine> engine);

    // Lets go of this thread's engine of the machine; the next database that is opened chooses anew. Requires: no
    // database is open on this thread.
    void ReleaseSystem();

    // Whether any thread has an engine of the machine.
    bool HasSystem() const;

private:
    Engine();

    // The machine's engine if databases are to be opened with it. Its objects belong to the apartment in which they
    // were made, so each thread has its own.
    SystemEngine* System();

    std::unique_ptr<JetEngine> own_;
};

}  // namespace qmtrain::dao
