// A database as DAO's clients see it: with its collections.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "dao/collection.h"
#include "dao/recordset.h"

namespace qmtrain::dao {

class JetDatabase;
class QueryDef;
class RelationObject;
class TableObject;

class PropertyObject {
public:
    PropertyObject(std::u16string name, FieldType type, qmtrain::Value value)
        : name_(std::move(name)), type_(type), value_(std::move(value)) {}

    const std::u16string& Name() const { return name_; }
    std::int16_t Type() const { return static_cast<std::int16_t>(type_); }
    const qmtrain::Value& Value() const { return value_; }

private:
    std::u16string name_;
    FieldType type_;
    qmtrain::Value value_;
};

class DatabaseObject : public std::enable_shared_from_this<DatabaseObject> {
public:
    explicit DatabaseObject(std::shared_ptr<JetDatabase> database);

    JetDatabase& Jet() const { return *database_; }

    const std::u16string& Name() const;
    std::u16string Connect() const { return {}; }
    std::u16string Version() const;  // of the file's format
    std::int32_t CollatingOrder() const;
    bool Updatable() const;
    bool Transactions() const { return true; }
    std::int32_t RecordsAffected() const;

    // In seconds, 0 for no limit: of what begins afterwards.
    std::int16_t QueryTimeout() const { return query_timeout_; }
    void QueryTimeout(std::int16_t seconds);

    std::shared_ptr<Collection> TableDefs() { return {shared_from_this(), &tables_}; }
    std::shared_ptr<Collection> QueryDefs() { return {shared_from_this(), &queries_}; }
    std::shared_ptr<Collection> Relations() { return {shared_from_this(), &relations_}; }
    std::shared_ptr<Collection> Properties() { return {shared_from_this(), &properties_}; }

    void Execute(std::u16string_view statement, std::int32_t options);
    std::shared_ptr<Recordset> OpenRecordset(std::u16string_view source, RecordsetType type, std::int32_t options);

    // Objects to be appended; a query without a name is the caller's own, one with a name is saved with its statement.
    // Raises TableExists when there is a table or query of the name.
    std::shared_ptr<TableObject> CreateTableDef(std::u16string_view name, std::u16string_view source_table,
                                                std::u16string_view connect, std::int32_t attributes = 0);
    std::shared_ptr<RelationObject> CreateRelation(std::u16string_view name, std::u16string_view table,
                                                   std::u16string_view foreign_table, std::int32_t attributes) const;
    std::shared_ptr<QueryDef> CreateQueryDef(std::u16string_view name, std::u16string_view text);
    void NewPassword(std::u16string_view old_password, std::u16string_view new_password);
    void Close();

private:
    std::vector<AnyObject> LoadTables();
    std::vector<AnyObject> LoadQueries();
    std::vector<AnyObject> LoadRelations();
    std::vector<AnyObject> LoadProperties();
    void AppendTable(const AnyObject& object);
    void AppendRelation(const AnyObject& object);

    std::shared_ptr<JetDatabase> database_;
    std::int16_t query_timeout_ = 0;
    Collection tables_;
    Collection queries_;
    Collection relations_;
    Collection properties_;
};

}  // namespace qmtrain::dao
