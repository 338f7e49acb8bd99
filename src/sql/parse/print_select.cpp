#include "core/enum_table.h"
#include "core/text.h"
#include "sql/parse/printer.h"

namespace qmtrain::sql::ast {

void Printer::Put(const Select& select) {
    const Crosstab* crosstab = select.crosstab.get();
    if (crosstab != nullptr) {
        out += u"TRANSFORM ";
        Put(*crosstab->value);
        out += u" ";
    }
    PutRows(select);
    if (crosstab == nullptr) return;
    out += u" PIVOT ";
    Put(*crosstab->pivot);
    if (crosstab->headings.empty()) return;
    out += u" IN (";
    PutList(crosstab->headings, [this](const ExpressionPtr& heading) { Put(*heading); });
    out += u")";
}

void Printer::PutRows(const Select& select) {
    for (std::size_t i = 0; i < select.parts.size(); ++i) {
        if (i > 0) out += select.parts[i].union_all ? u" UNION ALL " : u" UNION ";
        PutPart(select.parts[i]);
    }
    if (select.order_by.empty()) return;
    out += u" ORDER BY ";
    PutList(select.order_by, [this](const OrderItem& item) {
        Put(*item.expression);
        if (item.descending) out += u" DESC";
    });
}

void Printer::Put(const Insert& insert) {
    out += u"INSERT INTO " + Bracketed(insert.table);
    if (!insert.columns.empty()) out += u" " + NameList(insert.columns);
    if (insert.select != nullptr) {
        out += u" ";
        return Put(*insert.select);
    }
    out += u" VALUES (";
    PutList(insert.values, [this](const ExpressionPtr& value) { Put(*value); });
    out += u")";
}

void Printer::Put(const Update& update) {
    out += u"UPDATE ";
    PutList(update.from, [this](const TableExpression& table) { PutTable(table); });
    out += u" SET ";
    PutList(update.items, [this](const SetItem& item) {
        Put(*item.column);
        out += u" = ";
        Put(*item.value);
    });
    PutClause(u" WHERE ", update.where);
}

void Printer::Put(const Delete& statement) {
    out += u"DELETE ";
    PutList(statement.items, [this](const SelectItem& item) { PutItem(item); });
    out += statement.items.empty() ? u"FROM " : u" FROM ";
    PutList(statement.from, [this](const TableExpression& table) { PutTable(table); });
    PutClause(u" WHERE ", statement.where);
}

void Printer::PutPart(const SelectPart& part) {
    out += part.distinct ? u"SELECT DISTINCT " : part.distinct_row ? u"SELECT DISTINCTROW " : u"SELECT ";
    if (part.top) {
        out += u"TOP " + ToText(part.top->count) + u" ";
        if (part.top->percent) out += u"PERCENT ";
    }
    PutList(part.items, [this](const SelectItem& item) { PutItem(item); });
    if (!part.into.empty()) out += u" INTO " + Bracketed(part.into);
    if (!part.from.empty()) out += u" FROM ";
    PutList(part.from, [this](const TableExpression& table) { PutTable(table); });
    PutClause(u" WHERE ", part.where);
    if (!part.group_by.empty()) out += u" GROUP BY ";
    PutList(part.group_by, [this](const ExpressionPtr& key) { Put(*key); });
    PutClause(u" HAVING ", part.having);
}

void Printer::PutItem(const SelectItem& item) {
    if (item.star)
        out += item.table.empty() ? u"*" : Bracketed(item.table) + u".*";
    else
        Put(*item.expression);
    if (!item.alias.empty()) out += u" AS " + Bracketed(item.alias);
}

void Printer::PutTable(const TableExpression& table) {
    if (const auto* named = std::get_if<NamedTable>(&table.node)) {
        out += Bracketed(named->name);
        if (!named->alias.empty()) out += u" AS " + Bracketed(named->alias);
    } else if (const auto* derived = std::get_if<DerivedTable>(&table.node)) {
        PutSubSelect(*derived->select);
        if (!derived->alias.empty()) out += u" AS " + Bracketed(derived->alias);
    } else {
        PutJoin(std::get<JoinedTable>(table.node));
    }
}

void Printer::PutJoin(const JoinedTable& join) {
    constexpr EnumTable<JoinType, std::u16string_view, 3> kJoins = {u" INNER JOIN ", u" LEFT JOIN ", u" RIGHT JOIN "};
    out += u"(";
    PutTable(*join.left);
    out += kJoins[join.type];
    PutTable(*join.right);
    out += u" ON ";
    Put(*join.on);
    out += u")";
}

}  // namespace qmtrain::sql::ast
