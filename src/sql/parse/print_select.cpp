#include <array>

#include "core/convert.h"
#include "core/text.h"
#include "sql/print.h"

namespace qmtrain::sql {
namespace {

using namespace ast;  // every node of the tree is named here

constexpr std::array<std::u16string_view, 20> kBinaryText = {u"^",    u"*",   u"/",  u"\\",  u"Mod", u"+",  u"-",
                                                             u"&",    u"=",   u"<>", u"<",   u">",   u"<=", u">=",
                                                             u"Like", u"And", u"Or", u"Xor", u"Eqv", u"Imp"};

std::u16string Bracketed(std::u16string_view name) {
    return u"[" + std::u16string(name) + u"]";
}

std::u16string Quoted(std::u16string_view text) {
    std::u16string out = u"'";
    for (const char16_t unit : text) {
        if (unit == u'\'') out += unit;
        out += unit;
    }
    return out + u"'";
}

std::u16string Padded(int number, std::size_t width) {
    std::u16string text = ToText(std::int64_t{number});
    return std::u16string(text.size() < width ? width - text.size() : 0, u'0') + text;
}

std::u16string DateText(Date date) {
    const CivilTime t = ToCivil(date);
    return u"#" + Padded(t.year, 4) + u"-" + Padded(t.month, 2) + u"-" + Padded(t.day, 2) + u" " + Padded(t.hour, 2) +
           u":" + Padded(t.minute, 2) + u":" + Padded(t.second, 2) + u"#";
}

class Printer {
public:
    explicit Printer(const ColumnPrinter& columns) : columns_(columns) {}

    void PutParameters(const std::vector<Parameter>& parameters) {
        if (parameters.empty()) return;
        out += u"PARAMETERS ";
        PutList(parameters, [this](const Parameter& parameter) {
            out += Bracketed(parameter.column.name) + u" ";
            if (parameter.typed)
                PutType(parameter.column);
            else
                out += u"VALUE";
        });
        out += u"; ";
    }

    void Put(const Expression& expression) {
        switch (expression.kind) {
            case ExpressionKind::Literal: return PutLiteral(static_cast<const Literal&>(expression).value);
            case ExpressionKind::ColumnName: return PutColumn(static_cast<const ColumnName&>(expression));
            case ExpressionKind::Unary: return PutUnary(static_cast<const Unary&>(expression));
            case ExpressionKind::Binary: return PutBinary(static_cast<const Binary&>(expression));
            case ExpressionKind::Between: return PutBetween(static_cast<const Between&>(expression));
            case ExpressionKind::IsNull: return PutIsNull(static_cast<const IsNull&>(expression));
            case ExpressionKind::InList: return PutInList(static_cast<const InList&>(expression));
            case ExpressionKind::InSelect: return PutInSelect(static_cast<const InSelect&>(expression));
            case ExpressionKind::Quantified: return PutQuantified(static_cast<const Quantified&>(expression));
            case ExpressionKind::Exists:
                out += u"Exists ";
                return PutSubSelect(*static_cast<const Exists&>(expression).select);
            case ExpressionKind::SubSelect: return PutSubSelect(*static_cast<const SubSelect&>(expression).select);
            case ExpressionKind::Call: return PutCall(static_cast<const Call&>(expression));
        }
    }

