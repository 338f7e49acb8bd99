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

#include "core/files.h"
#include "core/work.h"
#include "dao/database.h"
#include "dao/definitions.h"
#include "dao/types.h"
#include "jet/table_spec.h"
#include "sql/sql.h"
#include "sql/storage.h"

namespace qmtrain::jet {
class Database;
class Session;
}  // namespace qmtrain::jet

namespace qmtrain::dao {

// The file that a name stands for: a folder for the "Total.mdb" in it.
std::filesystem::path DatabaseFile(std::u16string_view name);

class OdbcLinks;

// How a file is opened or made.
struct DatabaseOptions {
    bool read_only = false;
    bool exclusive = false;  // no other session may have it open
    std::u16string password = {};
    LinkRights links = {.write = true};
    std::shared_ptr<jet::Session> session = nullptr;  // empty: one of its own
    FileSystem* files = &FileSystem::Native();        // where it is
    bool durable = true;                              // commits wait for the disk
};

class JetDatabase : public Database, public std::enable_shared_from_this<JetDatabase> {
public:
    JetDatabase(std::u16string name, std::unique_ptr<jet::Database> storage, LinkRights links = {.write = true});
    ~JetDatabase() override;

    // Without a session they are outside the transactions of any engine. They raise what the Engine's functions raise.
    static std::shared_ptr<JetDatabase> Open(std::u16string_view name, const DatabaseOptions& options = {});
    static std::shared_ptr<JetDatabase> Create(std::u16string_view name, const jet::NewDatabase& settings = {},
                                               const DatabaseOptions& options = {});

    const std::u16string& Name() const override { return name_; }
    void Execute(std::u16string_view statement, std::int32_t options = kFailOnError) override;
    std::int32_t RecordsAffected() const override { return records_affected_; }
    void Atomically(const std::function<void()>& body) override;
    void AtomicallyBeside(const std::function<void()>& body) override;
    bool IsOnServer() override;
    std::shared_ptr<Recordset> OpenRecordset(std::u16string_view source, RecordsetType type = RecordsetType::Dynaset,
                                             std::int32_t options = 0) override;
    void Limits(const WorkLimits& limits) override;
    void Cancel() noexcept override;
    bool HasTable(std::u16string_view name) override;
    std::u16string LackingCharacter(std::u16string_view text) override;
    void NewPassword(std::u16string_view old_password, std::u16string_view new_password) override;
    void Close() override;
    bool IsOpen() const override { return storage_ != nullptr; }

    // A part of a statement, or of a record set's calls, whose time and memory so far are in `taken`.
    Work Begin(WorkTaken* taken = nullptr) const;

    // The same with values for parameters. `name`: what the record set is called.
    void Execute(const sql::Statement& statement, const sql::ParameterValues& parameters,
                 std::int32_t options = kFailOnError);
    std::shared_ptr<Recordset> OpenRecordset(sql::Statement statement, sql::ParameterValues parameters,
                                             RecordsetType type, std::int32_t options, std::u16string_view name);

    // Runs several statements separated by ";", all or none.
    void ExecuteScript(std::u16string_view statements);

    // What is in the file.
    std::vector<TableDef> TableDefs();
    std::vector<RelationDef> Relations();
    std::vector<std::u16string> QueryNames();

    // A saved query as a statement. Raises ObjectNotFound.
    std::u16string QueryText(std::u16string_view name);

    // Saves a select, in the place of the query that has the name. Raises OperationNotSupported for any other
    // statement, TableExists for the name of a table.
    void SaveQuery(std::u16string_view name, std::u16string_view text);
    void DropQuery(std::u16string_view name);

    // Makes and changes structures, each wholly or not at all. They raise what the statements for it raise, and
    // InvalidFieldType.
    void CreateTable(const TableDef& table);
    void AddField(std::u16string_view table, const FieldDef& field);

    // The settings of a field besides its name and type: whether it is required, its default value, its rule; and the
    // rule of a table. Existing rows are not checked. Raises SyntaxInExpression and the like for a text that cannot be
    // parsed.
    void ChangeField(std::u16string_view table, const FieldDef& field);
    void ChangeRule(std::u16string_view table, const ValidationRule& rule);
    void CreateIndex(std::u16string_view table, const IndexDef& index);
    void CreateRelation(const RelationDef& relation);
    void DropTable(std::u16string_view name);
    void DropField(std::u16string_view table, std::u16string_view field);
    void DropIndex(std::u16string_view table, std::u16string_view index);
    void DropRelation(std::u16string_view name);

    // Makes a link to a table of another Access file. `connect`: ";DATABASE=path"; a path that is not absolute counts
    // from this file's folder. "ODBC;…" makes one to a table on a server, "schema.table"; a password in it is kept only
    // when `save_password` says so. Raises TableExists, FileNotFound, NoSuchTable, OdbcConnectionFailed,
    // OperationNotSupported for a link to anything else …
    void CreateTableDef(std::u16string_view name, std::u16string_view connect, std::u16string_view source_table,
                        bool save_password = false);

    // Makes a link anew: one to a server takes columns and key from there. `connect` as above, empty: as it is. Raises
    // NoSuchTable when there is no such link.
    void RefreshLink(std::u16string_view name, std::u16string_view connect = {});

    // User and password for links to servers that have none of their own: "ODBC;UID=…;PWD=…". Where it says more, it is
    // for links to that place alone. All who open the file in this process from now on have it too, as with DAO.
    void ServerLogin(std::u16string_view connect);

    // Grows with each change that is known here, on servers too. May be asked by any thread.
    std::uint64_t KnownChanges();

    // The engine below and its tables as SQL sees them. Raises ObjectInvalid when closed.
    jet::Database& Storage();
    sql::Catalog& Tables();

private:
    // A statement, or the name of something that has rows.
    struct Source {
        sql::Statement statement;
        std::u16string name;
        bool is_table = false;  // of this file
    };
    Source SourceOf(std::u16string_view text);
    std::optional<std::int64_t> ExecuteOnServers(const sql::Statement& statement,
                                                 const sql::ParameterValues& parameters);

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
