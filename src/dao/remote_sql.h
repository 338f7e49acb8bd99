// Statements of ours in the words of a PostgreSQL server.
//
// What is translated means there what it means here; what has no such words is left to our own engine. Differences that
// remain: texts compare in the order of the server's columns, and conversions of Null give Null.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dao/odbc_link.h"
#include "sql/ast.h"

namespace qmtrain::dao {

// Where a translation finds the links that a statement names.
class LinkFinder {
public:
    virtual ~LinkFinder() = default;

    // Null for any other table.
    virtual std::shared_ptr<OdbcLink> FindLink(std::u16string_view name) = 0;
};

// A piece of a statement, or nothing when it has no translation.
using RemoteText = std::optional<std::u16string>;

class RemoteSql {
public:
    explicit RemoteSql(LinkFinder& links) : links_(links) {}

    // A select as a whole. All its tables are on Server() then.
    RemoteText Select(const sql::ast::Select& select);

    // What follows when one table is named alone, by kTableAlias: conditions, an order, the first rows of it.
    void UseTable(const std::shared_ptr<OdbcLink>& link, std::u16string_view name);
    RemoteText Condition(const sql::ast::Expression& condition);
    RemoteText Order(const sql::ast::SelectPart& part, const std::vector<sql::ast::OrderItem>& order);
    static std::u16string Top(const sql::ast::Top& top, bool ordered);

    // A value for a column of the table.
    RemoteText Assigned(const sql::ast::Expression& value, const sql::Column& column);

    // Whether what was translated last named any column.
    bool UsedColumns() const { return used_columns_; }

    // The values that have their places in what was translated since UseTable(): see odbc::Request.
    const std::vector<odbc::GivenValue>& Values() const { return values_; }

    const std::shared_ptr<OdbcServer>& Server() const { return server_; }

private:
    enum class Kind : std::uint8_t { Null, Boolean, Whole, Number, Exact, Date, Text, Other };

    // By what order of the server's texts are compared: without that of a column case counts, which makes no
    // difference where there are no letters.
    enum class TextOrder : std::uint8_t { None, Cased, Column };

    struct Piece {
        std::u16string text;
        Kind kind = Kind::Other;
        bool required = false;  // never Null
        TextOrder order = TextOrder::None;
        const OdbcLink* link = nullptr;  // where it is a column
        int column = 0;
    };

    struct TableName {
        std::u16string name;
        std::u16string alias;
        std::shared_ptr<OdbcLink> link;
        bool may_be_missing = false;  // on the side of an outer join that may have no row
    };

    static Kind KindOf(sql::ColumnType type);
    static bool IsNumber(Kind kind) { return kind == Kind::Whole || kind == Kind::Number || kind == Kind::Exact; }
    static bool Compare(const Piece& a, const Piece& b);
    static std::u16string Beside(const Piece& piece, const Piece& other);
    static std::u16string AsNumber(const Piece& piece);
    static std::u16string AsDouble(const Piece& piece);
    static std::u16string AsCondition(const Piece& piece);

    Piece Cannot();
    void Start();
    RemoteText Result(std::u16string text);

    std::u16string Put(const sql::ast::Select& select);
    std::u16string PutFrom(const sql::ast::TableExpression& table);
    std::u16string PutItems(const sql::ast::SelectPart& part);
    std::u16string PutOrder(const sql::ast::SelectPart& part, const std::vector<sql::ast::OrderItem>& order);
    std::u16string PutKey(const Piece& key, bool descending);
    Piece OrderKey(const sql::ast::SelectPart& part, const sql::ast::Expression& expression);
    std::u16string AddTable(const std::shared_ptr<OdbcLink>& link, std::u16string_view name);

    Piece Put(const sql::ast::Expression& expression);
    Piece PutLiteral(const Value& value);
    Piece PutValue(const sql::ast::Expression& expression, std::u16string_view text_type);
    Piece PutColumn(const sql::ast::ColumnName& name);
    Piece PutUnary(const sql::ast::Unary& unary);
    Piece PutBetween(const sql::ast::Between& between);
    Piece PutBinary(const sql::ast::Binary& binary);
    Piece PutArithmetic(const sql::ast::Binary& binary, const Piece& left, const Piece& right);
    Piece PutLike(const Piece& subject, const sql::ast::Expression& pattern);
    Piece PutCall(const sql::ast::Call& call);
    Piece PutAggregate(std::u16string_view name, const sql::ast::Call& call);
    Piece PutFunction(std::u16string_view name, const sql::ast::Call& call, const std::vector<Piece>& arguments);
    Piece PutChoice(const Piece& condition, const Piece& yes, const Piece& no);

    LinkFinder& links_;
    std::shared_ptr<OdbcServer> server_;
    std::vector<std::vector<TableName>> scopes_;  // of the selects around, innermost last
    int tables_ = 0;
    bool possible_ = true;
    bool used_columns_ = false;
    bool takes_values_ = false;
    std::vector<odbc::GivenValue> values_;
    std::size_t values_before_ = 0;  // what is being translated
};

}  // namespace qmtrain::dao
