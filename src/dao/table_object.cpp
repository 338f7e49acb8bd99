#include "dao/table_object.h"

#include "core/error.h"
#include "dao/jet_database.h"
#include "odbc/connect_string.h"

namespace qmtrain::dao {
namespace {

template <class T>
std::shared_ptr<T> Expect(const AnyObject& object) {
    const auto* found = std::get_if<std::shared_ptr<T>>(&object);
    if (found == nullptr || *found == nullptr) Raise(ErrorNumber::TypeMismatch);
    return *found;
}

// The definition, to be changed. Raises InvalidOperation once the object has been appended.
template <class Definition>
Definition& RequireNew(Definition& definition, bool appended) {
    if (appended) Raise(ErrorNumber::InvalidOperation);
    return definition;
}

// A collection of fields for an object that is not in a database yet.
Collection::Hooks Gathered(const bool& appended, std::vector<AnyObject> fields = {}) {
    return {[fields = std::move(fields)] { return fields; },
            [&appended](const AnyObject& object) {
                Expect<FieldObject>(object);
                if (appended) Raise(ErrorNumber::InvalidOperation);
            },
            [&appended](std::u16string_view) {
                if (appended) Raise(ErrorNumber::InvalidOperation);
            }};
}

AnyObject NamedField(std::u16string_view name, std::u16string_view foreign_name, bool appended,
                     bool descending = false) {
    FieldDef field;
    field.name = name;
    field.attributes = descending ? kDescending : 0;
    return std::make_shared<FieldObject>(std::move(field), appended, std::u16string(foreign_name));
}

std::vector<AnyObject> FieldsOf(const IndexDef& index) {
    std::vector<AnyObject> fields;
    for (const IndexDef::Part& part : index.fields) fields.push_back(NamedField(part.name, {}, true, part.descending));
    return fields;
}

std::vector<AnyObject> FieldsOf(const RelationDef& relation) {
    std::vector<AnyObject> fields;
    for (const RelationDef::Part& part : relation.fields)
        fields.push_back(NamedField(part.name, part.foreign_name, true));
    return fields;
}

}  // namespace

FieldDef& FieldObject::Open() {
    return RequireNew(definition_, appended_);
}

// Indexes

IndexObject::IndexObject(IndexDef definition, bool appended)
    : definition_(std::move(definition)), appended_(appended), fields_(Gathered(appended_, FieldsOf(definition_))) {}

IndexDef& IndexObject::Open() {
    return RequireNew(definition_, appended_);
}

IndexDef IndexObject::Definition() {
    IndexDef whole = definition_;
    whole.fields.clear();
    for (const AnyObject& object : fields_.Objects()) {
        const auto field = Expect<FieldObject>(object);
        whole.fields.push_back({field->Name(), (field->Attributes() & kDescending) != 0});
    }
    return whole;
}

std::shared_ptr<FieldObject> IndexObject::CreateField(std::u16string_view name) const {
    return Expect<FieldObject>(NamedField(name, {}, false));
}

// Relations

RelationObject::RelationObject(RelationDef definition, bool appended)
    : definition_(std::move(definition)), appended_(appended), fields_(Gathered(appended_, FieldsOf(definition_))) {}

RelationDef& RelationObject::Open() {
    return RequireNew(definition_, appended_);
}

RelationDef RelationObject::Definition() {
    RelationDef whole = definition_;
    whole.fields.clear();
    for (const AnyObject& object : fields_.Objects()) {
        const auto field = Expect<FieldObject>(object);
        whole.fields.push_back({field->Name(), field->ForeignName()});
    }
    return whole;
}

std::shared_ptr<FieldObject> RelationObject::CreateField(std::u16string_view name) const {
    return Expect<FieldObject>(NamedField(name, {}, false));
}

// Tables

TableObject::TableObject(std::shared_ptr<JetDatabase> database, TableDef definition, bool appended)
    : database_(std::move(database)),
      definition_(std::move(definition)),
      appended_(appended),
      fields_({[this] {
                   std::vector<AnyObject> objects;
                   for (const FieldDef& field : definition_.fields)
                       objects.emplace_back(std::make_shared<FieldObject>(field, ChangeOfFields()));
                   return objects;
               },
               [this](const AnyObject& object) {
                   const auto field = Expect<FieldObject>(object);
                   if (!appended_) return;
                   database_->AddField(Name(), field->Definition());
                   field->SetAppended(ChangeOfFields());
               },
               [this](std::u16string_view name) {
                   if (appended_) database_->DropField(Name(), name);
               }}),
      indexes_({[this] {
                    std::vector<AnyObject> objects;
                    for (const IndexDef& index : definition_.indexes)
                        objects.emplace_back(std::make_shared<IndexObject>(index, true));
                    return objects;
                },
                [this](const AnyObject& object) {
                    const auto index = Expect<IndexObject>(object);
                    if (!appended_) return;
                    database_->CreateIndex(Name(), index->Definition());
                    index->SetAppended();
                },
                [this](std::u16string_view name) {
                    if (appended_) database_->DropIndex(Name(), name);
                }}) {}

TableDef& TableObject::Open() {
    return RequireNew(definition_, appended_);
}

void TableObject::SetRule(const qmtrain::ValidationRule& rule) {
    if (appended_) {
        if (definition_.linked) Raise(ErrorNumber::InvalidOperation);
        database_->ChangeRule(Name(), rule);
    }
    definition_.validation_rule = rule.condition;
    definition_.validation_text = rule.text;
}

FieldObject::Change TableObject::ChangeOfFields() const {
    return [database = database_, table = Name()](const FieldDef& field) { database->ChangeField(table, field); };
}

TableDef TableObject::Definition() {
    TableDef whole = definition_;
    whole.fields.clear();
    whole.indexes.clear();
    for (const AnyObject& object : fields_.Objects()) whole.fields.push_back(Expect<FieldObject>(object)->Definition());
    for (const AnyObject& object : indexes_.Objects())
        whole.indexes.push_back(Expect<IndexObject>(object)->Definition());
    return whole;
}

void TableObject::SetAppended() {
    appended_ = true;
    for (const AnyObject& object : fields_.Objects()) Expect<FieldObject>(object)->SetAppended(ChangeOfFields());
    for (const AnyObject& object : indexes_.Objects()) Expect<IndexObject>(object)->SetAppended();
}

// A link that is there leads elsewhere with RefreshLink.
void TableObject::Connect(std::u16string_view value) {
    (appended_ && definition_.linked ? definition_ : Open()).connect = value;
}

void TableObject::RefreshLink() {
    if (!appended_ || !definition_.linked) Raise(ErrorNumber::InvalidOperation);
    database_->RefreshLink(Name(), definition_.connect);
}

std::int32_t TableObject::Attributes() const {
    constexpr std::int32_t kSystemObject = static_cast<std::int32_t>(0x80000002);
    constexpr std::int32_t kAttachedTable = 0x40000000;
    constexpr std::int32_t kAttachedOdbc = 0x20000000;
    const std::int32_t link = odbc::ConnectString::IsOdbc(definition_.connect) ? kAttachedOdbc : kAttachedTable;
    return (definition_.system ? kSystemObject : 0) | (definition_.linked ? link : 0);
}

std::int32_t TableObject::RecordCount() const {
    if (definition_.linked) return -1;
    return appended_ ? database_->OpenRecordset(Name(), RecordsetType::Table)->RecordCount() : 0;
}

std::shared_ptr<FieldObject> TableObject::CreateField(std::u16string_view name, std::int32_t type,
                                                      std::int32_t size) const {
    FieldDef field;
    field.name = name;
    field.type = type == 0 ? FieldType::Text : static_cast<FieldType>(type);
    field.size = size;
    field.allow_zero_length = false;
    return std::make_shared<FieldObject>(std::move(field));
}

std::shared_ptr<IndexObject> TableObject::CreateIndex(std::u16string_view name) const {
    IndexDef index;
    index.name = name;
    return std::make_shared<IndexObject>(std::move(index));
}

std::shared_ptr<Recordset> TableObject::OpenRecordset(RecordsetType type, std::int32_t options) const {
    return database_->OpenRecordset(Name(), type, options);
}

}  // namespace qmtrain::dao
