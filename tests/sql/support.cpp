#include "sql/support.h"

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "support/raised.h"

namespace qmtrain::sql {
namespace {

// Runs one statement to its end.
std::int64_t RunOne(Catalog& catalog, const Statement& statement) {
    if (!statement.YieldsRows()) return Execute(catalog, statement);
    const auto query = Open(catalog, statement);
    Value value;
    while (query->Next()) {
        for (std::size_t i = 0; i < query->Columns().size(); ++i) query->Read(i, value);
    }
    return 0;
}

}  // namespace

std::string Show(const Value& value) {
    if (value.IsNull()) return "Null";
    if (value.IsEmpty()) return "Empty";
    if (value.GetType() != Value::Type::Binary) return ToUtf8(ToText(value));
    std::string hex;
    for (const std::uint8_t byte : value.Binary()) {
        hex += "0123456789ABCDEF"[byte >> 4U];
        hex += "0123456789ABCDEF"[byte & 15U];
    }
    return hex;
}

std::vector<std::string> Rows(Catalog& catalog, std::string_view sql) {
    const auto query = Open(catalog, Parse(FromUtf8(sql)));
    std::vector<std::string> rows;
    Value value;
    while (query->Next()) {
        std::string row;
        for (std::size_t i = 0; i < query->Columns().size(); ++i) {
            query->Read(i, value);
            row += (i > 0 ? " | " : "") + Show(value);
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

std::int64_t RunSql(Catalog& catalog, std::string_view sql) {
    std::int64_t affected = 0;
    for (const Statement& statement : ParseScript(FromUtf8(sql))) affected = RunOne(catalog, statement);
    return affected;
}

std::int32_t ErrorOf(Catalog& catalog, std::string_view sql) {
    return qmtrain::ErrorOf([&] { RunOne(catalog, Parse(FromUtf8(sql))); });
}

std::string Evaluate(std::string_view expression) {
    MemoryCatalog catalog;
    return Rows(catalog, "SELECT " + std::string(expression)).at(0);
}

}  // namespace qmtrain::sql
