#include "dao/remote_sql.h"

#include <algorithm>
#include <utility>

#include "core/convert.h"
#include "core/enum_table.h"
#include "core/text.h"
#include "dao/remote_text.h"

namespace qmtrain::dao {
namespace {

using sql::ast::BinaryOperator;
using sql::ast::ExpressionKind;

// "*" and "?" only: digits and sets are left to our own engine.
RemoteText LikePattern(std::u16string_view pattern) {
    std::u16string text;
    for (const char16_t unit : pattern) {
        switch (unit) {
            case u'#':
            case u'[':
            case u']': return std::nullopt;
            case u'*': text += u'%'; break;
            case u'?': text += u'_'; break;
            case u'%':
            case u'_':
            case u'\\': text += u'\\'; [[fallthrough]];
            default: text += unit;
        }
    }
    return text;
}

}  // namespace

// ---- kinds ----

RemoteSql::TypeClass RemoteSql::TypeClassOf(sql::ColumnType type) {
    switch (type) {
        case sql::ColumnType::Boolean: return TypeClass::Boolean;
        case sql::ColumnType::Byte:
        case sql::ColumnType::Integer:
        case sql::ColumnType::Long: return TypeClass::Whole;
        case sql::ColumnType::Single:
        case sql::ColumnType::Double: return TypeClass::Number;
        case sql::ColumnType::Currency:
        case sql::ColumnType::Decimal: return TypeClass::Exact;
        case sql::ColumnType::Date: return TypeClass::Date;
        case sql::ColumnType::Text:
        case sql::ColumnType::Memo: return TypeClass::Text;
        default: return TypeClass::Other;
    }
}

// True is -1 in numbers.
std::u16string RemoteSql::AsNumber(const Fragment& fragment) {
    return fragment.kind == TypeClass::Boolean ? u"(-" + Cast(fragment.text, u"integer") + u")" : fragment.text;
}

std::u16string RemoteSql::AsDouble(const Fragment& fragment) {
    return Cast(AsNumber(fragment), kDouble);
}

std::u16string RemoteSql::AsCondition(const Fragment& fragment) {
    return IsNumber(fragment.kind) ? u"(" + fragment.text + u" <> 0)" : fragment.text;
}

bool RemoteSql::Compare(const Fragment& a, const Fragment& b) {
    const auto number = [](TypeClass kind) { return IsNumber(kind) || kind == TypeClass::Boolean; };
    if (a.kind == TypeClass::Other || b.kind == TypeClass::Other ||
        std::max(a.collation, b.collation) == TextCollation::Cased)
        return false;
    return a.kind == b.kind || a.kind == TypeClass::Null || b.kind == TypeClass::Null ||
           (number(a.kind) && number(b.kind));
}

// What is compared with a fragment. Of two columns whose texts are in different orders the server would not know which
// one counts.
std::u16string RemoteSql::Beside(const Fragment& fragment, const Fragment& other) {
    std::u16string text = AsNumber(other);
    const bool texts = fragment.kind == TypeClass::Text && other.kind == TypeClass::Text;
    if (!texts || fragment.link == nullptr || other.link == nullptr) return text;
    const std::u16string& order = fragment.link->OrderOf(fragment.column);
    if (order.empty() || order == other.link->OrderOf(other.column)) return text;
    return InParentheses(text + u" COLLATE " + order);
}

RemoteSql::Fragment RemoteSql::Cannot() {
    possible_ = false;
    return {};
}

void RemoteSql::Start() {
    possible_ = true;
    used_columns_ = false;
    values_before_ = values_.size();
}

RemoteText RemoteSql::Result(std::u16string text) {
    if (possible_) return text;
    values_.resize(values_before_);
    return std::nullopt;
}

// ---- selects ----

RemoteText RemoteSql::Select(const sql::ast::Select& select) {
    Start();
    return Result(Put(select));
}

void RemoteSql::UseTable(const std::shared_ptr<OdbcLink>& link, std::u16string_view name) {
    scopes_.assign(1, {});
    tables_ = 0;
    server_ = nullptr;
    takes_values_ = true;
    AddTable(link, name);
}

RemoteText RemoteSql::Condition(const sql::ast::Expression& condition) {
    Start();
    const Fragment fragment = Put(condition);
    if (fragment.kind != TypeClass::Boolean && !IsNumber(fragment.kind)) Cannot();
    return Result(AsCondition(fragment));
}

RemoteText RemoteSql::Order(const sql::ast::SelectPart& part, const std::vector<sql::ast::OrderItem>& order) {
    Start();
    return Result(PutOrder(part, order));
}

// Rows that are equal to the last one in the order belong to the first rows too.
std::u16string RemoteSql::Top(const sql::ast::Top& top, bool ordered) {
    const std::u16string count = ToText(top.count);
    return ordered ? u" FETCH FIRST " + count + u" ROWS WITH TIES" : u" LIMIT " + count;
}

RemoteText RemoteSql::Assigned(const sql::ast::Expression& value, const sql::Column& column) {
    Start();
    const Fragment fragment = PutValue(value, u"text");
    const TypeClass kind = TypeClassOf(column.type);
    const bool yes_or_no = kind == TypeClass::Boolean && (fragment.kind == kind || fragment.kind == TypeClass::Null);
    if (yes_or_no && column.required && !fragment.required)
        return Result(CallOf(u"coalesce", fragment.text + u", FALSE"));
    if (fragment.kind == TypeClass::Null || (fragment.kind == kind && !IsNumber(kind) && kind != TypeClass::Other)) {
        return Result(fragment.text);
    }
    if (!IsNumber(fragment.kind) || !IsNumber(kind) || kind == TypeClass::Exact) Cannot();
    constexpr EnumTable<ColumnType, std::u16string_view, 7> kTypes = {u"", u"smallint", u"smallint", u"integer",
                                                                      u"", u"real",     kDouble};
    return Result(possible_ ? Cast(fragment.text, kTypes[column.type]) : std::u16string());
}

// ---- expressions ----

RemoteSql::Fragment RemoteSql::Put(const sql::ast::Expression& expression) {
    using namespace sql::ast;
    switch (expression.kind) {
        case ExpressionKind::Literal: return PutLiteral(As<Literal>(expression).value);
        case ExpressionKind::ColumnName: return PutColumn(As<ColumnName>(expression));
        case ExpressionKind::Unary: return PutUnary(As<Unary>(expression));
        case ExpressionKind::Binary: return PutBinary(As<Binary>(expression));
        case ExpressionKind::Call: return PutCall(As<Call>(expression));
        case ExpressionKind::IsNull: {
            const auto& is_null = As<IsNull>(expression);
            const Fragment subject = Put(*is_null.subject);
            return {InParentheses(subject.text + (is_null.negated ? u" IS NOT NULL" : u" IS NULL")), TypeClass::Boolean,
                    true};
        }
        case ExpressionKind::Between: return PutBetween(As<Between>(expression));
        case ExpressionKind::InList: {
            const auto& in = As<InList>(expression);
            const Fragment subject = Put(*in.subject);
            std::u16string items;
            for (const ExpressionPtr& item : in.items) {
                const Fragment fragment = Put(*item);
                if (!Compare(subject, fragment)) return Cannot();
                items += (items.empty() ? u"" : u", ") + Beside(subject, fragment);
            }
            return {InParentheses(AsNumber(subject) + (in.negated ? u" NOT IN (" : u" IN (") + items + u")"),
                    TypeClass::Boolean};
        }
        case ExpressionKind::Exists:
            return {u"EXISTS " + InParentheses(Put(*As<Exists>(expression).select)), TypeClass::Boolean, true};
        default: return Cannot();  // whose type is the select's
    }
}

RemoteSql::Fragment RemoteSql::PutLiteral(const Value& value) {
    switch (value.GetType()) {
        case Value::Type::Null: return {u"NULL", TypeClass::Null};
        case Value::Type::Boolean: return {value.As<bool>() ? u"TRUE" : u"FALSE", TypeClass::Boolean, true};
        case Value::Type::Byte:
        case Value::Type::Integer:
        case Value::Type::Long: {
            const std::u16string text = ToText(value);
            return {text.starts_with(u'-') ? InParentheses(text) : text, TypeClass::Whole, true};
        }
        case Value::Type::Single:
        case Value::Type::Double: return {Cast(QuotedValue(value), kDouble), TypeClass::Number, true};
        case Value::Type::Date: return {u"TIMESTAMP " + QuotedValue(value), TypeClass::Date, true};
        case Value::Type::Text: {
            const auto has_case = [](char16_t unit) { return unit > u'~' || ToUpper(unit) != ToLower(unit); };
            const bool cased = std::ranges::any_of(value.Text(), has_case);
            return {QuotedValue(value), TypeClass::Text, true, cased ? TextCollation::Cased : TextCollation::None};
        }
        default: return Cannot();
    }
}

// A literal that the server is given as a value beside the statement: next to a column, or alone.
RemoteSql::Fragment RemoteSql::PutValue(const sql::ast::Expression& expression, std::u16string_view text_type) {
    const Value* value = takes_values_ && scopes_.size() == 1 ? LiteralIn(expression) : nullptr;
    if (value == nullptr) return Put(expression);
    std::u16string_view type;
    switch (value->GetType()) {
        case Value::Type::Text: type = text_type; break;
        case Value::Type::Date: type = u"timestamp"; break;
        case Value::Type::Long: type = u"integer"; break;
        default: return Put(expression);
    }
    Fragment fragment = Put(expression);
    values_.push_back({std::move(fragment.text), type});
    fragment.text = u"$" + ToText(values_.size());
    return fragment;
}

RemoteSql::Fragment RemoteSql::PutColumn(const sql::ast::ColumnName& name) {
    for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
        for (const TableName& table : *scope) {
            if (!name.table.empty() && !EqualNames(table.name, name.table)) continue;
            const OdbcLink& link = *table.link;
            for (std::size_t i = 0; i < link.columns.size(); ++i) {
                const sql::Column& column = link.columns[i];
                if (!EqualNames(column.name, name.name)) continue;
                used_columns_ = true;
                std::u16string text = table.alias + u"." + QuotedName(column.name);
                if (link.IsFine(i)) text = CallOf(u"date_trunc", u"'second', " + text);
                const TypeClass kind = TypeClassOf(column.type);
                const TextCollation collation = kind == TypeClass::Text ? TextCollation::Column : TextCollation::None;
                const bool required = column.required && !table.may_be_missing;
                return {std::move(text), kind, required, collation, &link, i};
            }
        }
    }
    return Cannot();
}

