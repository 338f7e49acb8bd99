#include "dao/database_object.h"

#include "core/error.h"
#include "dao/jet_database.h"
#include "dao/query_def.h"
#include "dao/table_object.h"
#include "jet/database.h"

namespace qmtrain::dao {
namespace {

template <class T>
std::shared_ptr<T> Expect(const AnyObject& object) {
    const auto* found = std::get_if<std::shared_ptr<T>>(&object);
    if (found == nullptr || *found == nullptr) Raise(ErrorNumber::TypeMismatch);
    return *found;
}

}  // namespace

DatabaseObject::DatabaseObject(std::shared_ptr<JetDatabase> database)
    : database_(std::move(database)),
      tables_({[this] { return LoadTables(); }, [this](const AnyObject& object) { AppendTable(object); },
               [this](std::u16string_view name) { database_->DropTable(name); }}),
      queries_({.load = [this] { return LoadQueries(); },
                .append = {},
                .remove = [this](std::u16string_view name) { database_->DropQuery(name); }}),
      relations_({[this] { return LoadRelations(); }, [this](const AnyObject& object) { AppendRelation(object); },
                  [this](std::u16string_view name) { database_->DropRelation(name); }}),
      properties_({[this] { return LoadProperties(); }}) {}

const std::u16string& DatabaseObject::Name() const {
    return database_->Name();
}

std::u16string DatabaseObject::Version() const {
    return database_->Storage().GetVersion() == jet::Version::Jet3 ? u"3.0" : u"4.0";
}

std::int32_t DatabaseObject::CollatingOrder() const {
    return database_->Storage().GetPager().GetHeader().sort_order;
}

bool DatabaseObject::Updatable() const {
    return database_->Storage().ReadOnlyReason().empty();
}

std::int32_t DatabaseObject::RecordsAffected() const {
    return database_->RecordsAffected();
}

void DatabaseObject::QueryTimeout(std::int16_t seconds) {
    if (seconds < 0) Raise(ErrorNumber::InvalidArgument, {u"QueryTimeout"});
    query_timeout_ = seconds;
    database_->Limits({.time = std::chrono::seconds(seconds)});
}

void DatabaseObject::Execute(std::u16string_view statement, std::int32_t options) {
    database_->Execute(statement, options);
}

std::shared_ptr<Recordset> DatabaseObject::OpenRecordset(std::u16string_view source, RecordsetType type,
                                                         std::int32_t options) {
    return database_->OpenRecordset(source, type, options);
}

std::shared_ptr<TableObject> DatabaseObject::CreateTableDef(std::u16string_view name, std::u16string_view source_table,
                                                            std::u16string_view connect, std::int32_t attributes) {
    constexpr std::int32_t kSavePassword = 0x20000;
    TableDef table;
    table.save_password = (attributes & kSavePassword) != 0;
    table.name = name;
    table.source_table = source_table;
    table.connect = connect;
    return std::make_shared<TableObject>(database_, std::move(table), false);
}

std::shared_ptr<RelationObject> DatabaseObject::CreateRelation(std::u16string_view name, std::u16string_view table,
                                                               std::u16string_view foreign_table,
                                                               std::int32_t attributes) const {
    return std::make_shared<RelationObject>(
        RelationDef{std::u16string(name), std::u16string(table), std::u16string(foreign_table), attributes, {}});
}

std::shared_ptr<QueryDef> DatabaseObject::CreateQueryDef(std::u16string_view name, std::u16string_view text) {
    if (!name.empty()) {
        if (queries_.Find<QueryDef>(name) != nullptr) Raise(ErrorNumber::TableExists, {name});
        if (!text.empty()) database_->SaveQuery(name, text);
        queries_.Refresh();
    }
    return std::make_shared<QueryDef>(database_, std::u16string(name), std::u16string(text));
}

void DatabaseObject::NewPassword(std::u16string_view old_password, std::u16string_view new_password) {
    database_->NewPassword(old_password, new_password);
}

void DatabaseObject::Close() {
    database_->Close();
}

std::vector<AnyObject> DatabaseObject::LoadTables() {
    std::vector<AnyObject> objects;
    for (TableDef& table : database_->TableDefs())
        objects.emplace_back(std::make_shared<TableObject>(database_, std::move(table), true));
    return objects;
}

std::vector<AnyObject> DatabaseObject::LoadQueries() {
    std::vector<AnyObject> objects;
    for (const std::u16string& name : database_->QueryNames()) {
        try {
            objects.emplace_back(std::make_shared<QueryDef>(database_, name, database_->QueryText(name)));
        } catch (const AutomationError& error) {
            // What is no select is not shown.
            if (!error.Is(ErrorNumber::OperationNotSupported)) throw;
        }
    }
    return objects;
}

std::vector<AnyObject> DatabaseObject::LoadRelations() {
    std::vector<AnyObject> objects;
    for (RelationDef& relation : database_->Relations())
        objects.emplace_back(std::make_shared<RelationObject>(std::move(relation), true));
    return objects;
}

// What DAO says of every database, and the texts that the file keeps.
std::vector<AnyObject> DatabaseObject::LoadProperties() {
    std::vector<AnyObject> objects;
    const auto add = [&](std::u16string name, FieldType type, Value value) {
        objects.emplace_back(std::make_shared<PropertyObject>(std::move(name), type, std::move(value)));
    };
    add(u"Name", FieldType::Memo, Name());
    add(u"Connect", FieldType::Text, Connect());
    add(u"Transactions", FieldType::Boolean, Transactions());
    add(u"Updatable", FieldType::Boolean, Updatable());
    add(u"CollatingOrder", FieldType::Integer, CollatingOrder());
    add(u"QueryTimeout", FieldType::Integer, QueryTimeout());
    add(u"Version", FieldType::Text, Version());
    jet::Database& storage = database_->Storage();
    const jet::Database::Reading reading(storage);
    const jet::Pager& pager = storage.GetPager();
    const jet::Properties stored = storage.ReadProperties(u"MSysDb");
    for (const auto& [owner, properties] : stored.owners) {
        if (!owner.empty()) continue;
        for (const jet::Property& property : properties) {
            constexpr std::uint8_t kBoolean = 1;
            const auto type = static_cast<FieldType>(property.type);
            if (type == FieldType::Text || type == FieldType::Memo)
                add(property.name, type, property.AsText(pager.GetFormat(), pager.GetHeader().code_page));
            else if (property.type == kBoolean)
                add(property.name, type, property.AsBoolean());
        }
    }
    return objects;
}

void DatabaseObject::AppendTable(const AnyObject& object) {
    const auto table = Expect<TableObject>(object);
    const TableDef definition = table->Definition();
    if (!definition.connect.empty())
        database_->CreateTableDef(definition.name, definition.connect, definition.source_table,
                                  definition.save_password);
    else
        database_->CreateTable(definition);
    table->SetAppended();
}

void DatabaseObject::AppendRelation(const AnyObject& object) {
    const auto relation = Expect<RelationObject>(object);
    database_->CreateRelation(relation->Definition());
    relation->SetAppended();
}

}  // namespace qmtrain::dao
