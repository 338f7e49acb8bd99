// What of a statement the servers do.
#include <algorithm>

#include "core/error.h"
#include "core/text.h"
#include "dao/odbc_links.h"
#include "dao/odbc_table.h"
#include "sql/aggregate_calls.h"
#include "sql/print.h"

namespace qmtrain::dao {
namespace {

using sql::ast::ExpressionPtr;

// The parts of a condition joined by And.
void Split(ExpressionPtr condition, std::vector<ExpressionPtr>& parts) {
    if (condition == nullptr) return;
    if (condition->kind == sql::ast::ExpressionKind::Binary) {
        auto& binary = static_cast<sql::ast::Binary&>(*condition);
        if (binary.op == sql::ast::BinaryOperator::And) {
            Split(std::move(binary.left), parts);
            Split(std::move(binary.right), parts);
            return;
        }
    }
    parts.push_back(std::move(condition));
}

ExpressionPtr Join(std::vector<ExpressionPtr> parts) {
    ExpressionPtr joined;
    for (ExpressionPtr& part : parts) {
        joined = joined == nullptr ? std::move(part)
                                   : std::make_unique<sql::ast::Binary>(sql::ast::BinaryOperator::And,
                                                                        std::move(joined), std::move(part));
    }
    return joined;
}

// Moves what can be said to the server over there.
std::u16string TakeConditions(RemoteSql& remote, std::vector<ExpressionPtr>& conditions, bool of_columns) {
    std::u16string text;
    std::erase_if(conditions, [&](const ExpressionPtr& condition) {
        const RemoteText said = remote.Condition(*condition);
        if (!said || (of_columns && !remote.UsedColumns())) return false;
        text += (text.empty() ? u" WHERE " : u" AND ") + *said;
        return true;
    });
    return text;
}

const std::u16string& NameOf(const sql::ast::NamedTable& table) {
    return table.alias.empty() ? table.name : table.alias;
}

// Many rows may be equal to the last of the first ones.
Extent ExtentOf(const sql::ast::Top& top, bool ordered) {
    constexpr int kFew = 1000;
    return ordered || top.count > kFew ? Extent::Limited : Extent::Few;
}

bool HasAggregates(const sql::ast::Select& select) {
    const auto aggregates = [](const auto& item) {
        return item.expression != nullptr && sql::ContainsAggregate(*item.expression);
    };
    return std::ranges::any_of(select.parts.front().items, aggregates) ||
           std::ranges::any_of(select.order_by, aggregates);
}

}  // namespace

std::shared_ptr<OdbcLink> OdbcLinks::LinkOf(const sql::ast::TableExpression& table) {
    const auto* named = std::get_if<sql::ast::NamedTable>(&table.node);
    return named == nullptr || named->table ? nullptr : FindLink(named->name);
}

bool OdbcLinks::NamesLink(const sql::ast::TableExpression& table) {
    if (const auto* named = std::get_if<sql::ast::NamedTable>(&table.node)) {
        return !named->table && Find(named->name) != nullptr;
    }
    const auto* join = std::get_if<sql::ast::JoinedTable>(&table.node);
    return join != nullptr && (NamesLink(*join->left) || NamesLink(*join->right));
}

std::shared_ptr<const sql::ast::Select> OdbcLinks::Delegate(sql::Catalog& catalog, const sql::ast::Select& select) {
    if (!Any()) return nullptr;
    const auto names_link = [&](const sql::ast::SelectPart& part) {
        return std::ranges::any_of(part.from, [&](const auto& table) { return NamesLink(table); });
    };
    if (std::ranges::none_of(select.parts, names_link)) return nullptr;
    if (auto delegated = DelegateTable(select)) return delegated;
    if (auto delegated = DelegateWhole(catalog, select)) return delegated;
    return DelegateConditions(select);
}

// Rows of one table, which can be changed afterwards: the server finds and orders them, and what is computed from them
// is computed here.
std::shared_ptr<const sql::ast::Select> OdbcLinks::DelegateTable(const sql::ast::Select& select) {
    const sql::ast::SelectPart& written = select.parts.front();
    const bool plain = select.parts.size() == 1 && written.from.size() == 1 && !written.distinct &&
                       written.group_by.empty() && written.having == nullptr && !HasAggregates(select);
    const auto link = plain ? LinkOf(written.from[0]) : nullptr;
    if (link == nullptr) return nullptr;
    auto copy = std::make_shared<sql::ast::Select>(sql::CopyOf(select));
    sql::ast::SelectPart& part = copy->parts.front();
    auto& named = std::get<sql::ast::NamedTable>(part.from[0].node);
    RemoteSql remote(*this);
    remote.UseTable(link, NameOf(named));
    std::vector<ExpressionPtr> conditions;
    Split(std::move(part.where), conditions);
    std::u16string request = AliasText() + TakeConditions(remote, conditions, false);
    const RemoteText order = conditions.empty() ? remote.Order(part, copy->order_by) : std::nullopt;
    Extent extent = request == AliasText() ? Extent::Whole : Extent::Some;
    if (order && !(part.top && part.top->percent)) {
        if (!order->empty()) request += u" ORDER BY " + *order;
        if (!order->empty()) extent = Extent::Some;
        if (part.top) request += RemoteSql::Top(*part.top, !order->empty());
        if (part.top) extent = ExtentOf(*part.top, !order->empty());
        part.top.reset();
        copy->order_by.clear();
    }
    part.where = Join(std::move(conditions));
    named.alias = NameOf(named);
    named.table = std::make_shared<OdbcTable>(link, odbc::Request{std::move(request), remote.Values()}, extent);
    return copy;
}

std::shared_ptr<const sql::ast::Select> OdbcLinks::DelegateWhole(sql::Catalog& catalog,
                                                                 const sql::ast::Select& select) {
    RemoteSql remote(*this);
    RemoteText request = remote.Select(select);
    if (!request) return nullptr;
    std::vector<sql::Column> columns;
    for (const sql::OutputColumn& output : sql::ColumnsOf(catalog, select)) {
        sql::Column& column = columns.emplace_back();
        column.name = output.name;
        column.type = output.type;
        column.size = output.size;
        column.precision = output.precision;
        column.scale = output.scale;
    }
    const sql::ast::SelectPart& part_there = select.parts.front();
    const bool one_row = part_there.group_by.empty() && HasAggregates(select);
    const bool few = one_row || (part_there.top && ExtentOf(*part_there.top, !select.order_by.empty()) == Extent::Few);
    auto result = std::make_shared<OdbcResult>(remote.Server(), odbc::Request{std::move(*request), {}},
                                               few ? Extent::Few : Extent::Work, std::move(columns));
    auto all = std::make_shared<sql::ast::Select>();
    sql::ast::SelectPart& part = all->parts.emplace_back();
    part.items.emplace_back().star = true;
    part.from.emplace_back().node = sql::ast::NamedTable{result->Name(), {}, result};
    return all;
}

// The join is made here, of no more rows than each table's own conditions leave.
std::shared_ptr<const sql::ast::Select> OdbcLinks::DelegateConditions(const sql::ast::Select& select) {
    auto copy = std::make_shared<sql::ast::Select>(sql::CopyOf(select));
    for (sql::ast::SelectPart& part : copy->parts) {
        std::vector<ExpressionPtr> conditions;
        Split(std::move(part.where), conditions);
        for (sql::ast::TableExpression& table : part.from) Narrow(table, conditions);
        part.where = Join(std::move(conditions));
    }
    return copy;
}

// A condition after an outer join sees the rows of Nulls that this adds: it cannot be asked of that table before.
void OdbcLinks::Narrow(sql::ast::TableExpression& table, std::vector<ExpressionPtr>& conditions) {
    if (auto* join = std::get_if<sql::ast::JoinedTable>(&table.node)) {
        if (join->type != sql::ast::JoinType::Right) Narrow(*join->left, conditions);
        if (join->type != sql::ast::JoinType::Left) Narrow(*join->right, conditions);
        return;
    }
    const auto link = LinkOf(table);
    if (link == nullptr) return;
    auto& named = std::get<sql::ast::NamedTable>(table.node);
    RemoteSql remote(*this);
    remote.UseTable(link, NameOf(named));
    const std::u16string asked = TakeConditions(remote, conditions, true);
    if (asked.empty()) return;
    named.alias = NameOf(named);
    named.table = std::make_shared<OdbcTable>(link, odbc::Request{AliasText() + asked, remote.Values()}, Extent::Some);
}

std::optional<sql::DelegatedChange> OdbcLinks::DelegateChange(sql::Catalog& catalog,
                                                              const sql::ast::Statement& statement) {
    if (!Any()) return std::nullopt;
    const auto* update = std::get_if<sql::ast::Update>(&statement.node);
    const auto* removal = std::get_if<sql::ast::Delete>(&statement.node);
    const auto* from = update != nullptr ? &update->from : removal != nullptr ? &removal->from : nullptr;
    const sql::ast::TableExpression* table = from != nullptr && from->size() == 1 ? from->data() : nullptr;
    const auto link = table == nullptr ? nullptr : LinkOf(*table);
    if (link == nullptr || link->key.empty()) return std::nullopt;
    const ExpressionPtr& where = update != nullptr ? update->where : removal->where;
    RemoteSql remote(*this);
    remote.UseTable(link, NameOf(std::get<sql::ast::NamedTable>(table->node)));
    std::u16string set;
    for (std::size_t i = 0; update != nullptr && i < update->items.size(); ++i) {
        const sql::ast::SetItem& item = update->items[i];
        const auto column = std::ranges::find_if(
            link->columns, [&](const sql::Column& known) { return EqualNames(known.name, item.column->name); });
        const RemoteText value = column == link->columns.end() ? std::nullopt : remote.Assigned(*item.value, *column);
        if (!value) return std::nullopt;
        set += (i == 0 ? u" SET " : u", ") + QuotedName(column->name) + u" = " + *value;
    }
    const RemoteText condition = where == nullptr ? RemoteText(std::u16string()) : remote.Condition(*where);
    if (!condition) return std::nullopt;
    sql::ParametersOf(catalog, statement);  // names that are wrong are told as anywhere
    const std::u16string what = update != nullptr ? u"UPDATE " : u"DELETE FROM ";
    const odbc::Request request{
        what + link->remote + AliasText() + set + (where == nullptr ? u"" : u" WHERE " + *condition), remote.Values()};
    sql::DelegatedChange change;
    change.request = request.Whole();
    const ErrorNumber failure = update != nullptr ? ErrorNumber::OdbcUpdateFailed : ErrorNumber::OdbcDeleteFailed;
    change.run = [link, request, failure] { return link->server->Execute(request, {failure, link->name}); };
    return change;
}

bool OdbcLinks::ChangesOnlyServers(const sql::ast::Statement& statement) {
    if (!Any()) return false;
    const auto only_links = [&](const auto& self, const sql::ast::TableExpression& table) -> bool {
        if (const auto* join = std::get_if<sql::ast::JoinedTable>(&table.node)) {
            return self(self, *join->left) && self(self, *join->right);
        }
        return NamesLink(table);
    };
    if (const auto* insert = std::get_if<sql::ast::Insert>(&statement.node)) return Find(insert->table) != nullptr;
    const auto* update = std::get_if<sql::ast::Update>(&statement.node);
    const auto* removal = std::get_if<sql::ast::Delete>(&statement.node);
    const auto* from = update != nullptr ? &update->from : removal != nullptr ? &removal->from : nullptr;
    return from != nullptr &&
           std::ranges::all_of(*from, [&](const auto& table) { return only_links(only_links, table); });
}

}  // namespace qmtrain::dao