    void Put(const Select& select) {
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

    void PutRows(const Select& select) {
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

    void Put(const Insert& insert) {
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

    void Put(const Update& update) {
        out += u"UPDATE ";
        PutTable(update.table);
        out += u" SET ";
        PutList(update.items, [this](const SetItem& item) {
            Put(*item.column);
            out += u" = ";
            Put(*item.value);
        });
        PutClause(u" WHERE ", update.where);
    }

    void Put(const Delete& statement) {
        out += u"DELETE ";
        if (!statement.target.empty()) out += Bracketed(statement.target) + u".* ";
        out += u"FROM ";
        PutList(statement.from, [this](const TableExpression& table) { PutTable(table); });
        PutClause(u" WHERE ", statement.where);
    }

    void Put(const CreateTable& create) {
        out += u"CREATE TABLE " + Bracketed(create.name) + u" (";
        PutList(create.columns, [this](const ColumnDefinition& column) { PutDefinition(column); });
        for (const Constraint& constraint : create.constraints) {
            out += u", ";
            PutConstraint(constraint);
        }
        out += u")";
    }

    void Put(const CreateIndex& create) {
        const IndexDefinition& index = create.index;
        out += index.unique ? u"CREATE UNIQUE INDEX " : u"CREATE INDEX ";
        out += Bracketed(index.name) + u" ON " + Bracketed(create.table) + u" ";
        PutKeys(index);
        if (index.primary)
            out += u" WITH PRIMARY";
        else if (index.required)
            out += u" WITH DISALLOW NULL";
        else if (index.ignore_nulls)
            out += u" WITH IGNORE NULL";
    }

    void Put(const DropTable& drop) { out += u"DROP TABLE " + Bracketed(drop.name); }

    void Put(const DropIndex& drop) { out += u"DROP INDEX " + Bracketed(drop.name) + u" ON " + Bracketed(drop.table); }

    void Put(const AlterTable& alter) {
        out += u"ALTER TABLE " + Bracketed(alter.table);
        if (const auto* column = std::get_if<ColumnDefinition>(&alter.action)) {
            out += u" ADD COLUMN ";
            PutDefinition(*column);
        } else if (const auto* constraint = std::get_if<Constraint>(&alter.action)) {
            out += u" ADD ";
            PutConstraint(*constraint);
        } else if (const auto* dropped = std::get_if<AlterTable::DropColumn>(&alter.action)) {
            out += u" DROP COLUMN " + Bracketed(dropped->name);
        } else if (const auto* changed = std::get_if<AlterTable::AlterColumn>(&alter.action)) {
            out += u" ALTER COLUMN ";
            PutDefinition(changed->definition);
        } else {
            out += u" DROP CONSTRAINT " + Bracketed(std::get<AlterTable::DropConstraint>(alter.action).name);
        }
    }

    std::u16string out;

private:
    template <class List, class Body>
    void PutList(const List& list, Body body) {
        bool first = true;
        for (const auto& item : list) {
            if (!first) out += u", ";
            first = false;
            body(item);
        }
    }

    void PutClause(std::u16string_view keyword, const ExpressionPtr& expression) {
        if (expression == nullptr) return;
        out += keyword;
        Put(*expression);
    }

    static std::u16string NameList(const std::vector<std::u16string>& names) {
        std::u16string list = u"(";
        for (const std::u16string& name : names) list += (list.size() > 1 ? u", " : u"") + Bracketed(name);
        return list + u")";
    }

    void PutLiteral(const Value& value) {
        if (value.IsNull())
            out += u"Null";
        else if (value.IsText())
            out += Quoted(value.Text());
        else if (value.GetType() == Value::Type::Date)
            out += DateText(value.As<Date>());
        else
            PutPlain(ToText(value));
    }

    // A negative number comes from a hexadecimal one; in decimal it is read as a sign and a number.
    void PutPlain(const std::u16string& text) {
        const bool negative = text.starts_with(u'-');
        if (negative) out += u'(';
        out += text;
        if (negative) out += u')';
    }

    void PutColumn(const ColumnName& column) {
        if (columns_)
            out += columns_(column);
        else
            out += (column.table.empty() ? u"" : Bracketed(column.table) + u".") + Bracketed(column.name);
    }

    void PutUnary(const Unary& unary) {
        out += unary.op == UnaryOperator::Not ? u"(Not " : unary.op == UnaryOperator::Minus ? u"(-" : u"(+";
        Put(*unary.operand);
        out += u")";
    }

    void PutBinary(const Binary& binary) {
        out += u"(";
        Put(*binary.left);
        out += u" ";
        out += kBinaryText[static_cast<std::size_t>(binary.op)];
        out += u" ";
        Put(*binary.right);
        out += u")";
    }

    void PutBetween(const Between& between) {
        out += u"(";
        Put(*between.subject);
        out += between.negated ? u" Not Between " : u" Between ";
        Put(*between.low);
        out += u" And ";
        Put(*between.high);
        out += u")";
    }

    void PutIsNull(const IsNull& is_null) {
        out += u"(";
        Put(*is_null.subject);
        out += is_null.negated ? u" Is Not Null)" : u" Is Null)";
    }

    void PutInList(const InList& in) {
        out += u"(";
        Put(*in.subject);
        out += in.negated ? u" Not In (" : u" In (";
        PutList(in.items, [this](const ExpressionPtr& item) { Put(*item); });
        out += u"))";
    }

    void PutInSelect(const InSelect& in) {
        out += u"(";
        Put(*in.subject);
        out += in.negated ? u" Not In " : u" In ";
        PutSubSelect(*in.select);
        out += u")";
    }

    void PutQuantified(const Quantified& quantified) {
        out += u"(";
        Put(*quantified.subject);
        out += u" " + std::u16string(kBinaryText[static_cast<std::size_t>(quantified.op)]);
        out += quantified.all ? u" ALL " : u" ANY ";
        PutSubSelect(*quantified.select);
        out += u")";
    }

    void PutSubSelect(const Select& select) {
        out += u"(";
        Put(select);
        out += u")";
    }

    void PutCall(const Call& call) {
        out += ToUpper(call.name) + u"(";
        if (call.star) out += u"*";
        PutList(call.arguments, [this](const ExpressionPtr& argument) { Put(*argument); });
        out += u")";
    }

    void PutPart(const SelectPart& part) {
        out += part.distinct ? u"SELECT DISTINCT " : part.distinct_row ? u"SELECT DISTINCTROW " : u"SELECT ";
        if (part.top) {
            out += u"TOP " + ToText(std::int64_t{part.top->count}) + u" ";
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

    void PutItem(const SelectItem& item) {
        if (item.star)
            out += item.table.empty() ? u"*" : Bracketed(item.table) + u".*";
        else
            Put(*item.expression);
        if (!item.alias.empty()) out += u" AS " + Bracketed(item.alias);
    }

    void PutTable(const TableExpression& table) {
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

    void PutJoin(const JoinedTable& join) {
        constexpr std::array<std::u16string_view, 3> kJoins = {u" INNER JOIN ", u" LEFT JOIN ", u" RIGHT JOIN "};
        out += u"(";
        PutTable(*join.left);
        out += kJoins[static_cast<std::size_t>(join.type)];
        PutTable(*join.right);
        out += u" ON ";
        Put(*join.on);
        out += u")";
    }

    void PutType(const Column& column) {
        constexpr std::array<std::u16string_view, 14> kTypes = {
            u"YESNO",    u"BYTE",   u"SHORT", u"LONG",       u"CURRENCY", u"SINGLE", u"DOUBLE",
            u"DATETIME", u"BINARY", u"TEXT",  u"LONGBINARY", u"MEMO",     u"GUID",   u"DECIMAL"};
        out += column.counter ? u"COUNTER" : kTypes[static_cast<std::size_t>(column.type)];
        if (column.size > 0) out += u"(" + ToText(std::int64_t{column.size}) + u")";
        if (column.type == ColumnType::Decimal) {
            out += u"(" + ToText(std::int64_t{column.precision}) + u", " + ToText(std::int64_t{column.scale}) + u")";
        }
    }

    void PutDefinition(const ColumnDefinition& definition) {
        const Column& column = definition.column;
        out += Bracketed(column.name) + u" ";
        PutType(column);
        if (!column.default_expression.empty()) out += u" DEFAULT " + column.default_expression;
        if (column.required) out += u" NOT NULL";
        for (const Constraint& constraint : definition.constraints) {
            out += u" ";
            PutConstraintName(constraint);
            if (const auto* index = std::get_if<IndexDefinition>(&constraint)) {
                out += index->primary ? u"PRIMARY KEY" : u"UNIQUE";
            } else {
                PutReference(std::get<ReferenceDefinition>(constraint));
            }
        }
    }

    void PutConstraintName(const Constraint& constraint) {
        const std::u16string& name =
            std::visit([](const auto& c) -> const std::u16string& { return c.name; }, constraint);
        if (!name.empty()) out += u"CONSTRAINT " + Bracketed(name) + u" ";
    }

    void PutConstraint(const Constraint& constraint) {
        PutConstraintName(constraint);
        if (const auto* index = std::get_if<IndexDefinition>(&constraint)) {
            out += index->primary ? u"PRIMARY KEY " : u"UNIQUE ";
            return PutKeys(*index);
        }
        const auto& reference = std::get<ReferenceDefinition>(constraint);
        out += u"FOREIGN KEY " + NameList(reference.columns) + u" ";
        PutReference(reference);
    }

    void PutReference(const ReferenceDefinition& reference) {
        out += u"REFERENCES " + Bracketed(reference.table);
        if (!reference.referenced_columns.empty()) out += u" " + NameList(reference.referenced_columns);
        if (reference.cascade_update) out += u" ON UPDATE CASCADE";
        if (reference.cascade_delete) out += u" ON DELETE CASCADE";
    }

    void PutKeys(const IndexDefinition& index) {
        out += u"(";
        PutList(index.keys, [this](const IndexDefinition::Key& key) {
            out += Bracketed(key.column);
            if (key.descending) out += u" DESC";
        });
        out += u")";
    }

    const ColumnPrinter& columns_;
};

}  // namespace

std::u16string Print(const ast::Statement& statement) {
    const ColumnPrinter none;
    Printer printer(none);
    printer.PutParameters(statement.parameters);
    std::visit([&](const auto& node) { printer.Put(node); }, statement.node);
    return std::move(printer.out);
}

std::u16string PrintRows(const ast::Select& select) {
    const ColumnPrinter none;
    Printer printer(none);
    printer.PutRows(select);
    return std::move(printer.out);
}

std::u16string Print(const ast::Expression& expression, const ColumnPrinter& columns) {
    Printer printer(columns);
    printer.Put(expression);
    return std::move(printer.out);
}

}  // namespace qmtrain::sql
