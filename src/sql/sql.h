// The face of the SQL room: statements of the Jet dialect, run over a Catalog.
//
//     Statement statement = Parse(u"Select * From Notes Where NoteId=7");
//     auto query = Open(catalog, statement);
//     while (query->Next()) query->Read(0, value);
//
// Every failure is an AutomationError: broken syntax is found by Parse(), unknown names by Open() and Execute(), and
// what depends on data (a division by zero, a text that is no number) while rows are read. A failed Execute() may have
// changed some rows already; the caller has to roll them back.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/value.h"
#include "sql/output_column.h"
#include "sql/parameter.h"
#include "sql/storage.h"
#include "sql/values.h"

namespace qmtrain::sql {

namespace ast {
struct Select;
struct Statement;
}  // namespace ast
class Plan;

enum class StatementKind : std::uint8_t {
    Select,
    SelectInto,
    Insert,
    Update,
    Delete,
    CreateTable,
    CreateIndex,
    DropTable,
    DropIndex,
    AlterTable,
};

// A parsed statement. It knows no database and may be run any number of times, over any catalogue.
class Statement {
public:
    explicit Statement(std::unique_ptr<ast::Statement> tree);
    Statement(Statement&&) noexcept;
    Statement& operator=(Statement&&) noexcept;
    ~Statement();

    StatementKind Kind() const;

    // True for SELECT and UNION: the statement is for Open(), any other for Execute().
    bool YieldsRows() const { return Kind() == StatementKind::Select; }

    // The statement printed back, with every name in brackets.
    std::u16string ToSql() const;

    const ast::Statement& Tree() const { return *tree_; }

private:
    std::unique_ptr<ast::Statement> tree_;
};

// Exactly one statement; a semicolon may end it.
Statement Parse(std::u16string_view text);

// Any number of statements, separated by semicolons.
std::vector<Statement> ParseScript(std::u16string_view text);

// A running SELECT. Rows are made one by one as far as the statement allows: a select without grouping, DISTINCT and
// sorting reads only as much as it has yielded.
class Query {
public:
    explicit Query(std::unique_ptr<Plan> plan);
    ~Query();

    const std::vector<OutputColumn>& Columns() const { return columns_; }

    // Moves to the next row, at first to the first one; false at the end, and after it as often as it is called.
    bool Next();

    // A value of the current row. Columns that are not read are not decoded. Requires: Next() or MoveTo() was true.
    void Read(std::size_t column, Value& value);

    // The same where it stands, good until the query moves.
    const Value& Get(std::size_t column);

    // Whether the rows can be kept as images: bytes from which any value but memos and OLE values can be read later,
    // wherever the query has gone.
    bool HasImages() const { return has_images_; }

    // The current row's, good until the query moves. Requires: HasImages(), and Next() or MoveTo() was true.
    std::span<const std::uint8_t> Image();

    // Reads from an image, which must stay as it is from the first call to the last.
    void ShowImage(std::span<const std::uint8_t> image) const;
    void ReadImage(std::size_t column, Value& value) const;

    // Whether Next() finds a row, or the end, by looking at few rows.
    bool NextIsCheap() const;

    // Whether few rows are expected in all.
    bool IsShort() const;

    // The tables of the FROM clause, in its order; those of sub-queries, saved queries and UNIONs are not among them.
    const std::vector<std::shared_ptr<Table>>& Tables() const;

    // True when each row of one table is in one row of the result at most, so that it can be edited through Row(): of
    // the only table, or of the many side of a join.
    bool Updatable() const { return EditableTable() != kNoPosition; }

    // That table, in Tables(); kNoPosition when there is none.
    std::size_t EditableTable() const;

    // Identifies its current row (see RowIdentity), and whether that stays the same when columns other than its key
    // change. Requires: Updatable().
    std::uint64_t Identity();
    bool HasKeyIdentity() const;

    // The current row's place in one of Tables(); RowId{} where an outer join found none. Requires: Next() or MoveTo()
    // was true, and the query neither groups nor unites.
    RowId Row(std::size_t table = 0) const;

    // Goes to a row of the editable table, and the rows of others that belong to it, without regard to the query's
    // conditions and order; Next() has no meaning any more. False when that row no longer exists. Requires:
    // Updatable().
    bool MoveTo(RowId row);

    // Announces the rows that MoveTo() will be asked for next, see Cursor::Prefetch. Requires: Updatable().
    void Prefetch(std::span<const RowId> rows);

private:
    std::unique_ptr<Plan> plan_;
    std::vector<OutputColumn> columns_;
    bool has_images_;
    bool started_ = false;
    bool ended_ = false;
};

// Binds and plans a SELECT; the first row is looked for by Next(). The catalogue must outlive the query.
// Raises OperationNotSupported when the statement yields no rows, MissingParameter for a name that is no column and has
// no value.
std::unique_ptr<Query> Open(Catalog& catalog, const Statement& statement, const ParameterValues& parameters = {});

// The names in a statement that its tables do not explain, or that its PARAMETERS clause declares. Raises what Open()
// and Execute() raise for names that are wrong.
std::vector<Parameter> ParametersOf(Catalog& catalog, const ast::Statement& statement);
inline std::vector<Parameter> ParametersOf(Catalog& catalog, const Statement& statement) {
    return ParametersOf(catalog, statement.Tree());
}

// What the columns of a select are.
std::vector<OutputColumn> ColumnsOf(Catalog& catalog, const ast::Select& select);

// How a statement would be run: a line for each step, indented below the step that takes its rows. Nothing is changed.
// Raises OperationNotSupported for a definition.
std::vector<std::u16string> Explain(Catalog& catalog, const Statement& statement);

// Runs a statement that changes something; returns the number of records affected (0 for definitions).
// Raises OperationNotSupported for a SELECT.
std::int64_t Execute(Catalog& catalog, const Statement& statement, const ParameterValues& parameters = {});

// The rows of a SELECT that meet a condition, and in an order of their own: either may be empty. Raises SyntaxIn… for
// what is no condition, or no list of columns as ORDER BY has it.
Statement Narrowed(const Statement& select, std::u16string_view condition, std::u16string_view order);

}  // namespace qmtrain::sql