RemoteSql::Fragment RemoteSql::PutUnary(const sql::ast::Unary& unary) {
    const Fragment operand = Put(*unary.operand);
    const bool number = IsNumber(operand.kind);
    switch (unary.op) {
        case sql::ast::UnaryOperator::Not:
            if (operand.kind != TypeClass::Boolean) return Cannot();
            return {u"(NOT " + operand.text + u")", TypeClass::Boolean};
        case sql::ast::UnaryOperator::Minus:
            if (!number) return Cannot();
            return {u"(- " + operand.text + u")", operand.kind};
        default: return number ? operand : Cannot();
    }
}

// Its ends may stand in either order, which in the server's BETWEEN they may not. Only the last of the three forms
// takes no index there.
RemoteSql::Fragment RemoteSql::PutBetween(const sql::ast::Between& between) {
    const Fragment subject = Put(*between.subject);
    Fragment low = Put(*between.low);
    Fragment high = Put(*between.high);
    const bool there = low.required && high.required;
    if (!Compare(subject, low) || !Compare(subject, high) || (!there && !Compare(low, high))) return Cannot();
    const auto put = [&](std::u16string_view how, const Fragment& from, const Fragment& to) {
        return InParentheses(AsNumber(subject) + (between.negated ? u" NOT BETWEEN " : u" BETWEEN ") +
                             std::u16string(how) + Beside(subject, from) + u" AND " + Beside(subject, to));
    };
    const Value* low_value = LiteralIn(*between.low);
    const Value* high_value = LiteralIn(*between.high);
    if (there && low_value != nullptr && high_value != nullptr &&
        low.kind != TypeClass::Text) {  // texts are in the order of the server's column
        if (ToDouble(*low_value) > ToDouble(*high_value)) std::swap(low, high);
        return {put({}, low, high), TypeClass::Boolean};
    }
    if (there) return {put(u"SYMMETRIC ", low, high), TypeClass::Boolean};
    return {u"(CASE WHEN " + Beside(subject, low) + u" > " + Beside(subject, high) + u" THEN " + put({}, high, low) +
                u" ELSE " + put({}, low, high) + u" END)",
            TypeClass::Boolean};
}

