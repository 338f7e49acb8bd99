// The database engine: our own one in a process; in its place, one of the machine's in each apartment.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>

#include "core/work.h"
#include "dao/types.h"

namespace qmtrain::dao {

class Database;
class SystemEngine;

class Engine {
public:
    // The process's engine, made on first use.
    static Engine& Instance();

    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    ~Engine();

    // Opens a database file; a folder stands for the "Total.mdb" in it. `connect`: ";PWD=" and the password of one that
    // has a password. Raises FileNotFound, UnknownFormat, PasswordInvalid, FileDamaged, OpenedExclusively …, and what
    // ChosenEngine() raises. `links` is for our own engine. A host that opens files of others should grant none of
    // them.
    std::shared_ptr<Database> OpenDatabase(std::u16string_view name, bool read_only = false,
                                           std::u16string_view connect = {}, LinkRights links = {.write = true});

    // What the component's own classes open their databases with, from now on: limits for each statement, at first 30
    // seconds and 256 MiB, and the rights of links, at first none; those to servers are given too where the setting
    // QMTRAININFO_SERVER_LINKS is "on".
    struct OwnUse {
        WorkLimits limits{std::chrono::seconds(30), std::size_t{256} << 20};
        LinkRights links;
    };
    void SetOwnUse(const OwnUse& use);
    OwnUse GetOwnUse() const;

    // Makes a new, empty database, always with our own engine; types.h has locales and options.
    // Raises DatabaseExists.
    std::shared_ptr<Database> CreateDatabase(std::u16string_view name, std::u16string_view locale = {},
                                             std::int32_t options = 0);

    // Copies a database that is not being changed into a new file, without what the old one no longer uses; perhaps in
    // another version, sort order or encoding, or with another password. `password`: ";PWD=" and that of the source.
    // The source stays as it is, the target appears when it is whole. Raises DatabaseExists …
    void CompactDatabase(std::u16string_view source, std::u16string_view target, std::u16string_view locale = {},
                         std::int32_t options = 0, std::u16string_view password = {});

    // Makes the indexes anew from the rows and puts counts right, wholly or not at all. Raises FileDamaged when that
    // does not help.
    void RepairDatabase(std::u16string_view name, std::u16string_view connect = {});

    // Transactions over the databases that this thread has opened; they nest. A database that is opened meanwhile takes
    // part. A commit that fails has undone the transaction in all of them. CommitTrans and Rollback raise
    // TransactionNotStarted when there is none.
    void BeginTrans();
    void CommitTrans();
    void Rollback();

    // Opens databases on this thread with this engine from now on, with our own when there is none, whatever the
    // setting says.
    void Use(std::unique_ptr<SystemEngine> engine);

    // Releases this thread's engine of the machine; the next database that is opened chooses anew. Requires: no
    // database is open on this thread.
    void ReleaseSystem();

    // Whether any thread has an engine of the machine.
    bool HasSystem() const;

private:
    Engine();

    // The machine's engine if databases are to be opened with it. Its objects belong to the apartment in which they
    // were made, so each thread has its own.
    SystemEngine* System();

    mutable std::mutex mutex_;
    OwnUse own_use_;
};

}  // namespace qmtrain::dao
