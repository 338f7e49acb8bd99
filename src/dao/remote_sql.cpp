#include "dao/remote_sql.h"

#include <algorithm>
#include <utility>

#include "core/convert.h"
#include "core/text.h"
#include "sql/aggregate_calls.h"

namespace qmtrain::dao {
namespace {

using sql::ast::BinaryOperator;
using sql::ast::ExpressionKind;

std::u16string InParentheses(std::u16string_view text) {
    return (u"(" + std::u16string(text)).append(u")");
}

std::u16string Cast(std::u16string_view text, std::u16string_view type) {
    return u"CAST(" + std::u16string(text).append(u" AS ").append(type).append(u")");
}

std::u16string CallOf(std::u16string_view function, std::u16string_view arguments) {
    return std::u16string(function).append(InParentheses(arguments));
}

constexpr std::u16string_view kDouble = u"double precision";

// A literal's value where an expression is no more than that.
const Value* LiteralIn(const sql::ast::Expression& expression) {
    if (expression.kind != ExpressionKind::Literal) return nullptr;
    return &static_cast<const sql::ast::Literal&>(expression).value;
}

bool IsWholeFrom(const sql::ast::Expression& expression, std::int32_t least) {
    const Value* value = LiteralIn(expression);
    return value != nullptr && value->GetType() == Value::Type::Long && value->As<std::int32_t>() >= least;
}

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

// What the server has under another name.
struct Renamed {
    std::u16string_view ours;
    std::u16string_view remote;
};
constexpr Renamed kFormats[] = {
    {u"yyyy", u"YYYY"},
    {u"yyyy-mm", u"YYYY-MM"},
    {u"yyyy-mm-dd", u"YYYY-MM-DD"},
    {u"yyyy-mm-dd hh:nn:ss", u"YYYY-MM-DD HH24:MI:SS"},
    {u"hh:nn:ss", u"HH24:MI:SS"},
};

// Functions of one argument.
constexpr Renamed kTextFunctions[] = {
    {u"UCASE", u"upper"}, {u"LCASE", u"lower"}, {u"TRIM", u"btrim"}, {u"LTRIM", u"ltrim"}, {u"RTRIM", u"rtrim"},
};
constexpr Renamed kNumberFunctions[] = {{u"INT", u"floor"}, {u"FIX", u"trunc"}, {u"ABS", u"abs"}};
constexpr Renamed kDateParts[] = {
    {u"YEAR", u"year"}, {u"MONTH", u"month"},   {u"DAY", u"day"},
    {u"HOUR", u"hour"}, {u"MINUTE", u"minute"}, {u"SECOND", u"second"},
};

const Renamed* FindIn(std::span<const Renamed> functions, std::u16string_view name) {
    const auto found = std::ranges::find(functions, name, &Renamed::ours);
    return found == functions.end() ? nullptr : &*found;
}

bool IsGrouped(const sql::ast::SelectPart& part, const std::vector<sql::ast::OrderItem>& order) {
    const auto aggregates = [](const auto& item) {
        return item.expression != nullptr && sql::ContainsAggregate(*item.expression);
    };
    return !part.group_by.empty() || part.having != nullptr || std::ranges::any_of(part.items, aggregates) ||
           std::ranges::any_of(order, aggregates);
}

}  // namespace

// ---- kinds ----

RemoteSql::Kind RemoteSql::KindOf(sql::ColumnType type) {
    switch (type) {
        case sql::ColumnType::Boolean: return Kind::Boolean;
        case sql::ColumnType::Byte:
        case sql::ColumnType::Integer:
        case sql::ColumnType::Long: return Kind::Whole;
        case sql::ColumnType::Single:
        case sql::ColumnType::Double: return Kind::Number;
        case sql::ColumnType::Currency:
        case sql::ColumnType::Decimal: return Kind::Exact;
        case sql::ColumnType::Date: return Kind::Date;
        case sql::ColumnType::Text:
        case sql::ColumnType::Memo: return Kind::Text;
        default: return Kind::Other;
    }
}

// True is -1 in numbers.
std::u16string RemoteSql::AsNumber(const Piece& piece) {
    return piece.kind == Kind::Boolean ? u"(-" + Cast(piece.text, u"integer") + u")" : piece.text;
}

std::u16string RemoteSql::AsDouble(const Piece& piece) {
    return Cast(AsNumber(piece), kDouble);
}

std::u16string RemoteSql::AsCondition(const Piece& piece) {
    return IsNumber(piece.kind) ? u"(" + piece.text + u" <> 0)" : piece.text;
}

bool RemoteSql::Compare(const Piece& a, const Piece& b) {
    const auto number = [](Kind kind) { return IsNumber(kind) || kind == Kind::Boolean; };
    if (a.kind == Kind::Other || b.kind == Kind::Other) return false;
    return a.kind == b.kind || a.kind == Kind::Null || b.kind == Kind::Null || (number(a.kind) && number(b.kind));
}

RemoteSql::Piece RemoteSql::Cannot() {
    possible_ = false;
    return {};
}

void RemoteSql::Start() {
    possible_ = true;
    used_columns_ = false;
}

RemoteText RemoteSql::Result(std::u16string text) {
    return possible_ ? RemoteText(std::move(text)) : std::nullopt;
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
    AddTable(link, name);
}

RemoteText RemoteSql::Condition(const sql::ast::Expression& condition) {
    Start();
    const Piece piece = Put(condition);
    if (piece.kind != Kind::Boolean && !IsNumber(piece.kind)) return std::nullopt;
    return Result(AsCondition(piece));
}

RemoteText RemoteSql::Order(const sql::ast::SelectPart& part, const std::vector<sql::ast::OrderItem>& order) {
    Start();
    return Result(PutOrder(part, order));
}

// Rows that are equal to the last one in the order belong to the first rows too.
std::u16string RemoteSql::Top(const sql::ast::Top& top, bool ordered) {
    const std::u16string count = ToText(std::int64_t{top.count});
    return ordered ? u" FETCH FIRST " + count + u" ROWS WITH TIES" : u" LIMIT " + count;
}

std::u16string RemoteSql::AddTable(const std::shared_ptr<OdbcLink>& link, std::u16string_view name) {
    if (server_ == nullptr) server_ = link->server;
    if (server_ != link->server) Cannot();
    const std::u16string alias = u"t" + ToText(std::int64_t{tables_++});
    scopes_.back().push_back({std::u16string(name), alias, link});
    return link->remote + u" AS " + alias;
}

std::u16string RemoteSql::PutFrom(const sql::ast::TableExpression& table) {
    if (const auto* named = std::get_if<sql::ast::NamedTable>(&table.node)) {
        const auto link = named->table ? nullptr : links_.FindLink(named->name);
        if (link == nullptr) return Cannot().text;
        return AddTable(link, named->alias.empty() ? named->name : named->alias);
    }
    const auto* join = std::get_if<sql::ast::JoinedTable>(&table.node);
    if (join == nullptr) return Cannot().text;
    constexpr std::u16string_view kJoins[] = {u" JOIN ", u" LEFT JOIN ", u" RIGHT JOIN "};
    const std::u16string left = PutFrom(*join->left);
    const std::u16string right = PutFrom(*join->right);
    return InParentheses(left + std::u16string(kJoins[static_cast<std::size_t>(join->type)]) + right + u" ON " +
                         AsCondition(Put(*join->on)));
}

std::u16string RemoteSql::PutItems(const sql::ast::SelectPart& part) {
    std::u16string items;
    const auto add = [&](std::u16string_view item) { items.append(items.empty() ? u"" : u", ").append(item); };
    for (const sql::ast::SelectItem& item : part.items) {
        if (!item.star) {
            const Piece piece = Put(*item.expression);
            if (piece.kind == Kind::Null) Cannot();  // of what type?
            add(piece.text);
            continue;
        }
        for (const TableName& table : scopes_.back()) {
            if (!item.table.empty() && !EqualNames(table.name, item.table)) continue;
            for (const sql::Column& column : table.link->columns) add(table.alias + u"." + QuotedName(column.name));
        }
    }
    return items;
}

// Null is the least of values.
std::u16string RemoteSql::PutKey(const Piece& key, bool descending) {
    if (key.kind == Kind::Other) Cannot();
    std::u16string text = AsNumber(key);
    if (descending) text += u" DESC";
    if (!key.required) text += descending ? u" NULLS LAST" : u" NULLS FIRST";
    return text;
}

// A position, an alias, or an expression.
RemoteSql::Piece RemoteSql::OrderKey(const sql::ast::SelectPart& part, const sql::ast::Expression& expression) {
    if (const Value* value = LiteralIn(expression)) {
        if (value->GetType() != Value::Type::Long) return Cannot();
        const auto place = static_cast<std::size_t>(value->As<std::int32_t>()) - 1;
        if (place >= part.items.size() || std::ranges::any_of(part.items, &sql::ast::SelectItem::star)) return Cannot();
        return Put(*part.items[place].expression);
    }
    if (expression.kind == ExpressionKind::ColumnName) {
        const auto& name = static_cast<const sql::ast::ColumnName&>(expression);
        for (const sql::ast::SelectItem& item : part.items) {
            if (item.star) break;
            if (name.table.empty() && !item.alias.empty() && EqualNames(item.alias, name.name)) {
                return Put(*item.expression);
            }
        }
    }
    return Put(expression);
}

std::u16string RemoteSql::PutOrder(const sql::ast::SelectPart& part, const std::vector<sql::ast::OrderItem>& order) {
    std::u16string keys;
    for (const sql::ast::OrderItem& item : order) {
        keys += (keys.empty() ? u"" : u", ") + PutKey(OrderKey(part, *item.expression), item.descending);
    }
    return keys;
}

std::u16string RemoteSql::Put(const sql::ast::Select& select) {
    const sql::ast::SelectPart& part = select.parts.front();
    const bool grouped = IsGrouped(part, select.order_by);
    const bool ties = part.top && !select.order_by.empty();
    if (select.parts.size() > 1 || part.from.empty() || part.distinct_row || !part.into.empty() ||
        (part.top && part.top->percent) || (grouped && (ties || part.distinct))) {
        return Cannot().text;
    }
    scopes_.emplace_back();
    std::u16string from;
    for (const sql::ast::TableExpression& table : part.from) from += (from.empty() ? u"" : u", ") + PutFrom(table);
    const std::u16string items = PutItems(part);
    std::u16string text = (part.distinct ? u"SELECT DISTINCT " : u"SELECT ") + items + u" FROM " + from;
    if (part.where != nullptr) text += u" WHERE " + AsCondition(Put(*part.where));
    std::u16string groups;
    std::u16string order = PutOrder(part, select.order_by);
    for (const sql::ast::ExpressionPtr& key : part.group_by) {
        const Piece piece = Put(*key);
        groups += (groups.empty() ? u"" : u", ") + piece.text;
        // Groups come in the order of their keys when nothing else is said.
        order += (order.empty() ? u"" : u", ") + PutKey(piece, false);
    }
    if (part.distinct) {
        // The server orders distinct rows by what they show alone.
        if (!select.order_by.empty()) Cannot();
        for (const sql::ast::SelectItem& item : part.items) {
            const Piece piece = item.star ? Cannot() : Put(*item.expression);
            if (piece.kind == Kind::Boolean) Cannot();
            order += (order.empty() ? u"" : u", ") + PutKey(piece, false);
        }
    }
    if (!groups.empty()) text += u" GROUP BY " + groups;
    if (part.having != nullptr) text += u" HAVING " + AsCondition(Put(*part.having));
    if (!order.empty()) text += u" ORDER BY " + order;
    if (part.top) text += Top(*part.top, ties);
    scopes_.pop_back();
    return text;
}

RemoteText RemoteSql::Assigned(const sql::ast::Expression& value, const sql::Column& column) {
    Start();
    const Piece piece = Put(value);
    const Kind kind = KindOf(column.type);
    if (piece.kind == Kind::Null || (piece.kind == kind && !IsNumber(kind) && kind != Kind::Other)) {
        return Result(piece.text);
    }
    if (!IsNumber(piece.kind) || !IsNumber(kind) || kind == Kind::Exact) return std::nullopt;
    constexpr std::u16string_view kTypes[] = {u"", u"smallint", u"smallint", u"integer", u"", u"real", kDouble};
    return Result(Cast(piece.text, kTypes[static_cast<std::size_t>(column.type)]));
}

// ---- expressions ----

RemoteSql::Piece RemoteSql::Put(const sql::ast::Expression& expression) {
    using namespace sql::ast;
    switch (expression.kind) {
        case ExpressionKind::Literal: return PutLiteral(static_cast<const Literal&>(expression).value);
        case ExpressionKind::ColumnName: return PutColumn(static_cast<const ColumnName&>(expression));
        case ExpressionKind::Unary: return PutUnary(static_cast<const Unary&>(expression));
        case ExpressionKind::Binary: return PutBinary(static_cast<const Binary&>(expression));
        case ExpressionKind::Call: return PutCall(static_cast<const Call&>(expression));
        case ExpressionKind::IsNull: {
            const auto& is_null = static_cast<const IsNull&>(expression);
            const Piece subject = Put(*is_null.subject);
            return {InParentheses(subject.text + (is_null.negated ? u" IS NOT NULL" : u" IS NULL")), Kind::Boolean,
                    true};
        }
        case ExpressionKind::Between: {
            const auto& between = static_cast<const Between&>(expression);
            const Piece subject = Put(*between.subject);
            const Piece low = Put(*between.low);
            const Piece high = Put(*between.high);
            if (!Compare(subject, low) || !Compare(subject, high)) return Cannot();
            return {InParentheses(AsNumber(subject) + (between.negated ? u" NOT BETWEEN " : u" BETWEEN ") +
                                  AsNumber(low) + u" AND " + AsNumber(high)),
                    Kind::Boolean};
        }
        case ExpressionKind::InList: {
            const auto& in = static_cast<const InList&>(expression);
            const Piece subject = Put(*in.subject);
            std::u16string items;
            for (const ExpressionPtr& item : in.items) {
                const Piece piece = Put(*item);
                if (!Compare(subject, piece)) return Cannot();
                items += (items.empty() ? u"" : u", ") + AsNumber(piece);
            }
            return {InParentheses(AsNumber(subject) + (in.negated ? u" NOT IN (" : u" IN (") + items + u")"),
                    Kind::Boolean};
        }
        case ExpressionKind::Exists:
            return {u"EXISTS " + InParentheses(Put(*static_cast<const Exists&>(expression).select)), Kind::Boolean,
                    true};
        default: return Cannot();  // whose type is the select's
    }
}

RemoteSql::Piece RemoteSql::PutLiteral(const Value& value) {
    switch (value.GetType()) {
        case Value::Type::Null: return {u"NULL", Kind::Null};
        case Value::Type::Boolean: return {value.As<bool>() ? u"TRUE" : u"FALSE", Kind::Boolean, true};
        case Value::Type::Byte:
        case Value::Type::Integer:
        case Value::Type::Long: {
            const std::u16string text = ToText(value);
            return {text.starts_with(u'-') ? InParentheses(text) : text, Kind::Whole, true};
        }
        case Value::Type::Single:
        case Value::Type::Double: return {Cast(QuotedValue(value), kDouble), Kind::Number, true};
        case Value::Type::Date: return {u"TIMESTAMP " + QuotedValue(value), Kind::Date, true};
        case Value::Type::Text: return {QuotedValue(value), Kind::Text, true};
        default: return Cannot();
    }
}

RemoteSql::Piece RemoteSql::PutColumn(const sql::ast::ColumnName& name) {
    for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
        for (const TableName& table : *scope) {
            if (!name.table.empty() && !EqualNames(table.name, name.table)) continue;
            for (const sql::Column& column : table.link->columns) {
                if (!EqualNames(column.name, name.name)) continue;
                used_columns_ = true;
                return {table.alias + u"." + QuotedName(column.name), KindOf(column.type), column.required};
            }
        }
    }
    return Cannot();
}

