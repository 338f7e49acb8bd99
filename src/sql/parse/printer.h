// Trees back to SQL, in parts that go by the statements' own. Internal to the room: print.h has Print().
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sql/print.h"

namespace qmtrain::sql::ast {

std::u16string Bracketed(std::u16string_view name);

class Printer {
public:
    explicit Printer(const ColumnPrinter& columns) : columns_(columns) {}

    // print_expression.cpp
    void Put(const Expression& expression);

    // print_select.cpp
    void Put(const Select& select);
    void PutRows(const Select& select);
    void Put(const Insert& insert);
    void Put(const Update& update);
    void Put(const Delete& statement);

    // print_definition.cpp
    void PutParameters(const std::vector<Parameter>& parameters);
    void Put(const CreateTable& create);
    void Put(const CreateIndex& create);
    void Put(const DropTable& drop);
    void Put(const DropIndex& drop);
    void Put(const AlterTable& alter);

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

    // print_expression.cpp
    void PutClause(std::u16string_view keyword, const ExpressionPtr& expression);
    void PutLiteral(const Value& value);
    void PutPlain(const std::u16string& text);
    void PutColumn(const ColumnName& column);
    void PutUnary(const Unary& unary);
    void PutBinary(const Binary& binary);
    void PutBetween(const Between& between);
    void PutIsNull(const IsNull& is_null);
    void PutInList(const InList& in);
    void PutInSelect(const InSelect& in);
    void PutQuantified(const Quantified& quantified);
    void PutSubSelect(const Select& select);
    void PutCall(const Call& call);

    // print_select.cpp
    void PutPart(const SelectPart& part);
    void PutItem(const SelectItem& item);
    void PutTable(const TableExpression& table);
    void PutJoin(const JoinedTable& join);

    // print_definition.cpp
    static std::u16string NameList(const std::vector<std::u16string>& names);
    void PutType(const Column& column);
    void PutDefinition(const ColumnDefinition& definition);
    void PutConstraintName(const Constraint& constraint);
    void PutConstraint(const Constraint& constraint);
    void PutReference(const ReferenceDefinition& reference);
    void PutKeys(const IndexDefinition& index);

    const ColumnPrinter& columns_;
};

}  // namespace qmtrain::sql::ast