RemoteSql::Fragment RemoteSql::PutBinary(const sql::ast::Binary& binary) {
    const bool compares = binary.op >= BinaryOperator::Equal && binary.op <= BinaryOperator::GreaterEqual;
    const Fragment left = Put(*binary.left);
    if (binary.op == BinaryOperator::Like) return PutLike(left, *binary.right);
    const bool beside_column = compares && binary.left->kind == ExpressionKind::ColumnName;
    const Fragment right = beside_column ? PutValue(*binary.right, u"unknown") : Put(*binary.right);  // the column's
    const auto comparison = [&](std::u16string_view op) -> Fragment {
        if (!Compare(left, right)) return Cannot();
        const bool equality = binary.op == BinaryOperator::Equal || binary.op == BinaryOperator::NotEqual;
        const bool plain = equality && left.kind == TypeClass::Boolean && right.kind == TypeClass::Boolean;
        std::u16string text = plain ? left.text : AsNumber(left);
        text.append(op).append(plain ? right.text : Beside(left, right));
        return {InParentheses(text), TypeClass::Boolean};
    };
    switch (binary.op) {
        case BinaryOperator::And:
        case BinaryOperator::Or:
            if (left.kind != TypeClass::Boolean || right.kind != TypeClass::Boolean) return Cannot();
            return {InParentheses(left.text + (binary.op == BinaryOperator::And ? u" AND " : u" OR ") + right.text),
                    TypeClass::Boolean};
        case BinaryOperator::Equal: return comparison(u" = ");
        case BinaryOperator::NotEqual: return comparison(u" <> ");
        case BinaryOperator::Less: return comparison(u" < ");
        case BinaryOperator::Greater: return comparison(u" > ");
        case BinaryOperator::LessEqual: return comparison(u" <= ");
        case BinaryOperator::GreaterEqual: return comparison(u" >= ");
        case BinaryOperator::Concatenate: {
            const auto shown = [](const Fragment& fragment) {
                return fragment.kind == TypeClass::Text || fragment.kind == TypeClass::Whole;
            };
            if (!shown(left) || !shown(right)) return Cannot();
            return {CallOf(u"concat", left.text + u", " + right.text), TypeClass::Text, true,
                    std::max(left.collation, right.collation)};
        }
        default: return PutArithmetic(binary, left, right);
    }
}

