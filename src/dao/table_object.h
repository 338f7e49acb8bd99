// TableDef, Index, Relation and their fields, as DAO has them: put together first, then appended to a database.
//
// Properties of objects that are in a database can be read; setting them raises InvalidOperation, for statements change
// them. Rules, default values, Required and AllowZeroLength of its fields can be set.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "core/validation_rule.h"
#include "dao/collection.h"
#include "dao/definitions.h"
#include "dao/recordset.h"

namespace qmtrain::dao {

class JetDatabase;

class FieldObject {
public:
    // Writes what has been set of a field that is in a database.
    using Change = std::function<void(const FieldDef&)>;

    explicit FieldObject(FieldDef definition, bool appended = false, std::u16string foreign_name = {})
        : definition_(std::move(definition)), foreign_name_(std::move(foreign_name)), appended_(appended) {}
    FieldObject(FieldDef definition, Change change) : FieldObject(std::move(definition), true) {
        change_ = std::move(change);
    }

    const FieldDef& Definition() const { return definition_; }
    void SetAppended(Change change = {}) {
        appended_ = true;
        change_ = std::move(change);
    }

    const std::u16string& Name() const { return definition_.name; }
    void Name(std::u16string_view value) { Open().name = value; }
    std::int16_t Type() const { return static_cast<std::int16_t>(definition_.type); }
    void Type(std::int16_t value) { Open().type = static_cast<FieldType>(value); }
    std::int32_t Size() const { return definition_.size; }
    void Size(std::int32_t value) { Open().size = value; }
    std::int32_t Attributes() const { return definition_.attributes; }
    void Attributes(std::int32_t value) { Open().attributes = value; }
    bool Required() const { return definition_.required; }
    void Required(bool value) { Set(&FieldDef::required, value); }
    bool AllowZeroLength() const { return definition_.allow_zero_length; }
    void AllowZeroLength(bool value) { Set(&FieldDef::allow_zero_length, value); }
    const std::u16string& DefaultValue() const { return definition_.default_value; }
    void DefaultValue(std::u16string_view value) { Set(&FieldDef::default_value, std::u16string(value)); }
    const std::u16string& ValidationRule() const { return definition_.validation_rule; }
    void ValidationRule(std::u16string_view value) { Set(&FieldDef::validation_rule, std::u16string(value)); }
    const std::u16string& ValidationText() const { return definition_.validation_text; }
    void ValidationText(std::u16string_view value) { Set(&FieldDef::validation_text, std::u16string(value)); }
    std::int16_t OrdinalPosition() const { return static_cast<std::int16_t>(definition_.ordinal); }
    void OrdinalPosition(std::int16_t value) { Open().ordinal = value; }
    std::int32_t CollatingOrder() const { return definition_.collating_order; }
    const std::u16string& SourceTable() const { return definition_.source_table; }
    const std::u16string& SourceField() const { return definition_.source_field; }

    // Of a relation's field: what it is called in the other table.
    const std::u16string& ForeignName() const { return foreign_name_; }
    void ForeignName(std::u16string_view value) {
        Open();
        foreign_name_ = value;
    }

private:
    FieldDef& Open();

    template <class T>
    void Set(T FieldDef::*member, T value) {
        if (!change_) {
            Open().*member = std::move(value);
            return;
        }
        FieldDef changed = definition_;
        changed.*member = std::move(value);
        change_(changed);
        definition_ = std::move(changed);
    }

    Change change_;
    FieldDef definition_;
    std::u16string foreign_name_;
    bool appended_;
};

class IndexObject : public std::enable_shared_from_this<IndexObject> {
public:
    explicit IndexObject(IndexDef definition, bool appended = false);

    // With its fields.
    IndexDef Definition();
    void SetAppended() { appended_ = true; }

