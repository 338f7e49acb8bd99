// Bound expressions: names are slots of sources, types are known as far as they can be, and Evaluate() computes.
//
// An expression keeps its result in itself and hands out a reference, so that evaluating a row allocates nothing.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "core/value.h"
#include "sql/expressions/source.h"
#include "sql/expressions/types.h"

namespace qmtrain::sql {

enum class Truth : std::uint8_t { False, True, Unknown };

inline Truth MakeTruth(bool value) {
    return value ? Truth::True : Truth::False;
}

class SlotExpression;

class Expression {
public:
    explicit Expression(Value::Type type) : type_(type) {}
    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;
    virtual ~Expression() = default;

    // The value for the current rows of its sources. The reference is good until the next call or the next row.
    virtual const Value& Evaluate() = 0;

    // The value as a condition.
    virtual Truth Test();

    // The value, where it is a text that can be looked at as it is stored, see Cursor::NarrowText; nothing elsewhere,
    // which says nothing about the value.
    virtual std::optional<std::string_view> NarrowText() { return std::nullopt; }

    // The type of every value that is not Null; Empty where it is known only row by row.
    Value::Type Type() const { return type_; }

    // What a column made of it looks like.
    virtual DataType GetDataType() const { return DataTypeOf(type_); }

    // The expression itself when it is a column as it stands, else null.
    virtual const SlotExpression* AsColumn() const { return nullptr; }

protected:
    Expression(Expression&&) = default;

private:
    Value::Type type_;
};

using ExpressionPtr = std::unique_ptr<Expression>;

// Appends the key of its value (see key.h), so that two keys are equal exactly when the values are.
void AppendKeyOf(Expression& expression, std::vector<std::uint8_t>& key);

class LiteralExpression : public Expression {
public:
    explicit LiteralExpression(Value value) : Expression(value.GetType()), value_(std::move(value)) {}
    const Value& Evaluate() override { return value_; }
    const Value& GetValue() const { return value_; }

private:
    Value value_;
};

// A column of a source.
class SlotExpression : public Expression {
public:
    SlotExpression(Source& source, std::size_t column)
        : Expression(source.ColumnAt(column).type), source_(source), slot_(source.SlotFor(column)), column_(column) {}

    const Value& Evaluate() override { return source_.Get(slot_); }
    std::optional<std::string_view> NarrowText() override { return source_.NarrowText(slot_); }
    DataType GetDataType() const override { return source_.ColumnAt(column_).data_type; }

    const SlotExpression* AsColumn() const override { return this; }

    Source& GetSource() const { return source_; }
    std::size_t GetColumn() const { return column_; }

private:
    Source& source_;
    std::size_t slot_;
    std::size_t column_;
};

// A column of that source, or null when the expression is something else or missing.
inline const SlotExpression* AsColumnOf(const Expression* expression, const Source& source) {
    const SlotExpression* column = expression != nullptr ? expression->AsColumn() : nullptr;
    return column != nullptr && &column->GetSource() == &source ? column : nullptr;
}

// Values of which one must equal something.
class ValueList {
public:
    virtual ~ValueList() = default;

    // The values as the outer rows stand now, in any order; false when there are more than `most`, and `values` is of
    // no use then.
    virtual bool Collect(std::size_t most, std::vector<Value>& values) = 0;

    // About how many there will be.
    virtual double ExpectedSize() const = 0;
};

// A base for conditions: subclasses say how they test, the value follows.
class Condition : public Expression {
public:
    Condition() : Expression(Value::Type::Boolean) {}
    const Value& Evaluate() final;
    Truth Test() override = 0;

private:
    Value result_;
};

}  // namespace qmtrain::sql
