#include "sql/expressions/functions.h"

#include <algorithm>
#include <array>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "core/work.h"
#include "sql/expressions/make_expression.h"

namespace qmtrain::sql {
namespace {

bool IsLong(const Value& value) {
    return value.IsText() && value.Text().size() > kLongText;
}

class CallExpression : public Expression {
public:
    CallExpression(const FunctionInfo& info, Value::Type type, std::vector<ExpressionPtr> arguments)
        : Expression(type), info_(info), arguments_(std::move(arguments)), values_(arguments_.size()) {}

    const Value& Evaluate() override {
        for (std::size_t i = 0; i < arguments_.size(); ++i) {
            values_[i] = &arguments_[i]->Evaluate();
            if (values_[i]->IsNull() && !info_.takes_null) {
                result_ = Null{};
                return result_;
            }
        }
        info_.function(values_, result_);
        if (IsLong(result_)) held_.Cover(BytesBeside(result_));
        if (IsLong(result_) || std::ranges::any_of(values_, [](const Value* value) { return IsLong(*value); })) {
            Work::Look();
        }
        return result_;
    }

private:
    const FunctionInfo& info_;
    std::vector<ExpressionPtr> arguments_;
    std::vector<const Value*> values_;
    Value result_;
    HeldMemory held_;
};

// "Left$" is "Left".
std::u16string_view WithoutSuffix(std::u16string_view name) {
    if (name.ends_with(u'$')) name.remove_suffix(1);
    return name;
}

const FunctionInfo* FindFunction(std::u16string_view name) {
    const std::array families = {ConversionFunctions(), MathFunctions(), TextFunctions(), DateFunctions()};
    for (const auto& family : families) {
        for (const FunctionInfo& info : family) {
            if (info.name == name) return &info;
        }
    }
    return nullptr;
}

Value::Type ResultType(const FunctionInfo& info, const std::vector<ExpressionPtr>& arguments) {
    if (info.type != Value::Type::Empty) return info.type;
    const Value::Type first = arguments.front()->Type();
    if (first == Value::Type::Boolean) return Value::Type::Integer;
    return IsNumberType(first) ? first : Value::Type::Double;
}

}  // namespace

ExpressionPtr MakeCall(const std::u16string& name, std::vector<ExpressionPtr> arguments) {
    const std::u16string upper = ToUpper(WithoutSuffix(name));
    if (ExpressionPtr choice = MakeChoice(upper, arguments)) return choice;
    const FunctionInfo* info = FindFunction(upper);
    if (info == nullptr) Raise(ErrorNumber::UndefinedFunction, {name});
    const int count = static_cast<int>(arguments.size());
    if (count < info->min_arguments || count > info->max_arguments) Raise(ErrorNumber::ArgumentCount, {name});
    const Value::Type type = ResultType(*info, arguments);
    return std::make_unique<CallExpression>(*info, type, std::move(arguments));
}

}  // namespace qmtrain::sql