RemoteSql::Piece RemoteSql::PutUnary(const sql::ast::Unary& unary) {
    const Piece operand = Put(*unary.operand);
    const bool number = IsNumber(operand.kind);
    switch (unary.op) {
        case sql::ast::UnaryOperator::Not:
            if (operand.kind != Kind::Boolean) return Cannot();
            return {u"(NOT " + operand.text + u")", Kind::Boolean};
        case sql::ast::UnaryOperator::Minus:
            if (!number) return Cannot();
            return {u"(- " + operand.text + u")", operand.kind};
        default: return number ? operand : Cannot();
    }
}

RemoteSql::Piece RemoteSql::PutBinary(const sql::ast::Binary& binary) {
    const Piece left = Put(*binary.left);
    if (binary.op == BinaryOperator::Like) return PutLike(left, *binary.right);
    const Piece right = Put(*binary.right);
    const auto comparison = [&](std::u16string_view op) -> Piece {
        if (!Compare(left, right)) return Cannot();
        const bool equality = binary.op == BinaryOperator::Equal || binary.op == BinaryOperator::NotEqual;
        const bool plain = equality && left.kind == Kind::Boolean && right.kind == Kind::Boolean;
        std::u16string text = plain ? left.text : AsNumber(left);
        text.append(op).append(plain ? right.text : AsNumber(right));
        return {InParentheses(text), Kind::Boolean};
    };
    switch (binary.op) {
        case BinaryOperator::And:
        case BinaryOperator::Or:
            if (left.kind != Kind::Boolean || right.kind != Kind::Boolean) return Cannot();
            return {InParentheses(left.text + (binary.op == BinaryOperator::And ? u" AND " : u" OR ") + right.text),
                    Kind::Boolean};
        case BinaryOperator::Equal: return comparison(u" = ");
        case BinaryOperator::NotEqual: return comparison(u" <> ");
        case BinaryOperator::Less: return comparison(u" < ");
        case BinaryOperator::Greater: return comparison(u" > ");
        case BinaryOperator::LessEqual: return comparison(u" <= ");
        case BinaryOperator::GreaterEqual: return comparison(u" >= ");
        case BinaryOperator::Concatenate: {
            const auto shown = [](const Piece& piece) { return piece.kind == Kind::Text || piece.kind == Kind::Whole; };
            if (!shown(left) || !shown(right)) return Cannot();
            return {CallOf(u"concat", left.text + u", " + right.text), Kind::Text, true};
        }
        default: return PutArithmetic(binary, left, right);
    }
}

