// Statements as trees. A tree knows no database: names are names, and nothing has a type yet.
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "core/value.h"
#include "sql/storage.h"

namespace qmtrain::sql::ast {

struct Select;

// ---- expressions ----

enum class ExpressionKind : std::uint8_t {
    Literal,
    ColumnName,
    Unary,
    Binary,
    Between,
    IsNull,
    InList,
    InSelect,
    Exists,
    Quantified,
    SubSelect,
    Call,
};

struct Expression {
    explicit Expression(ExpressionKind its_kind) : kind(its_kind) {}
    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;
    virtual ~Expression() = default;

    const ExpressionKind kind;
    int height = 1;  // nodes on the longest way down; the parser keeps it bounded
};

using ExpressionPtr = std::unique_ptr<Expression>;

// The expression as the node of its kind. Requires: Node has that kind.
template <class Node, class Tree>
requires std::is_same_v<std::remove_const_t<Tree>, Expression>
auto& As(Tree& expression) {
    return static_cast<std::conditional_t<std::is_const_v<Tree>, const Node, Node>&>(expression);
}

struct Literal : Expression {
    explicit Literal(Value its_value) : Expression(ExpressionKind::Literal), value(std::move(its_value)) {}
    Value value;
};

struct ColumnName : Expression {
    ColumnName() : Expression(ExpressionKind::ColumnName) {}
    std::u16string table;  // empty when not given
    std::u16string name;
    bool exclamation = false;  // "table!name": perhaps of something outside the database
};

enum class UnaryOperator : std::uint8_t { Minus, Plus, Not };

struct Unary : Expression {
    Unary(UnaryOperator its_op, ExpressionPtr its_operand)
        : Expression(ExpressionKind::Unary), op(its_op), operand(std::move(its_operand)) {
        height = operand->height + 1;
    }
    UnaryOperator op;
    ExpressionPtr operand;
};

enum class BinaryOperator : std::uint8_t {
    Power,
    Multiply,
    Divide,
    IntegerDivide,
    Modulo,
    Add,
    Subtract,
    Concatenate,
    Equal,
    NotEqual,
    Less,
    Greater,
    LessEqual,
    GreaterEqual,
    Like,
    And,
    Or,
    Xor,
    Eqv,
    Imp,
};

struct Binary : Expression {
    Binary(BinaryOperator its_op, ExpressionPtr its_left, ExpressionPtr its_right)
        : Expression(ExpressionKind::Binary), op(its_op), left(std::move(its_left)), right(std::move(its_right)) {
        height = std::max(left->height, right->height) + 1;
    }
    BinaryOperator op;
    ExpressionPtr left;
    ExpressionPtr right;
};

struct Between : Expression {
    Between() : Expression(ExpressionKind::Between) {}
    ExpressionPtr subject;
    ExpressionPtr low;
    ExpressionPtr high;
    bool negated = false;
};

struct IsNull : Expression {
    IsNull() : Expression(ExpressionKind::IsNull) {}
    ExpressionPtr subject;
    bool negated = false;
};

struct InList : Expression {
    InList() : Expression(ExpressionKind::InList) {}
    ExpressionPtr subject;
    std::vector<ExpressionPtr> items;
    bool negated = false;
};

struct InSelect : Expression {
    InSelect() : Expression(ExpressionKind::InSelect) {}
    ExpressionPtr subject;
    std::unique_ptr<Select> select;
    bool negated = false;
};

struct Exists : Expression {
    Exists() : Expression(ExpressionKind::Exists) {}
    std::unique_ptr<Select> select;
};

// "subject op ANY (select)", or ALL.
struct Quantified : Expression {
    Quantified() : Expression(ExpressionKind::Quantified) {}
    BinaryOperator op = BinaryOperator::Equal;
    ExpressionPtr subject;
    std::unique_ptr<Select> select;
    bool all = false;
};

struct SubSelect : Expression {
    SubSelect() : Expression(ExpressionKind::SubSelect) {}
    std::unique_ptr<Select> select;
};

struct Call : Expression {
    Call() : Expression(ExpressionKind::Call) {}
    std::u16string name;
    std::vector<ExpressionPtr> arguments;
    bool star = false;  // Count(*)
};

// ---- tables ----

struct NamedTable {
    std::u16string name;
    std::u16string alias;          // empty when not given
    std::shared_ptr<Table> table;  // where it has been found already
};

struct DerivedTable {
    std::unique_ptr<Select> select;
    std::u16string alias;
};

enum class JoinType : std::uint8_t { Inner, Left, Right };

struct TableExpression;

struct JoinedTable {
    JoinType type = JoinType::Inner;
    std::unique_ptr<TableExpression> left;
    std::unique_ptr<TableExpression> right;
    ExpressionPtr on;
};

struct TableExpression {
    std::variant<NamedTable, DerivedTable, JoinedTable> node;
    int height = 1;
};

// ---- select ----

struct SelectItem {
    bool star = false;     // "*", or "T.*" with a table
    std::u16string table;  // of "T.*"
    ExpressionPtr expression;
    std::u16string alias;  // empty when not given
};

struct OrderItem {
    ExpressionPtr expression;
    bool descending = false;
};

struct Top {
    std::int32_t count = 0;
    bool percent = false;
};

// One SELECT … of a UNION.
struct SelectPart {
    bool distinct = false;
    bool distinct_row = false;
    std::optional<Top> top;
    std::vector<SelectItem> items;
    std::u16string into;  // empty when not given
    std::vector<TableExpression> from;
    ExpressionPtr where;
    std::vector<ExpressionPtr> group_by;
    ExpressionPtr having;
    bool union_all = false;  // joined with UNION ALL to the part before
};

// "TRANSFORM value SELECT … PIVOT pivot IN (headings)": a column for each value of the pivot.
struct Crosstab {
    ExpressionPtr value;
    ExpressionPtr pivot;
    std::vector<ExpressionPtr> headings;  // empty: all that there are
};

struct Select {
    std::unique_ptr<Crosstab> crosstab;  // null when there is none
    std::vector<SelectPart> parts;       // never empty
    std::vector<OrderItem> order_by;
};

// ---- changes ----

struct Insert {
    std::u16string table;
    std::vector<std::u16string> columns;  // empty when not given
    std::vector<ExpressionPtr> values;
    std::unique_ptr<Select> select;  // instead of values
};

struct SetItem {
    std::unique_ptr<ColumnName> column;
    ExpressionPtr value;
};

struct Update {
    std::vector<TableExpression> from;
    std::vector<SetItem> items;
    ExpressionPtr where;
};

struct Delete {
    std::vector<SelectItem> items;  // name the table, as in "DELETE T.* FROM"; columns only
    std::vector<TableExpression> from;
    ExpressionPtr where;
};

// ---- definitions ----

// An index that a table definition asks for, its columns by name.
struct IndexDefinition {
    std::u16string name;
    struct Key {
        std::u16string column;
        bool descending = false;
    };
    std::vector<Key> keys;
    bool unique = false;
    bool primary = false;
    bool required = false;
    bool ignore_nulls = false;
};

struct ReferenceDefinition {
    std::u16string name;
    std::vector<std::u16string> columns;
    std::u16string table;
    std::vector<std::u16string> referenced_columns;
    bool cascade_update = false;
    bool cascade_delete = false;
};

using Constraint = std::variant<IndexDefinition, ReferenceDefinition>;

struct ColumnDefinition {
    Column column;
    std::vector<Constraint> constraints;
};

struct CreateTable {
    std::u16string name;
    std::vector<ColumnDefinition> columns;
    std::vector<Constraint> constraints;
};

struct CreateIndex {
    std::u16string table;
    IndexDefinition index;
};

struct DropTable {
    std::u16string name;
};

struct DropIndex {
    std::u16string name;
    std::u16string table;
};

struct AlterTable {
    std::u16string table;
    struct DropColumn {
        std::u16string name;
    };
    struct DropConstraint {
        std::u16string name;
    };
    struct AlterColumn {
        ColumnDefinition definition;
    };
    std::variant<ColumnDefinition, Constraint, DropColumn, DropConstraint, AlterColumn> action;
};

// What a statement's PARAMETERS clause declares.
struct Parameter {
    Column column;
    bool typed = true;
};

struct Statement {
    std::vector<Parameter> parameters;
    std::variant<Select, Insert, Update, Delete, CreateTable, CreateIndex, DropTable, DropIndex, AlterTable> node;
};

}  // namespace qmtrain::sql::ast
