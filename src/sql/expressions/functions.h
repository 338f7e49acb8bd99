// The functions that statements may call, in tables by family.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/value.h"
#include "sql/expressions/expression.h"

namespace qmtrain::sql {

using Arguments = std::span<const Value* const>;

// Computes a result that replaces what `result` held.
using Function = void (*)(Arguments arguments, Value& result);

struct FunctionInfo {
    std::u16string_view name;  // in capital letters
    int min_arguments = 0;
    int max_arguments = 0;
    Value::Type type = Value::Type::Empty;  // of the result; Empty: the first argument's, if that is a number
    bool takes_null = false;                // else a Null argument makes the result Null without a call
    Function function = nullptr;
};

std::span<const FunctionInfo> ConversionFunctions();
std::span<const FunctionInfo> MathFunctions();
std::span<const FunctionInfo> TextFunctions();
std::span<const FunctionInfo> DateFunctions();

// IIf, Nz, Switch and Choose evaluate only what they need. Empty when the name is none of them.
ExpressionPtr MakeChoice(std::u16string_view name, std::vector<ExpressionPtr>& arguments);

// Before a text of that length is made by a statement. Raises SystemResourceExceeded.
void CheckLength(std::size_t length);

// A call of any function that is no aggregate. Raises UndefinedFunction or ArgumentCount.
ExpressionPtr MakeCall(const std::u16string& name, std::vector<ExpressionPtr> arguments);

}  // namespace qmtrain::sql
