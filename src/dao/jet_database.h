// A database that our own engine has open: what every database can do, scripts, and what tables there are.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/work.h"
#include "dao/database.h"
#include "dao/types.h"
#include "jet/schema.h"
#include "sql/sql.h"
#include "sql/storage.h"

namespace qmtrain::jet {
class Database;
class Session;
}  // namespace qmtrain::jet

namespace qmtrain::dao {

// The file that a name stands for: a folder for the "Total.mdb" in it.
std::filesystem::path DatabaseFile(std::u16string_view name);

struct FieldDef {
    std::u16string name;
    FieldType type = FieldType::Text;
    int size = 0;  // bytes of a number, characters of a text, 0 for memo and OLE
    bool required = false;
    bool autonumber = false;
};

struct TableDef {
    std::u16string name;
    bool system = false;
    bool linked = false;
    std::vector<FieldDef> fields;  // neither these nor indexes for a linked table: to list it opens no other file
    std::vector<sql::Index> indexes;
};

class OdbcLinks;

class JetDatabase : public Database, public std::enable_shared_from_this<JetDatabase> {
public:
    JetDatabase(std::u16string name, std::unique_ptr<jet::Database> storage, LinkRights links = {.write = true});
    ~JetDatabase() override;

    // Without a session they are outside the transactions of any engine. They raise what the Engine's functions raise.
    static std::shared_ptr<JetDatabase> Open(std::u16string_view name, bool read_only = false,
                                             std::shared_ptr<jet::Session> session = nullptr,
                                             std::u16string_view password = {}, LinkRights links = {.write = true});
    static std::shared_ptr<JetDatabase> Create(std::u16string_view name,
                                               std::shared_ptr<jet::Session> session = nullptr,
                                               const jet::NewDatabase& settings = {});

    const std::u16string& Name() const override { return name_; }
    void Execute(std::u16string_view statement) override;
    std::int32_t RecordsAffected() const override { return records_affected_; }
    void Atomically(const std::function<void()>& body) override;
    std::shared_ptr<Recordset> OpenRecordset(std::u16string_view source) override;
    void Limits(const WorkLimits& limits) override;
    void Cancel() noexcept override;
    bool HasTable(std::u16string_view name) override;
    void NewPassword(std::u16string_view old_password, std::u16string_view new_password) override;
    void Close() override;
    bool IsOpen() const override { return storage_ != nullptr; }

    // A part of a statement, or of a record set's calls, of which `spent` remembers how long they took.
    Work Begin(std::chrono::steady_clock::duration* spent = nullptr) const;

    // Runs several statements separated by ";", all or none.
    void ExecuteScript(std::u16string_view statements);

    std::vector<TableDef> TableDefs();

    // Makes a link to a table of another Access file. `connect`: ";DATABASE=path"; a path that is not absolute counts
    // from this file's folder. "ODBC;…" makes one to a table on a server, "schema.table"; a password in it is kept only
    // when `save_password` says so. Raises TableExists, FileNotFound, NoSuchTable, OdbcConnectionFailed,
    // OperationNotSupported for a link to anything else …
    void CreateTableDef(std::u16string_view name, std::u16string_view connect, std::u16string_view source_table,
                        bool save_password = false);

    // Takes columns and key of a link to a server from there anew. `connect` as above, empty: as it is.
    void RefreshLink(std::u16string_view name, std::u16string_view connect = {});

    // Grows with each change that is known here, on servers too. May be asked by any thread.
    std::uint64_t KnownChanges();

    // The engine below and its tables as SQL sees them. Raises ObjectInvalid when closed.
    jet::Database& Storage();
    sql::Catalog& Tables();

private:
    sql::Statement StatementOf(std::u16string_view source);
    std::optional<std::int64_t> ExecuteOnServers(const sql::Statement& statement);
    bool HasOnlyServerLinks();

    std::u16string name_;
    std::unique_ptr<jet::Database> storage_;
    std::unique_ptr<OdbcLinks> links_;
    std::unique_ptr<sql::Catalog> catalog_;
    std::atomic<std::int32_t> records_affected_ = 0;  // threads may share the database
    Work::Cancellations cancellations_ = 0;
    mutable std::mutex limits_mutex_;
    WorkLimits limits_;
};

}  // namespace qmtrain::dao
