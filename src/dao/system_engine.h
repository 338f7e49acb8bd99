// The database engine that a Windows machine may bring along. Used in place of our own, it shares its locks with the
// other programs on the machine that have the same files open through it.
#pragma once

#include <filesystem>
#include <memory>
#include <string_view>

namespace qmtrain::dao {

class Database;

class SystemEngine {
public:
    virtual ~SystemEngine() = default;

    // `name` is what the database is called; `connect` holds the password, see Engine. Raises the engine's own errors;
    // their numbers are DAO's.
    virtual std::shared_ptr<Database> OpenDatabase(std::u16string_view name, const std::filesystem::path& file,
                                                   bool read_only, std::u16string_view connect = {}) = 0;

    // Transactions over all databases that it has opened; they nest.
    virtual void BeginTrans() = 0;
    virtual void CommitTrans() = 0;
    virtual void Rollback() = 0;
};

// The engine that the setting QMTRAININFO_ENGINE asks for: "dao" is the machine's, "jet" our own, "auto", or no
// setting, the machine's where it has one. None when it is our own; always none outside Windows. Raises when the
// machine's is asked for and cannot be had, and for any other setting.
std::unique_ptr<SystemEngine> ChosenEngine();

}  // namespace qmtrain::dao
