#include "dao/jet_columns.h"

#include <algorithm>

namespace qmtrain::dao {
namespace {

sql::Column ToSql(const jet::StoredColumn& column, bool jet4) {
    sql::Column out;
    out.name = column.name;
    out.type = column.type;
    if (column.type == ColumnType::Text) out.size = jet4 ? column.length / 2 : column.length;
    if (out.type == ColumnType::Binary) out.size = column.length;
    out.precision = column.precision;
    out.scale = column.scale;
    out.autonumber = column.IsAutonumber();
    out.required = column.required;
    out.allow_zero_length = column.allow_zero_length;
    out.default_expression = column.default_expression;
    if (!out.default_expression.empty() && out.default_expression.front() == u'=') out.default_expression.erase(0, 1);
    out.validation = column.validation;
    return out;
}

}  // namespace

jet::IndexSpec ToSpec(const sql::Index& index, const std::vector<sql::Column>& columns) {
    jet::IndexSpec spec{.name = index.name,
                        .columns = {},
                        .unique = index.unique,
                        .primary = index.primary,
                        .required = index.required,
                        .ignore_nulls = index.ignore_nulls};
    for (const sql::IndexColumn& part : index.columns) {
        spec.columns.push_back({columns[part.column].name, !part.descending});
    }
    return spec;
}

Layout::Layout(const jet::Table& table) {
    const jet::TableDefinition& definition = table.Definition();
    for (std::size_t i = 0; i < definition.columns.size(); ++i) positions.push_back(i);
    std::stable_sort(positions.begin(), positions.end(), [&](std::size_t a, std::size_t b) {
        return definition.columns[a].ordinal < definition.columns[b].ordinal;
    });
    const bool jet4 = table.GetVersion() == jet::Version::Jet4;
    for (const std::size_t position : positions) {
        columns.push_back(ToSql(definition.columns[position], jet4));
        ordinals.push_back(definition.columns[position].ordinal);
    }
    for (std::size_t i = 0; i < definition.real_indexes.size(); ++i) {
        const jet::RealIndex& real = definition.real_indexes[i];
        sql::Index index;
        index.name = table.IndexName(i);
        index.unique = real.IsUnique();
        index.required = real.IsRequired();
        index.ignore_nulls = real.IgnoresNulls();
        for (const jet::LogicalIndex& logical : definition.logical_indexes) {
            if (logical.real == i && logical.role == jet::IndexRole::Primary) index.primary = true;
        }
        for (const jet::KeyColumn& part : real.columns) {
            const std::size_t position = definition.ColumnByNumber(part.number);
            const std::size_t at = std::find(positions.begin(), positions.end(), position) - positions.begin();
            index.columns.push_back({at, !part.ascending});
        }
        indexes.push_back(std::move(index));
    }
}

}  // namespace qmtrain::dao
