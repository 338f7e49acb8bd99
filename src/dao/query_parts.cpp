#include "dao/query_parts.h"

#include "core/error.h"
#include "core/text.h"
#include "dao/column_types.h"
#include "dao/query_clauses.h"
#include "sql/ast.h"
#include "sql/print.h"

namespace qmtrain::dao {
namespace {

using namespace sql::ast;  // its nodes are visited here

class Parts {
public:
    std::vector<jet::QueryPart> Of(const sql::ast::Statement& statement) {
        const auto& select = std::get<Select>(statement.node);
        const SelectPart& part = select.parts.front();
        Add(Clause::Start, {});
        Add(Clause::End, {});
        Add(Clause::Kind, {.flag = kSelectQuery});
        for (const Parameter& parameter : statement.parameters) AddParameter(parameter);
        AddOptions(part);
        for (const TableExpression& table : part.from) AddTable(table);
        for (const SelectItem& item : part.items) AddOutput(item);
        AddExpression(Clause::Where, part.where);
        for (const ExpressionPtr& key : part.group_by) AddExpression(Clause::GroupBy, key);
        AddExpression(Clause::Having, part.having);
        for (const OrderItem& item : select.order_by)
            Add(Clause::OrderBy, {.name1 = item.descending ? u"D" : u"", .expression = sql::Print(*item.expression)});
        return std::move(parts_);
    }

private:
    void Add(Clause clause, jet::QueryPart part) {
        part.attribute = static_cast<std::uint8_t>(clause);
        parts_.push_back(std::move(part));
    }

    void AddExpression(Clause clause, const ExpressionPtr& expression) {
        if (expression != nullptr) Add(clause, {.expression = sql::Print(*expression)});
    }

    void AddParameter(const Parameter& parameter) {
        const auto type =
            parameter.typed ? static_cast<std::int16_t>(FieldTypeOf(parameter.column.type)) : std::int16_t{0};
        Add(Clause::Parameter, {.name1 = parameter.column.name, .flag = type});
    }

    void AddOptions(const SelectPart& part) {
        int flag = (part.distinct ? kDistinct : 0) | (part.distinct_row ? kDistinctRow : 0);
        jet::QueryPart options;
        if (part.top) {
            flag |= kTop | (part.top->percent ? kPercent : 0);
            options.name1 = ToText(part.top->count);
        }
        options.flag = static_cast<std::int16_t>(flag);
        Add(Clause::Options, std::move(options));
    }

    void AddOutput(const SelectItem& item) {
        const std::u16string text = !item.star           ? sql::Print(*item.expression)
                                    : item.table.empty() ? std::u16string(u"*")
                                                         : u"[" + item.table + u"].*";
        Add(Clause::Output, {.name1 = item.alias, .expression = text, .flag = std::int16_t{0}});
    }

    // Returns the name of one of the tables. A join follows the joins that it is made of.
    std::u16string AddTable(const TableExpression& table) {
        if (const auto* named = std::get_if<NamedTable>(&table.node)) {
            Add(Clause::Table, {.name1 = named->name, .name2 = named->alias});
            return named->alias.empty() ? named->name : named->alias;
        }
        if (const auto* derived = std::get_if<DerivedTable>(&table.node)) {
            Add(Clause::Table, {.name2 = derived->alias, .expression = sql::PrintRows(*derived->select)});
            return derived->alias;
        }
        const auto& join = std::get<JoinedTable>(table.node);
        const std::u16string left = AddTable(*join.left);
        const std::u16string right = AddTable(*join.right);
        const auto kind = static_cast<std::int16_t>(1 + static_cast<int>(join.type));
        Add(Clause::Join, {.name1 = left, .name2 = right, .expression = sql::Print(*join.on), .flag = kind});
        return left;
    }

    std::vector<jet::QueryPart> parts_;
};

}  // namespace

std::vector<jet::QueryPart> PartsOfSelect(const sql::Statement& statement) {
    const auto* select = std::get_if<Select>(&statement.Tree().node);
    const bool plain =
        select != nullptr && statement.YieldsRows() && select->parts.size() == 1 && select->crosstab == nullptr;
    if (!plain) Raise(ErrorNumber::OperationNotSupported, {u"保存的查询只能是一个 SELECT 语句。"});
    return Parts().Of(statement.Tree());
}

}  // namespace qmtrain::dao
