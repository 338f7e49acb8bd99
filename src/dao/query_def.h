// A select or an action with parameters: saved in the database, or the host's own.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "dao/collection.h"
#include "dao/recordset.h"
#include "sql/sql.h"

namespace qmtrain::dao {

class JetDatabase;

class ParameterObject {
public:
    explicit ParameterObject(sql::Parameter parameter) : parameter_(std::move(parameter)) {}

    const std::u16string& Name() const { return parameter_.column.name; }

    // DAO's number of the type, Text where any value will do.
    std::int16_t Type() const;
    const qmtrain::Value& Value() const { return value_; }

    // Raises DataTypeConversion for a value of another type.
    void Value(const qmtrain::Value& value);

private:
    sql::Parameter parameter_;
    qmtrain::Value value_;  // Empty as long as none was given
};

class QueryDef : public std::enable_shared_from_this<QueryDef> {
public:
    // Without a name it is not one of the database's.
    QueryDef(std::shared_ptr<JetDatabase> database, std::u16string name, std::u16string text);

    const std::u16string& Name() const { return name_; }
    const std::u16string& SQL() const { return text_; }

    // Saves it when it has a name.
    void SQL(std::u16string_view text);

    // DAO's number of what the statement is.
    std::int16_t Type() const;
    bool ReturnsRecords() const;
    std::int32_t RecordsAffected() const { return records_affected_; }
    Date DateCreated() const;
    Date LastUpdated() const;
    bool Updatable() const { return true; }

    // The parameters that PARAMETERS declares, and the names that nothing else explains.
    std::shared_ptr<Collection> Parameters() { return {shared_from_this(), &parameters_}; }

    // The columns of a select. Raises MissingParameter as opening it would.
    std::shared_ptr<Collection> Fields() { return {shared_from_this(), &fields_}; }

    // They raise MissingParameter for a parameter without a value.
    std::shared_ptr<Recordset> OpenRecordset(RecordsetType type, std::int32_t options);
    void Execute(std::int32_t options);
    void Close() const {}

private:
    sql::ParameterValues Values();

    std::shared_ptr<JetDatabase> database_;
    std::u16string name_;
    std::u16string text_;
    std::int32_t records_affected_ = 0;
    Collection parameters_;
    Collection fields_;
};

}  // namespace qmtrain::dao