RemoteSql::Piece RemoteSql::PutArithmetic(const sql::ast::Binary& binary, const Piece& left, const Piece& right) {
    if (binary.op == BinaryOperator::Add && left.kind == Kind::Text && right.kind == Kind::Text) {
        return {InParentheses(left.text + u" || " + right.text), Kind::Text};
    }
    const bool whole = left.kind == Kind::Whole && right.kind == Kind::Whole;
    const bool fractions = !whole && left.kind != Kind::Exact && right.kind != Kind::Exact;
    if (!IsNumber(left.kind) || !IsNumber(right.kind) || (!whole && !fractions)) return Cannot();
    // Whole numbers do not overflow as soon as the server's would.
    const auto plain = [&](std::u16string_view op) -> Piece {
        if (whole) return {InParentheses(Cast(left.text, u"bigint").append(op).append(right.text)), Kind::Whole};
        return {InParentheses(AsDouble(left).append(op).append(AsDouble(right))), Kind::Number};
    };
    switch (binary.op) {
        case BinaryOperator::Add: return plain(u" + ");
        case BinaryOperator::Subtract: return plain(u" - ");
        case BinaryOperator::Multiply: return plain(u" * ");
        case BinaryOperator::Divide: return {InParentheses(AsDouble(left) + u" / " + AsDouble(right)), Kind::Number};
        case BinaryOperator::IntegerDivide: return whole ? plain(u" / ") : Cannot();
        case BinaryOperator::Modulo: return whole ? plain(u" % ") : Cannot();
        default: return Cannot();
    }
}