RemoteSql::Fragment RemoteSql::PutArithmetic(const sql::ast::Binary& binary, const Fragment& left,
                                             const Fragment& right) {
    if (binary.op == BinaryOperator::Add && left.kind == TypeClass::Text && right.kind == TypeClass::Text) {
        return {InParentheses(left.text + u" || " + right.text), TypeClass::Text, false,
                std::max(left.collation, right.collation)};
    }
    const bool whole = left.kind == TypeClass::Whole && right.kind == TypeClass::Whole;
    const bool fractions = !whole && left.kind != TypeClass::Exact && right.kind != TypeClass::Exact;
    if (!IsNumber(left.kind) || !IsNumber(right.kind) || (!whole && !fractions)) return Cannot();
    // Whole numbers do not overflow as soon as the server's small ones would, nor as late as its large ones.
    const auto plain = [&](std::u16string_view op) -> Fragment {
        if (whole)
            return {Cast(Cast(left.text, u"bigint").append(op).append(Cast(right.text, u"bigint")), u"integer"),
                    TypeClass::Whole};
        return {InParentheses(AsDouble(left).append(op).append(AsDouble(right))), TypeClass::Number};
    };
    switch (binary.op) {
        case BinaryOperator::Add: return plain(u" + ");
        case BinaryOperator::Subtract: return plain(u" - ");
        case BinaryOperator::Multiply: return plain(u" * ");
        case BinaryOperator::Divide:
            return {InParentheses(AsDouble(left) + u" / " + AsDouble(right)), TypeClass::Number};
        case BinaryOperator::IntegerDivide: return whole ? plain(u" / ") : Cannot();
        case BinaryOperator::Modulo: return whole ? plain(u" % ") : Cannot();
        default: return Cannot();
    }
}

// Whatever the order of the column's texts: not every one knows patterns.
RemoteSql::Fragment RemoteSql::PutLike(const Fragment& subject, const sql::ast::Expression& pattern) {
    const Value* value = LiteralIn(pattern);
    if (subject.kind != TypeClass::Text || value == nullptr || !value->IsText()) return Cannot();
    const RemoteText text = LikePattern(value->Text());
    if (!text) return Cannot();
    return {InParentheses(subject.text + u" COLLATE \"default\" ILIKE " + QuotedValue(Value(*text))),
            TypeClass::Boolean};
}

}  // namespace qmtrain::dao
