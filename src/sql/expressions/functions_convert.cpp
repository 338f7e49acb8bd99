// CInt and its kin, and the questions about types. Converting Null is an error, asking about it is not.
#include "core/convert.h"
#include "sql/expressions/functions.h"

namespace qmtrain::sql {
namespace {

template <Value::Type type>
void ConvertTo(Arguments a, Value& result) {
    result = Convert(*a[0], type);
}

// The number that the text starts with; blanks within it do not count.
void Val(Arguments a, Value& result) {
    std::u16string text;
    for (const char16_t unit : ToText(*a[0])) {
        if (unit != u' ' && unit != u'\t' && unit != u'\n' && unit != u'\r') text += unit;
    }
    constexpr std::size_t kLongest = 400;
    std::size_t size = std::min(text.find(u','), std::min(text.size(), kLongest));
    double number = 0;
    for (; size > 0; --size) {
        if (const auto parsed = ParseNumber(std::u16string_view(text).substr(0, size))) {
            number = *parsed;
            break;
        }
    }
    result = number;
}

// A place for the sign stands before a positive number.
void Str(Arguments a, Value& result) {
    std::u16string text = ToText(*a[0]);
    if (a[0]->GetType() != Value::Type::Text && !text.starts_with(u'-')) text.insert(0, 1, u' ');
    result = std::move(text);
}

void IsNullValue(Arguments a, Value& result) {
    result = a[0]->IsNull();
}

void IsNumericValue(Arguments a, Value& result) {
    result = IsNumeric(*a[0]);
}

void IsDateValue(Arguments a, Value& result) {
    result = IsDate(*a[0]);
}

using enum Value::Type;

constexpr FunctionInfo kFunctions[] = {
    {u"CBOOL", 1, 1, Boolean, true, ConvertTo<Boolean>},
    {u"CBYTE", 1, 1, Byte, true, ConvertTo<Byte>},
    {u"CINT", 1, 1, Integer, true, ConvertTo<Integer>},
    {u"CLNG", 1, 1, Long, true, ConvertTo<Long>},
    {u"CSNG", 1, 1, Single, true, ConvertTo<Single>},
    {u"CDBL", 1, 1, Double, true, ConvertTo<Double>},
    {u"CCUR", 1, 1, Value::Type::Currency, true, ConvertTo<Value::Type::Currency>},
    {u"CDATE", 1, 1, Value::Type::Date, true, ConvertTo<Value::Type::Date>},
    {u"CVDATE", 1, 1, Value::Type::Date, false, ConvertTo<Value::Type::Date>},
    {u"CDEC", 1, 1, Value::Type::Decimal, true, ConvertTo<Value::Type::Decimal>},
    {u"CSTR", 1, 1, Text, true, ConvertTo<Text>},
    {u"VAL", 1, 1, Double, true, Val},
    {u"STR", 1, 1, Text, false, Str},
    {u"ISNULL", 1, 1, Boolean, true, IsNullValue},
    {u"ISNUMERIC", 1, 1, Boolean, true, IsNumericValue},
    {u"ISDATE", 1, 1, Boolean, true, IsDateValue},
};

}  // namespace

std::span<const FunctionInfo> ConversionFunctions() {
    return kFunctions;
}

}  // namespace qmtrain::sql