// Whatever the order of the column's texts: not every one knows patterns.
RemoteSql::Piece RemoteSql::PutLike(const Piece& subject, const sql::ast::Expression& pattern) {
    const Value* value = LiteralIn(pattern);
    if (subject.kind != Kind::Text || value == nullptr || !value->IsText()) return Cannot();
    const RemoteText text = LikePattern(value->Text());
    if (!text) return Cannot();
    return {InParentheses(subject.text + u" COLLATE \"default\" ILIKE " + QuotedValue(Value(*text))), Kind::Boolean};
}

RemoteSql::Piece RemoteSql::PutCall(const sql::ast::Call& call) {
    std::u16string name = ToUpper(call.name);
    if (sql::IsAggregate(name)) return PutAggregate(name, call);
    if (name.ends_with(u'$')) name.pop_back();
    std::vector<Piece> arguments;
    for (const sql::ast::ExpressionPtr& argument : call.arguments) arguments.push_back(Put(*argument));
    return PutFunction(name, call, arguments);
}

RemoteSql::Piece RemoteSql::PutAggregate(std::u16string_view name, const sql::ast::Call& call) {
    if (call.star) return {u"count(*)", Kind::Whole, true};
    if (call.arguments.size() != 1) return Cannot();
    const Piece argument = Put(*call.arguments[0]);
    if (name == u"COUNT") return {CallOf(u"count", argument.text), Kind::Whole, true};
    const bool sum = name == u"SUM";
    if (sum || name == u"AVG") {
        if (argument.kind != Kind::Whole && argument.kind != Kind::Number) return Cannot();
        return {CallOf(sum ? u"sum" : u"avg", AsDouble(argument)), Kind::Number};
    }
    if (name != u"MIN" && name != u"MAX") return Cannot();
    if (argument.kind == Kind::Boolean || argument.kind == Kind::Other) return Cannot();
    return {CallOf(name == u"MIN" ? u"min" : u"max", argument.text), argument.kind};
}

