// Selects in the server's words.
#include <algorithm>

#include "core/enum_table.h"
#include "core/text.h"
#include "dao/remote_sql.h"
#include "dao/remote_text.h"
#include "sql/aggregate_calls.h"

namespace qmtrain::dao {
namespace {

using sql::ast::ExpressionKind;

bool IsGrouped(const sql::ast::SelectPart& part, const std::vector<sql::ast::OrderItem>& order) {
    const auto aggregates = [](const auto& item) {
        return item.expression != nullptr && sql::ContainsAggregate(*item.expression);
    };
    return !part.group_by.empty() || part.having != nullptr || std::ranges::any_of(part.items, aggregates) ||
           std::ranges::any_of(order, aggregates);
}

}  // namespace

std::u16string RemoteSql::AddTable(const std::shared_ptr<OdbcLink>& link, std::u16string_view name) {
    if (server_ == nullptr) server_ = link->server;
    if (server_ != link->server) Cannot();
    const std::u16string alias = u"t" + ToText(tables_++);
    scopes_.back().push_back({std::u16string(name), alias, link, false});
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
    constexpr EnumTable<sql::ast::JoinType, std::u16string_view, 3> kJoins = {u" JOIN ", u" LEFT JOIN ",
                                                                              u" RIGHT JOIN "};
    const std::size_t begin = scopes_.back().size();
    const std::u16string left = PutFrom(*join->left);
    const std::size_t middle = scopes_.back().size();
    const std::u16string right = PutFrom(*join->right);
    const std::u16string condition = AsCondition(Put(*join->on));
    const std::size_t end = scopes_.back().size();
    const bool outer = join->type != sql::ast::JoinType::Inner;
    const bool of_left = join->type == sql::ast::JoinType::Right;
    for (std::size_t i = of_left ? begin : middle; outer && i < (of_left ? middle : end); ++i)
        scopes_.back()[i].may_be_missing = true;
    return InParentheses(left + std::u16string(kJoins[join->type]) + right + u" ON " + condition);
}

std::u16string RemoteSql::PutItems(const sql::ast::SelectPart& part) {
    std::u16string items;
    const auto add = [&](std::u16string_view item) { items.append(items.empty() ? u"" : u", ").append(item); };
    for (const sql::ast::SelectItem& item : part.items) {
        if (!item.star) {
            const Fragment fragment = Put(*item.expression);
            if (fragment.kind == TypeClass::Null) Cannot();  // of what type?
            add(Selected(fragment.text,
                         fragment.kind == TypeClass::Date ? sql::ColumnType::Date : sql::ColumnType::Text));
            continue;
        }
        for (const TableName& table : scopes_.back()) {
            if (!item.table.empty() && !EqualNames(table.name, item.table)) continue;
            for (const sql::Column& column : table.link->columns)
                add(Selected(table.alias + u"." + QuotedName(column.name), column.type));
        }
    }
    return items;
}

// Null is the least of values.
std::u16string RemoteSql::PutKey(const Fragment& key, bool descending) {
    if (key.kind == TypeClass::Other) Cannot();
    std::u16string text = AsNumber(key);
    if (descending) text += u" DESC";
    if (!key.required) text += descending ? u" NULLS LAST" : u" NULLS FIRST";
    return text;
}

// A position, an alias, or an expression.
RemoteSql::Fragment RemoteSql::OrderKey(const sql::ast::SelectPart& part, const sql::ast::Expression& expression) {
    if (const Value* value = LiteralIn(expression)) {
        if (value->GetType() != Value::Type::Long) return Cannot();
        const auto place = static_cast<std::size_t>(value->As<std::int32_t>()) - 1;
        if (place >= part.items.size() || std::ranges::any_of(part.items, &sql::ast::SelectItem::star)) return Cannot();
        return Put(*part.items[place].expression);
    }
    if (expression.kind == ExpressionKind::ColumnName) {
        const auto& name = As<sql::ast::ColumnName>(expression);
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
        const Fragment fragment = LiteralIn(*key) == nullptr ? Put(*key) : Cannot();  // which there would be a position
        groups += (groups.empty() ? u"" : u", ") + fragment.text;
        // Groups come in the order of their keys when nothing else is said.
        order += (order.empty() ? u"" : u", ") + PutKey(fragment, false);
    }
    if (part.distinct) {
        // The server orders distinct rows by what they show alone.
        if (!select.order_by.empty()) Cannot();
        for (const sql::ast::SelectItem& item : part.items) {
            const Fragment fragment = item.star ? Cannot() : Put(*item.expression);
            if (fragment.kind == TypeClass::Boolean || fragment.kind == TypeClass::Date)
                Cannot();  // shown as something else
            order += (order.empty() ? u"" : u", ") + PutKey(fragment, false);
        }
    }
    if (!groups.empty()) text += u" GROUP BY " + groups;
    if (part.having != nullptr) text += u" HAVING " + AsCondition(Put(*part.having));
    if (!order.empty()) text += u" ORDER BY " + order;
    if (part.top) text += Top(*part.top, ties);
    scopes_.pop_back();
    return text;
}

}  // namespace qmtrain::dao
