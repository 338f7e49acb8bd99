// Conversions between the types of a Value, as Visual Basic makes them.
//
// Numbers round half to even. A number that does not fit raises Overflow (6), something that cannot be read as the
// wanted type TypeMismatch (13), and Null InvalidUseOfNull (94). Empty counts as 0, "" or False.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/date.h"
#include "core/value.h"

namespace qmtrain {

bool ToBoolean(const Value& value);
std::uint8_t ToByte(const Value& value);
std::int16_t ToInteger(const Value& value);
std::int32_t ToLong(const Value& value);
float ToSingle(const Value& value);
double ToDouble(const Value& value);
Currency ToCurrency(const Value& value);
Date ToDate(const Value& value);  // a date outside the range of dates raises Overflow too
Decimal ToDecimal(const Value& value);
std::u16string ToText(const Value& value);

// The value in another type. Requires: `type` is neither Empty nor Null.
Value Convert(const Value& value, Value::Type type);

// The value in the named type, or `null` in the place of a Null.
inline std::int32_t LongOr(const Value& value, std::int32_t null) {
    return value.IsNull() ? null : ToLong(value);
}
inline float SingleOr(const Value& value, float null) {
    return value.IsNull() ? null : ToSingle(value);
}
inline Date DateOr(const Value& value, Date null) {
    return value.IsNull() ? null : ToDate(value);
}
inline bool BooleanOr(const Value& value, bool null) {
    return value.IsNull() ? null : ToBoolean(value);
}
inline std::u16string TextOr(const Value& value, std::u16string_view null) {
    return value.IsNull() ? std::u16string(null) : ToText(value);
}

// Appends what ToText() returns.
void AppendText(const Value& value, std::u16string& out);

// Whether the value is a number or a text that reads as one; whether it is a date or a text that reads as one.
bool IsNumeric(const Value& value);
bool IsDate(const Value& value);
bool IsNumberType(Value::Type type);

// "72", " -1,234.5e3 ", "&H1F"; nothing when the text is no number.
std::optional<double> ParseNumber(std::u16string_view text);

// The order of three plain numbers when none of them can only be the year.
enum class DateOrder : std::uint8_t { YearFirst, MonthFirst };

// "2005-04-12 12:00:00", "2005/4/12", "4/12/2005", "12:30", "12 Apr 2005", "2005年4月12日 下午3:05"; a month and a day
// are of this year ("4/12"), a month and a year mean its first day ("4/2005", "Apr 2005"). Years from 0 to 29 are those
// of this century, 30 to 99 of the last. Nothing when the text is no date.
std::optional<Date> ParseDate(std::u16string_view text, DateOrder order = DateOrder::YearFirst);

// The same number with that many digits after the point, rounded half to even. Raises Overflow when it does not fit.
Decimal Rescale(const Decimal& value, int scale);

}  // namespace qmtrain
