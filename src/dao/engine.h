// The database engine: one in a process.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace qmtrain::dao {

class Database;

class Engine {
public:
    // The process's engine, made on first use.
    static Engine& Instance();

    // Opens a database file; a folder stands for the "Total.mdb" in it. Raises FileNotFound, UnknownFormat,
    // PasswordInvalid, FileDamaged …
    std::shared_ptr<Database> OpenDatabase(std::u16string_view name, bool read_only = false);

    // Makes a new, empty database in the General order. Raises DatabaseExists.
    std::shared_ptr<Database> CreateDatabase(std::u16string_view name);

    // Transactions over all open databases; they nest. A database that is opened meanwhile takes part.
    void BeginTrans();
    void CommitTrans();
    void Rollback();

private:
    Engine() = default;
    std::vector<std::shared_ptr<Database>> OpenDatabases();
    std::shared_ptr<Database> Adopt(std::shared_ptr<Database> database);

    std::vector<std::weak_ptr<Database>> databases_;
    int transactions_ = 0;
};

}  // namespace qmtrain::dao
