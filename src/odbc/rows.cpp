#include <algorithm>
#include <array>
#include <cstring>

#include "core/convert.h"
#include "core/text.h"
#include "odbc/statement.h"

namespace qmtrain::odbc {

Rows::Rows(std::unique_ptr<Statement> statement) : statement_(std::move(statement)) {}

Rows::~Rows() = default;

bool Rows::Next() {
    return statement_->Run([&] { return statement_->Functions().Fetch(statement_->Handle()); }, {});
}

template <class T>
bool Rows::ReadFixed(int column, int c_type, T& value) {
    SQLLEN length = 0;
    const SQLRETURN result =
        statement_->Functions().GetData(statement_->Handle(), static_cast<SQLUSMALLINT>(column + 1),
                                        static_cast<SQLSMALLINT>(c_type), &value, sizeof value, &length);
    statement_->Check(result, {});
    return length != SQL_NULL_DATA;
}

// In pieces, for nobody knows beforehand how long it is.
void Rows::ReadText(int column, std::u16string& text, bool& null) {
    std::array<char16_t, 2048> piece;
    text.clear();
    null = false;
    while (true) {
        SQLLEN length = 0;
        const SQLRETURN result =
            statement_->Functions().GetData(statement_->Handle(), static_cast<SQLUSMALLINT>(column + 1), SQL_C_WCHAR,
                                            piece.data(), static_cast<SQLLEN>(sizeof piece), &length);
        if (!statement_->Check(result, {})) return;
        if (length == SQL_NULL_DATA) {
            null = true;
            return;
        }
        const bool more = length == SQL_NO_TOTAL || length >= static_cast<SQLLEN>(sizeof piece);
        const std::size_t units = more ? piece.size() - 1 : static_cast<std::size_t>(length) / sizeof(char16_t);
        text.append(piece.data(), units);
        if (result == SQL_SUCCESS) return;
    }
}

void Rows::ReadBytes(int column, Value& value) {
    std::array<std::uint8_t, 4096> piece;
    Bytes& bytes = value.ReuseBinary();
    bytes.clear();
    while (true) {
        SQLLEN length = 0;
        const SQLRETURN result =
            statement_->Functions().GetData(statement_->Handle(), static_cast<SQLUSMALLINT>(column + 1), SQL_C_BINARY,
                                            piece.data(), static_cast<SQLLEN>(piece.size()), &length);
        if (!statement_->Check(result, {})) return;
        if (length == SQL_NULL_DATA) {
            value = Null{};
            return;
        }
        const auto size = static_cast<SQLLEN>(piece.size());
        const SQLLEN here = length == SQL_NO_TOTAL ? size : std::min(length, size);
        bytes.insert(bytes.end(), piece.begin(), piece.begin() + here);
        if (result == SQL_SUCCESS) return;
    }
}

void Rows::Read(int column, ColumnType type, Value& value) {
    const auto take = [&](int c_type, auto number) {
        if (ReadFixed(column, c_type, number))
            value.SetNumber(number);
        else
            value = Null{};
    };
    switch (type) {
        case ColumnType::Boolean: {
            unsigned char bit = 0;
            if (ReadFixed(column, SQL_C_BIT, bit))
                value.SetNumber(bit != 0);
            else
                value = Null{};
            return;
        }
        case ColumnType::Byte: return take(SQL_C_UTINYINT, std::uint8_t{});
        case ColumnType::Integer: return take(SQL_C_SSHORT, std::int16_t{});
        case ColumnType::Long: return take(SQL_C_SLONG, std::int32_t{});
        case ColumnType::Single: return take(SQL_C_FLOAT, float{});
        case ColumnType::Double: return take(SQL_C_DOUBLE, double{});
        case ColumnType::Date: {
            SQL_TIMESTAMP_STRUCT time{};
            if (ReadFixed(column, SQL_C_TYPE_TIMESTAMP, time))
                value.SetNumber(FromCivil({time.year, time.month, time.day, time.hour, time.minute, time.second}));
            else
                value = Null{};
            return;
        }
        case ColumnType::Binary:
        case ColumnType::LongBinary: return ReadBytes(column, value);
        default: break;
    }
    bool null = false;
    ReadText(column, value.ReuseText(), null);
    if (null) {
        value = Null{};
    } else if (type == ColumnType::Currency) {
        value = ToCurrency(value);
    } else if (type == ColumnType::Decimal) {
        value = ToDecimal(value);
    } else if (type == ColumnType::Guid) {
        value = u"{" + ToUpper(value.Text()) + u"}";
    }
}

}  // namespace qmtrain::odbc
