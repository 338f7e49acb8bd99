// IIf, Nz, Switch and Choose.
#include "core/convert.h"
#include "core/error.h"
#include "sql/expressions/functions.h"

namespace qmtrain::sql {
namespace {

const Value kNull = Null{};

class IfExpression : public Expression {
public:
    explicit IfExpression(std::vector<ExpressionPtr> arguments)
        : Expression(CommonType(arguments[1]->Type(), arguments[2]->Type())), arguments_(std::move(arguments)) {}

    const Value& Evaluate() override { return arguments_[arguments_[0]->Test() == Truth::True ? 1 : 2]->Evaluate(); }

private:
    std::vector<ExpressionPtr> arguments_;
};

class NullReplacement : public Expression {
public:
    explicit NullReplacement(std::vector<ExpressionPtr> arguments)
        : Expression(ResultType(arguments)), arguments_(std::move(arguments)) {
        if (FamilyOf(arguments_[0]->Type()) == Family::Number)
            default_ = std::int32_t{0};
        else
            default_ = Value(u"");
    }

    const Value& Evaluate() override {
        const Value& value = arguments_[0]->Evaluate();
        if (!value.IsNull()) return value;
        return arguments_.size() > 1 ? arguments_[1]->Evaluate() : default_;
    }

private:
    static Value::Type ResultType(const std::vector<ExpressionPtr>& arguments) {
        return arguments.size() > 1 ? CommonType(arguments[0]->Type(), arguments[1]->Type()) : arguments[0]->Type();
    }

    std::vector<ExpressionPtr> arguments_;
    Value default_;
};

// Switch(condition, value, condition, value …): the first value whose condition holds.
class SwitchExpression : public Expression {
public:
    explicit SwitchExpression(std::vector<ExpressionPtr> arguments)
        : Expression(ResultType(arguments)), arguments_(std::move(arguments)) {}

    const Value& Evaluate() override {
        for (std::size_t i = 0; i < arguments_.size(); i += 2) {
            if (arguments_[i]->Test() == Truth::True) return arguments_[i + 1]->Evaluate();
        }
        return kNull;
    }

private:
    static Value::Type ResultType(const std::vector<ExpressionPtr>& arguments) {
        Value::Type type = Value::Type::Null;
        for (std::size_t i = 1; i < arguments.size(); i += 2) type = CommonType(type, arguments[i]->Type());
        return type;
    }

    std::vector<ExpressionPtr> arguments_;
};

// Choose(n, first, second …)
class ChooseExpression : public Expression {
public:
    explicit ChooseExpression(std::vector<ExpressionPtr> arguments)
        : Expression(ResultType(arguments)), arguments_(std::move(arguments)) {}

    const Value& Evaluate() override {
        const Value& place = arguments_[0]->Evaluate();
        if (place.IsNull()) Raise(ErrorNumber::InvalidUseOfNull);
        const double index = ToDouble(place);
        if (index < 1 || index >= static_cast<double>(arguments_.size())) return kNull;
        return arguments_[static_cast<std::size_t>(index)]->Evaluate();
    }

private:
    static Value::Type ResultType(const std::vector<ExpressionPtr>& arguments) {
        Value::Type type = Value::Type::Null;
        for (std::size_t i = 1; i < arguments.size(); ++i) type = CommonType(type, arguments[i]->Type());
        return type;
    }

    std::vector<ExpressionPtr> arguments_;
};

void Expect(bool fine, std::u16string_view name) {
    if (!fine) Raise(ErrorNumber::ArgumentCount, {name});
}

}  // namespace

ExpressionPtr MakeChoice(std::u16string_view name, std::vector<ExpressionPtr>& arguments) {
    const std::size_t count = arguments.size();
    if (name == u"IIF") {
        Expect(count == 3, name);
        return std::make_unique<IfExpression>(std::move(arguments));
    }
    if (name == u"NZ") {
        Expect(count == 1 || count == 2, name);
        return std::make_unique<NullReplacement>(std::move(arguments));
    }
    if (name == u"SWITCH") {
        Expect(count >= 2 && count % 2 == 0, name);
        return std::make_unique<SwitchExpression>(std::move(arguments));
    }
    if (name == u"CHOOSE") {
        Expect(count >= 2, name);
        return std::make_unique<ChooseExpression>(std::move(arguments));
    }
    return nullptr;
}

}  // namespace qmtrain::sql
