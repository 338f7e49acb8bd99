// A table as its server describes it.
#include <algorithm>
#include <array>

#include "core/text.h"
#include "odbc/statement.h"

namespace qmtrain::odbc {
namespace {

constexpr int kLongestText = 255;
constexpr int kLongestBinary = 510;

// A catalogue function's result, by column.
class CatalogRows {
public:
    explicit CatalogRows(Connection& connection) : statement_(connection) {}

    Statement& GetStatement() { return statement_; }
    bool Next() { return statement_.Fetch(); }

    std::u16string Text(int column) {
        std::array<char16_t, 512> text{};
        SQLLEN length = 0;
        Get(column, SQL_C_WCHAR, text.data(), sizeof text, length);
        return length < 0 ? std::u16string() : text.data();
    }

    long Number(int column) {
        SQLINTEGER number = 0;
        SQLLEN length = 0;
        Get(column, SQL_C_SLONG, &number, sizeof number, length);
        return length < 0 ? 0 : number;
    }

private:
    void Get(std::size_t column, int c_type, void* value, std::size_t size, SQLLEN& length) {
        const SQLRETURN result =
            statement_.Functions().GetData(statement_.Handle(), static_cast<SQLUSMALLINT>(column),
                                           static_cast<SQLSMALLINT>(c_type), value, static_cast<SQLLEN>(size), &length);
        statement_.Check(result, {});
    }