    const std::u16string& Name() const { return definition_.name; }
    void Name(std::u16string_view value) { Open().name = value; }
    bool Primary() const { return definition_.primary; }
    void Primary(bool value) { Open().primary = value; }
    bool Unique() const { return definition_.unique || definition_.primary; }
    void Unique(bool value) { Open().unique = value; }
    bool Required() const { return definition_.required || definition_.primary; }
    void Required(bool value) { Open().required = value; }
    bool IgnoreNulls() const { return definition_.ignore_nulls; }
    void IgnoreNulls(bool value) { Open().ignore_nulls = value; }
    bool Foreign() const { return definition_.foreign; }
    std::int32_t DistinctCount() const { return definition_.distinct_count; }
    std::shared_ptr<Collection> Fields() { return {shared_from_this(), &fields_}; }
    std::shared_ptr<FieldObject> CreateField(std::u16string_view name) const;

private:
    IndexDef& Open();

    IndexDef definition_;
    bool appended_;
    Collection fields_;
};

class TableObject : public std::enable_shared_from_this<TableObject> {
public:
    TableObject(std::shared_ptr<JetDatabase> database, TableDef definition, bool appended);

    // With its fields and indexes.
    TableDef Definition();
    void SetAppended();

    const std::u16string& Name() const { return definition_.name; }
    void Name(std::u16string_view value) { Open().name = value; }
    std::int32_t Attributes() const;
    const std::u16string& Connect() const { return definition_.connect; }
    void Connect(std::u16string_view value);
    const std::u16string& SourceTableName() const { return definition_.source_table; }
    void SourceTableName(std::u16string_view value) { Open().source_table = value; }
    Date DateCreated() const { return definition_.created; }
    Date LastUpdated() const { return definition_.updated; }
    bool Updatable() const { return !definition_.linked; }

    // Makes the link anew, to the place that Connect has been set to. Raises InvalidOperation for any other table.
    void RefreshLink();
    const std::u16string& ValidationRule() const { return definition_.validation_rule; }
    void ValidationRule(std::u16string_view value) { SetRule({std::u16string(value), definition_.validation_text}); }
    const std::u16string& ValidationText() const { return definition_.validation_text; }
    void ValidationText(std::u16string_view value) { SetRule({definition_.validation_rule, std::u16string(value)}); }

    // -1 for a linked table, as DAO has it.
    std::int32_t RecordCount() const;
    std::shared_ptr<Collection> Fields() { return {shared_from_this(), &fields_}; }
    std::shared_ptr<Collection> Indexes() { return {shared_from_this(), &indexes_}; }
    std::shared_ptr<FieldObject> CreateField(std::u16string_view name, std::int32_t type, std::int32_t size) const;
    std::shared_ptr<IndexObject> CreateIndex(std::u16string_view name) const;
    std::shared_ptr<Recordset> OpenRecordset(RecordsetType type, std::int32_t options) const;

private:
    TableDef& Open();
    void SetRule(const qmtrain::ValidationRule& rule);
    FieldObject::Change ChangeOfFields() const;

    std::shared_ptr<JetDatabase> database_;
    TableDef definition_;
    bool appended_;
    Collection fields_;
    Collection indexes_;
};

class RelationObject : public std::enable_shared_from_this<RelationObject> {
public:
    explicit RelationObject(RelationDef definition, bool appended = false);

    // With its fields.
    RelationDef Definition();
    void SetAppended() { appended_ = true; }

    const std::u16string& Name() const { return definition_.name; }
    void Name(std::u16string_view value) { Open().name = value; }
    const std::u16string& Table() const { return definition_.table; }
    void Table(std::u16string_view value) { Open().table = value; }
    const std::u16string& ForeignTable() const { return definition_.foreign_table; }
    void ForeignTable(std::u16string_view value) { Open().foreign_table = value; }
    std::int32_t Attributes() const { return definition_.attributes; }
    void Attributes(std::int32_t value) { Open().attributes = value; }
    std::shared_ptr<Collection> Fields() { return {shared_from_this(), &fields_}; }
    std::shared_ptr<FieldObject> CreateField(std::u16string_view name) const;

private:
    RelationDef& Open();

    RelationDef definition_;
    bool appended_;
    Collection fields_;
};

}  // namespace qmtrain::dao
