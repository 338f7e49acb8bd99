#include "dao/query_def.h"

#include "core/error.h"
#include "dao/column_types.h"
#include "dao/jet_database.h"
#include "dao/table_defs.h"
#include "dao/table_object.h"
#include "jet/database.h"
#include "sql/ast.h"

namespace qmtrain::dao {

std::int16_t ParameterObject::Type() const {
    return static_cast<std::int16_t>(parameter_.typed ? FieldTypeOf(parameter_.column.type) : FieldType::Text);
}

void ParameterObject::Value(const qmtrain::Value& value) {
    value_ = parameter_.typed && !value.IsEmpty() ? sql::ConvertToColumn(value, parameter_.column) : value;
}

QueryDef::QueryDef(std::shared_ptr<JetDatabase> database, std::u16string name, std::u16string text)
    : database_(std::move(database)),
      name_(std::move(name)),
      text_(std::move(text)),
      parameters_({[this] {
          std::vector<AnyObject> objects;
          const sql::Statement statement = sql::Parse(text_);
          const jet::Database::Reading reading(database_->Storage());
          for (sql::Parameter& parameter : sql::ParametersOf(database_->Tables(), statement))
              objects.emplace_back(std::make_shared<ParameterObject>(std::move(parameter)));
          return objects;
      }}),
      fields_({[this] {
          std::vector<AnyObject> objects;
          if (!ReturnsRecords()) return objects;
          for (const auto& field : OpenRecordset(RecordsetType::Snapshot, 0)->Fields())
              objects.emplace_back(std::make_shared<FieldObject>(field->Definition(), true));
          return objects;
      }}) {}

void QueryDef::SQL(std::u16string_view text) {
    if (!name_.empty()) database_->SaveQuery(name_, text);
    text_ = text;
    parameters_.Refresh();
    fields_.Refresh();
}

std::int16_t QueryDef::Type() const {
    constexpr std::int16_t kSelect = 0;
    constexpr std::int16_t kCrosstab = 16;
    constexpr std::int16_t kDelete = 32;
    constexpr std::int16_t kUpdate = 48;
    constexpr std::int16_t kAppend = 64;
    constexpr std::int16_t kMakeTable = 80;
    constexpr std::int16_t kDefinition = 96;
    constexpr std::int16_t kUnion = 128;
    const sql::Statement statement = sql::Parse(text_);
    switch (statement.Kind()) {
        case sql::StatementKind::Select: {
            const auto& select = std::get<sql::ast::Select>(statement.Tree().node);
            return select.crosstab != nullptr ? kCrosstab : select.parts.size() > 1 ? kUnion : kSelect;
        }
        case sql::StatementKind::SelectInto: return kMakeTable;
        case sql::StatementKind::Insert: return kAppend;
        case sql::StatementKind::Update: return kUpdate;
        case sql::StatementKind::Delete: return kDelete;
        default: return kDefinition;
    }
}

bool QueryDef::ReturnsRecords() const {
    return sql::Parse(text_).YieldsRows();
}

Date QueryDef::DateCreated() const {
    if (name_.empty()) return {};
    const jet::Database::Reading reading(database_->Storage());
    return DatesOf(database_->Storage(), name_).created;
}

Date QueryDef::LastUpdated() const {
    if (name_.empty()) return {};
    const jet::Database::Reading reading(database_->Storage());
    return DatesOf(database_->Storage(), name_).updated;
}

sql::ParameterValues QueryDef::Values() {
    sql::ParameterValues values;
    for (const AnyObject& object : parameters_.Objects()) {
        const auto& parameter = *std::get<std::shared_ptr<ParameterObject>>(object);
        if (!parameter.Value().IsEmpty()) values.push_back({parameter.Name(), parameter.Value()});
    }
    return values;
}

std::shared_ptr<Recordset> QueryDef::OpenRecordset(RecordsetType type, std::int32_t options) {
    if (type == RecordsetType::Table) Raise(ErrorNumber::InvalidOperation);
    return database_->OpenRecordset(sql::Parse(text_), Values(), type, options, name_);
}

void QueryDef::Execute(std::int32_t options) {
    database_->Execute(sql::Parse(text_), Values(), options);
    records_affected_ = database_->RecordsAffected();
}

}  // namespace qmtrain::dao
