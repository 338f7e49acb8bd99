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
    enum class TypeClass : std::uint8_t { Null, Boolean, Whole, Number, Exact, Date, Text, Other };

    // The collation by which the server compares texts: without that of a column case counts, which makes no difference
    // where there are no letters.
    enum class TextCollation : std::uint8_t { None, Cased, Column };

    struct Fragment {
        std::u16string text;
        TypeClass kind = TypeClass::Other;
        bool required = false;  // never Null
        TextCollation collation = TextCollation::None;
        const OdbcLink* link = nullptr;  // where it is a column
        std::size_t column = 0;
    };

    struct TableName {
        std::u16string name;
        std::u16string alias;
        std::shared_ptr<OdbcLink> link;
        bool may_be_missing = false;  // on the side of an outer join that may have no row
    };

    static TypeClass TypeClassOf(sql::ColumnType type);
    static bool IsNumber(TypeClass kind) {
        return kind == TypeClass::Whole || kind == TypeClass::Number || kind == TypeClass::Exact;
    }
    static bool Compare(const Fragment& a, const Fragment& b);
    static std::u16string Beside(const Fragment& fragment, const Fragment& other);
    static std::u16string AsNumber(const Fragment& fragment);
    static std::u16string AsDouble(const Fragment& fragment);
    static std::u16string AsCondition(const Fragment& fragment);

    Fragment Cannot();
    void Start();
    RemoteText Result(std::u16string text);

    std::u16string Put(const sql::ast::Select& select);
    std::u16string PutFrom(const sql::ast::TableExpression& table);
    std::u16string PutItems(const sql::ast::SelectPart& part);
    std::u16string PutOrder(const sql::ast::SelectPart& part, const std::vector<sql::ast::OrderItem>& order);
    std::u16string PutKey(const Fragment& key, bool descending);
    Fragment OrderKey(const sql::ast::SelectPart& part, const sql::ast::Expression& expression);
    std::u16string AddTable(const std::shared_ptr<OdbcLink>& link, std::u16string_view name);

    Fragment Put(const sql::ast::Expression& expression);
    Fragment PutLiteral(const Value& value);
    Fragment PutValue(const sql::ast::Expression& expression, std::u16string_view text_type);
    Fragment PutColumn(const sql::ast::ColumnName& name);
    Fragment PutUnary(const sql::ast::Unary& unary);
    Fragment PutBetween(const sql::ast::Between& between);
    Fragment PutBinary(const sql::ast::Binary& binary);
    Fragment PutArithmetic(const sql::ast::Binary& binary, const Fragment& left, const Fragment& right);
    Fragment PutLike(const Fragment& subject, const sql::ast::Expression& pattern);
    Fragment PutCall(const sql::ast::Call& call);
    Fragment PutAggregate(std::u16string_view name, const sql::ast::Call& call);
    Fragment PutFunction(std::u16string_view name, const sql::ast::Call& call, const std::vector<Fragment>& arguments);
    Fragment PutChoice(const Fragment& condition, const Fragment& yes, const Fragment& no);

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