RemoteSql::Piece RemoteSql::PutChoice(const Piece& condition, const Piece& yes, const Piece& no) {
    if (yes.kind == Kind::Null && no.kind == Kind::Null) return {u"NULL", Kind::Null};
    const bool numbers = IsNumber(yes.kind) && IsNumber(no.kind) && yes.kind != no.kind;
    if (yes.kind != no.kind && yes.kind != Kind::Null && no.kind != Kind::Null && !numbers) return Cannot();
    const Kind kind = numbers ? Kind::Number : yes.kind == Kind::Null ? no.kind : yes.kind;
    const auto shown = [&](const Piece& piece) { return numbers ? AsDouble(piece) : piece.text; };
    return {u"(CASE WHEN " + AsCondition(condition) + u" THEN " + shown(yes) + u" ELSE " + shown(no) + u" END)", kind};
}

RemoteSql::Piece RemoteSql::PutFunction(std::u16string_view name, const sql::ast::Call& call,
                                        const std::vector<Piece>& arguments) {
    if (name == u"NOW" && arguments.empty()) return PutLiteral(Now());
    if (name == u"DATE" && arguments.empty())
        return PutLiteral(Date{static_cast<double>(static_cast<long>(Now().days))});
    if (arguments.empty()) return Cannot();
    const Piece& first = arguments[0];
    if (name == u"IIF" && arguments.size() == 3 && (first.kind == Kind::Boolean || IsNumber(first.kind))) {
        return PutChoice(first, arguments[1], arguments[2]);
    }
    if (name == u"NZ" && arguments.size() == 2 && first.kind != Kind::Null && arguments[1].kind == first.kind) {
        return {CallOf(u"coalesce", first.text + u", " + arguments[1].text), first.kind, arguments[1].required};
    }
    if (name == u"FORMAT" && arguments.size() == 2 && first.kind == Kind::Date) {
        const Value* wanted = LiteralIn(*call.arguments[1]);
        for (const Renamed& format : kFormats) {
            if (wanted == nullptr || !wanted->IsText() || !EqualNames(wanted->Text(), format.ours)) continue;
            return {u"coalesce(to_char(" + first.text + u", '" + std::u16string(format.remote) + u"'), '')", Kind::Text,
                    true};
        }
    }
    const bool text = first.kind == Kind::Text;
    if ((name == u"LEFT" || name == u"RIGHT") && text && arguments.size() == 2 && IsWholeFrom(*call.arguments[1], 0)) {
        return {CallOf(name == u"LEFT" ? u"left" : u"right", first.text + u", " + arguments[1].text), Kind::Text};
    }
    if (name == u"MID" && text && arguments.size() > 1 && IsWholeFrom(*call.arguments[1], 1) &&
        (arguments.size() == 2 || IsWholeFrom(*call.arguments[2], 0))) {
        const std::u16string length = arguments.size() == 2 ? std::u16string() : u", " + arguments[2].text;
        return {CallOf(u"substr", first.text + u", " + arguments[1].text + length), Kind::Text};
    }
    if (arguments.size() != 1) return Cannot();
    if (name == u"ISNULL") return {InParentheses(first.text + u" IS NULL"), Kind::Boolean, true};
    if (name == u"LEN" && text) return {CallOf(u"length", first.text), Kind::Whole};
    if (const Renamed* function = FindIn(kTextFunctions, name); function != nullptr && text) {
        return {CallOf(function->remote, first.text), Kind::Text};
    }
    if (const Renamed* function = FindIn(kNumberFunctions, name); function != nullptr) {
        if (first.kind == Kind::Number) return {CallOf(function->remote, AsDouble(first)), Kind::Number};
        if (first.kind == Kind::Whole) return {CallOf(function->remote, first.text), Kind::Whole};
    }
    if (const Renamed* part = FindIn(kDateParts, name); part != nullptr && first.kind == Kind::Date) {
        return {Cast(u"extract(" + std::u16string(part->remote) + u" FROM " + first.text + u")", u"integer"),
                Kind::Whole};
    }
    // A Double is rounded half to even, as here.
    const bool readable = text || IsNumber(first.kind);
    if (name == u"CINT" && readable) return {Cast(AsDouble(first), u"smallint"), Kind::Whole};
    if (name == u"CLNG" && readable) return {Cast(AsDouble(first), u"integer"), Kind::Whole};
    if (name == u"CDBL" && readable) return {AsDouble(first), Kind::Number};
    if (name == u"CSTR" && first.kind == Kind::Whole) return {Cast(first.text, u"text"), Kind::Text};
    return Cannot();
}

}  // namespace qmtrain::dao
