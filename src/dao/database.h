// An open database: SQL statements, record sets, and what tables there are.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dao/types.h"
#include "sql/sql.h"
#include "sql/storage.h"

namespace qmtrain::jet {
class Database;
}

namespace qmtrain::dao {

class Recordset;

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
    std::vector<FieldDef> fields;  // empty for a linked table whose file cannot be opened
    std::vector<sql::Index> indexes;
};

class Database : public std::enable_shared_from_this<Database> {
public:
    Database(std::u16string name, std::unique_ptr<jet::Database> storage);
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database();

    // As it was opened.
    const std::u16string& Name() const { return name_; }

    // Runs a statement that changes something: wholly, or not at all. Raises CannotExecuteSelect for a select.
    void Execute(std::u16string_view statement);

    // Runs several statements separated by ";", all or none.
    void ExecuteScript(std::u16string_view statements);

    // Rows that the last Execute changed.
    std::int32_t RecordsAffected() const { return records_affected_; }

    // Runs the body with the file locked for writing: all that it changes happens or nothing, and what it reads stays
    // true until its end.
    void Atomically(const std::function<void()>& body);

    // The rows of a select, of a table or of a saved query.
    std::shared_ptr<Recordset> OpenRecordset(std::u16string_view source);

    std::vector<TableDef> TableDefs();

    // Later use of the database or of its record sets raises ObjectInvalid. What is in a transaction is undone.
    void Close();
    bool IsOpen() const { return storage_ != nullptr; }

    // The engine below and its tables as SQL sees them. Raises ObjectInvalid when closed.
    jet::Database& Storage();
    sql::Catalog& Tables();

private:
    sql::Statement StatementOf(std::u16string_view source);

    std::u16string name_;
    std::unique_ptr<jet::Database> storage_;
    std::unique_ptr<sql::Catalog> catalog_;
    std::int32_t records_affected_ = 0;
};

}  // namespace qmtrain::dao
