#include "sql/expressions/expression.h"

#include "core/convert.h"
#include "core/error.h"
#include "sql/expressions/key.h"

namespace qmtrain::sql {

Truth Expression::Test() {
    const Value& value = Evaluate();
    switch (value.GetType()) {
        case Value::Type::Boolean: return MakeTruth(value.As<bool>());
        case Value::Type::Empty:
        case Value::Type::Null: return Truth::Unknown;
        case Value::Type::Text:
        case Value::Type::Binary: Raise(ErrorNumber::CriteriaTypeMismatch);
        default: return MakeTruth(ToDouble(value) != 0);
    }
}

void AppendKeyOf(Expression& expression, std::vector<std::uint8_t>& key) {
    AppendKey(expression.Evaluate(), key, NeedsExactKeys(expression.Type()));
}

const Value& Condition::Evaluate() {
    const Truth truth = Test();
    if (truth == Truth::Unknown)
        result_ = Null{};
    else
        result_ = truth == Truth::True;
    return result_;
}

}  // namespace qmtrain::sql