    Statement statement_;
};

ColumnType TypeOf(long odbc_type, long size) {
    switch (odbc_type) {
        case SQL_BIT: return ColumnType::Boolean;
        case SQL_TINYINT:
        case SQL_SMALLINT: return ColumnType::Integer;
        case SQL_INTEGER: return ColumnType::Long;
        case SQL_REAL: return ColumnType::Single;
        case SQL_BIGINT: return ColumnType::Decimal;
        case SQL_FLOAT:
        case SQL_DOUBLE: return ColumnType::Double;
        case SQL_NUMERIC:
        case SQL_DECIMAL: return ColumnType::Decimal;
        case SQL_TYPE_DATE:
        case SQL_TYPE_TIMESTAMP:
        case SQL_TIMESTAMP: return ColumnType::Date;
        case SQL_BINARY:
        case SQL_VARBINARY: return size > 0 && size <= kLongestBinary ? ColumnType::Binary : ColumnType::LongBinary;
        case SQL_LONGVARBINARY: return ColumnType::LongBinary;
        case SQL_GUID: return ColumnType::Guid;
        case SQL_TYPE_TIME:
        case SQL_CHAR:
        case SQL_WCHAR:
        case SQL_VARCHAR:
        case SQL_WVARCHAR: return size > 0 && size <= kLongestText ? ColumnType::Text : ColumnType::Memo;
        default: return ColumnType::Memo;
    }
}

ServerColumn ColumnOf(CatalogRows& rows) {
    ServerColumn column;
    column.name = rows.Text(4);
    column.odbc_type = static_cast<std::int16_t>(rows.Number(5));
    const std::u16string type_name = rows.Text(6);
    const long size = rows.Number(7);
    const long scale = rows.Number(9);
    column.odbc_size = static_cast<std::uint32_t>(std::max(size, 0L));
    column.odbc_scale = static_cast<std::int16_t>(scale);
    column.required = rows.Number(11) == SQL_NO_NULLS;
    const std::u16string default_value = rows.Text(13);
    column.type = TypeOf(column.odbc_type, size);
    constexpr int kMostDigits = 28;
    switch (column.type) {
        case ColumnType::Text:
        case ColumnType::Binary: column.size = static_cast<int>(size); break;
        case ColumnType::Decimal:
            column.precision = std::clamp(static_cast<int>(size), 1, kMostDigits);
            column.scale = std::clamp(static_cast<int>(scale), 0, column.precision);
            break;
        case ColumnType::Long:
            column.autonumber = default_value.starts_with(u"nextval(") || EqualNames(type_name, u"serial");
            break;
        default: break;
    }
    return column;
}

// A description's name may be left open.
struct Name {
    std::u16string text;
    SQLWCHAR* Wide() const { return text.empty() ? nullptr : ToWide(text); }
    SQLSMALLINT Length() const { return static_cast<SQLSMALLINT>(text.size()); }
};

// Where "_" and "%" stand for any character.
std::u16string Escaped(std::u16string_view pattern) {
    std::u16string text;
    for (const char16_t unit : pattern) {
        if (unit == u'_' || unit == u'%' || unit == u'\\') text += u'\\';
        text += unit;
    }
    return text;
}

std::size_t PositionOf(const TableDescription& table, std::u16string_view column) {
    const auto found = std::ranges::find(table.columns, column, &ServerColumn::name);
    return found == table.columns.end() ? kNoPosition : found - table.columns.begin();
}

// Whether the values here of these columns are different where those there are.
bool TellApart(const TableDescription& table, const std::vector<std::size_t>& key) {
    return !key.empty() && std::ranges::all_of(key, [&](std::size_t at) {
        if (at == kNoPosition) return false;
        const ServerColumn& column = table.columns[at];
        // The file that keeps the link has no keys of long bytes.
        return column.type != ColumnType::LongBinary && !IsFineTime(column.odbc_type, column.odbc_scale);
    });
}

bool ReadPrimaryKey(Connection& connection, TableDescription& table) {
    CatalogRows rows(connection);
    rows.GetStatement().Ask(
        [schema = Name{table.schema}, name = Name{table.name}](const Library& library, SQLHSTMT handle) {
            return library.PrimaryKeys(handle, nullptr, 0, schema.Wide(), schema.Length(), name.Wide(), name.Length());
        },
        {});
    while (rows.Next()) {
        table.key.push_back(PositionOf(table, rows.Text(4)));
        table.key_name = rows.Text(6);
    }
    if (TellApart(table, table.key)) return true;
    table.key.clear();
    return false;
}

// Without a primary key the first unique index is taken whose columns are never Null: any other may hold rows that it
// does not tell apart.
void ReadUniqueIndex(Connection& connection, TableDescription& table) {
    CatalogRows rows(connection);
    rows.GetStatement().Ask(
        [schema = Name{table.schema}, name = Name{table.name}](const Library& library, SQLHSTMT handle) {
            return library.Statistics(handle, nullptr, 0, schema.Wide(), schema.Length(), name.Wide(), name.Length(),
                                      SQL_INDEX_UNIQUE, SQL_QUICK);
        },
        {});
    std::u16string index;
    std::vector<std::size_t> key;
    const auto take = [&] {
        const bool good = std::ranges::all_of(
            key, [&](std::size_t column) { return column != kNoPosition && table.columns[column].required; });
        if (table.key.empty() && good && TellApart(table, key)) {
            table.key = key;
            table.key_name = index;
        }
        key.clear();
    };
    while (rows.Next()) {
        const bool is_index = rows.Number(7) != SQL_TABLE_STAT;
        if (!is_index) continue;
        std::u16string named = rows.Text(6);
        if (named != index) take();
        index = std::move(named);
        key.push_back(PositionOf(table, rows.Text(9)));
    }
    take();
}

}  // namespace

bool IsFineTime(std::int16_t odbc_type, std::int16_t odbc_scale) {
    return (odbc_type == SQL_TYPE_TIMESTAMP || odbc_type == SQL_TIMESTAMP) && odbc_scale > 0;
}

TableDescription Connection::Describe(std::u16string_view table) {
    RequireSendable(table, {ErrorNumber::NoSuchTable, table});
    TableDescription description;
    const std::size_t point = table.find(u'.');
    const std::u16string_view schema = point == table.npos ? std::u16string_view() : table.substr(0, point);
    const std::u16string_view name = point == table.npos ? table : table.substr(point + 1);
    {
        CatalogRows rows(*this);
        rows.GetStatement().Ask(
            [wanted_schema = Name{Escaped(schema)}, wanted = Name{Escaped(name)}](const Library& library,
                                                                                  SQLHSTMT handle) {
                return library.Columns(handle, nullptr, 0, wanted_schema.Wide(), wanted_schema.Length(), wanted.Wide(),
                                       wanted.Length(), nullptr, 0);
            },
            {});
        while (rows.Next()) {
            const std::u16string in_schema = rows.Text(2);
            const std::u16string in_table = rows.Text(3);
            if (description.columns.empty()) {
                description.schema = in_schema;
                description.name = in_table;
            }
            if (in_schema == description.schema && in_table == description.name) {
                description.columns.push_back(ColumnOf(rows));
            }
        }
    }
    if (description.columns.empty())
        Raise(ErrorNumber::NoSuchTable, {table, u"服务器上没有这个表，或没有读取它的权限。"});
    if (!ReadPrimaryKey(*this, description)) ReadUniqueIndex(*this, description);
    return description;
}

}  // namespace qmtrain::odbc
