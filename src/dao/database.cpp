#include "dao/database.h"

#include <limits>

#include "core/error.h"
#include "dao/jet_catalog.h"
#include "dao/recordset.h"
#include "jet/database.h"
#include "sql/sql.h"

namespace qmtrain::dao {

FieldType FieldTypeOf(sql::ColumnType type) {
    switch (type) {
        case sql::ColumnType::Boolean: return FieldType::Boolean;
        case sql::ColumnType::Byte: return FieldType::Byte;
        case sql::ColumnType::Integer: return FieldType::Integer;
        case sql::ColumnType::Long: return FieldType::Long;
        case sql::ColumnType::Currency: return FieldType::Currency;
        case sql::ColumnType::Single: return FieldType::Single;
        case sql::ColumnType::Double: return FieldType::Double;
        case sql::ColumnType::Date: return FieldType::Date;
        case sql::ColumnType::Binary: return FieldType::Binary;
        case sql::ColumnType::Text: return FieldType::Text;
        case sql::ColumnType::LongBinary: return FieldType::LongBinary;
        case sql::ColumnType::Memo: return FieldType::Memo;
        case sql::ColumnType::Guid: return FieldType::Guid;
        case sql::ColumnType::Decimal: break;
    }
    return FieldType::Decimal;
}

int FieldSizeOf(sql::ColumnType type, int size) {
    switch (type) {
        case sql::ColumnType::Boolean:
        case sql::ColumnType::Byte: return 1;
        case sql::ColumnType::Integer: return 2;
        case sql::ColumnType::Long:
        case sql::ColumnType::Single: return 4;
        case sql::ColumnType::Currency:
        case sql::ColumnType::Double:
        case sql::ColumnType::Date: return 8;
        case sql::ColumnType::Guid:
        case sql::ColumnType::Decimal: return 16;
        default: return size;
    }
}

Database::Database(std::u16string name, std::unique_ptr<jet::Database> storage)
    : name_(std::move(name)), storage_(std::move(storage)), catalog_(std::make_unique<JetCatalog>(*storage_)) {}

Database::~Database() = default;

jet::Database& Database::Storage() {
    if (!storage_) Raise(ErrorNumber::ObjectInvalid);
    return *storage_;
}

sql::Catalog& Database::Tables() {
    Storage();
    return *catalog_;
}

void Database::Execute(std::u16string_view text) {
    jet::Database& storage = Storage();
    const sql::Statement statement = sql::Parse(text);
    if (statement.YieldsRows()) Raise(ErrorNumber::CannotExecuteSelect);
    jet::Database::Writing writing(storage);
    const std::int64_t affected = sql::Execute(*catalog_, statement);
    writing.Commit();
    records_affected_ = static_cast<std::int32_t>(affected);
}

void Database::ExecuteScript(std::u16string_view statements) {
    jet::Database& storage = Storage();
    const std::vector<sql::Statement> script = sql::ParseScript(statements);
    jet::Database::Writing writing(storage);
    std::int64_t affected = 0;
    for (const sql::Statement& statement : script) affected += sql::Execute(*catalog_, statement);
    writing.Commit();
    records_affected_ = static_cast<std::int32_t>(affected);
}

void Database::Atomically(const std::function<void()>& body) {
    jet::Database::Writing writing(Storage());
    body();
    writing.Commit();
}

// What is no statement may be a name.
sql::Statement Database::StatementOf(std::u16string_view source) {
    jet::Database& storage = Storage();
    try {
        return sql::Parse(source);
    } catch (const AutomationError&) {
        const jet::Database::Reading reading(storage);
        const auto object = storage.FindObject(source);
        if (!object) throw;
        return sql::Parse(u"SELECT * FROM [" + object->name + u"]");
    }
}

std::shared_ptr<Recordset> Database::OpenRecordset(std::u16string_view source) {
    sql::Statement statement = StatementOf(source);
    if (!statement.YieldsRows()) Raise(ErrorNumber::InvalidOperation);
    return std::make_shared<Recordset>(shared_from_this(), std::move(statement));
}

std::vector<TableDef> Database::TableDefs() {
    const jet::Database::Reading reading(Storage());
    std::vector<TableDef> tables;
    for (const jet::CatalogObject& object : storage_->Objects()) {
        const bool linked = object.type == jet::CatalogObject::kLinkedTable;
        if (object.type != jet::CatalogObject::kTable && !linked) continue;
        TableDef table{object.name, object.IsSystem(), linked, {}, {}};
        std::shared_ptr<sql::Table> opened;
        try {
            opened = catalog_->FindTable(object.name);
        } catch (const AutomationError&) {
            if (!linked) throw;
        }
        if (opened) {
            table.indexes = opened->Indexes();
            for (const sql::Column& column : opened->Columns()) {
                table.fields.push_back({column.name, FieldTypeOf(column.type), FieldSizeOf(column.type, column.size),
                                        column.required, column.counter});
            }
        }
        tables.push_back(std::move(table));
    }
    return tables;
}

void Database::Close() {
    Storage();
    catalog_.reset();
    storage_.reset();
}

}  // namespace qmtrain::dao
