// Values on their way into a column.
#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "sql/expressions/types.h"
#include "sql/values.h"

namespace qmtrain::sql {
namespace {

bool IsHex(char16_t unit) {
    return (unit >= u'0' && unit <= u'9') || (ToUpper(unit) >= u'A' && ToUpper(unit) <= u'F');
}

// "{00000000-0000-0000-0000-000000000000}", also read without braces, kept in capital letters with them.
Value ConvertToGuid(const Value& value, const Column& column) {
    std::u16string text = ToUpper(ToText(value));
    if (text.size() == 36) text = u"{" + text + u"}";
    constexpr std::u16string_view kPattern = u"{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";
    bool fits = text.size() == kPattern.size();
    for (std::size_t i = 0; fits && i < text.size(); ++i) {
        fits = kPattern[i] == u'X' ? IsHex(text[i]) : text[i] == kPattern[i];
    }
    if (!fits) Raise(ErrorNumber::DataTypeConversion, {column.name});
    return text;
}

Value ConvertToText(const Value& value, const Column& column) {
    Value text = Convert(value, Value::Type::Text);
    const bool limited = column.type == ColumnType::Text && column.size > 0;
    if (limited && text.Text().size() > static_cast<std::size_t>(column.size)) {
        Raise(ErrorNumber::FieldTooLarge, {column.name});
    }
    return text;
}

Value ConvertToBinary(const Value& value, const Column& column) {
    if (value.GetType() != Value::Type::Binary) Raise(ErrorNumber::DataTypeConversion, {column.name});
    const bool limited = column.type == ColumnType::Binary && column.size > 0;
    if (limited && value.Binary().size() > static_cast<std::size_t>(column.size)) {
        Raise(ErrorNumber::FieldTooLarge, {column.name});
    }
    return value;
}

Value ConvertToDecimal(const Value& value, const Column& column) {
    const Decimal decimal = Rescale(ToDecimal(value), column.scale);
    if (column.precision > 0 && !FitsPrecision(decimal, column)) Raise(ErrorNumber::Overflow);
    return decimal;
}

Value ConvertByType(const Value& value, const Column& column) {
    switch (column.type) {
        case ColumnType::Guid: return ConvertToGuid(value, column);
        case ColumnType::Text:
        case ColumnType::Memo: return ConvertToText(value, column);
        case ColumnType::Binary:
        case ColumnType::LongBinary: return ConvertToBinary(value, column);
        case ColumnType::Decimal: return ConvertToDecimal(value, column);
        case ColumnType::Date: return ToDate(value);
        default: return Convert(value, ValueTypeOf(column.type));
    }
}

}  // namespace

Value ConvertToColumn(const Value& value, const Column& column) {
    if (value.IsNull()) return value;
    try {
        return ConvertByType(value, column);
    } catch (const AutomationError& error) {
        if (!error.Is(ErrorNumber::TypeMismatch)) throw;
        Raise(ErrorNumber::DataTypeConversion, {column.name});
    }
}

}  // namespace qmtrain::sql
