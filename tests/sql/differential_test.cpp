// Thousands of generated selects over generated tables, answered by this room and by SQLite: both must agree.
//
// A generated piece is written in both dialects at once. What the two mean differently is not generated: booleans as
// results, division, comparisons across types, ties of TOP.
#include <algorithm>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "sql/support.h"

namespace qmtrain::sql {
namespace {

constexpr int kDataSets = 20;
constexpr int kQueriesPerSet = 120;

// The same text in both dialects.
struct Both {
    std::string ours;
    std::string theirs;

    Both() = default;
    Both(const char* text) : ours(text), theirs(text) {}
    Both(const std::string& text) : ours(text), theirs(text) {}
    Both(std::string a, std::string b) : ours(std::move(a)), theirs(std::move(b)) {}

    Both& operator+=(const Both& other) {
        ours += other.ours;
        theirs += other.theirs;
        return *this;
    }
};

Both operator+(Both a, const Both& b) {
    a += b;
    return a;
}

// ---- the two databases ----

std::string Normal(double number) {
    char text[40];
    std::snprintf(text, sizeof text, "%.9g", number == 0 ? 0.0 : number);
    return text;
}

class Sqlite {
public:
    Sqlite() { sqlite3_open(":memory:", &database_); }
    ~Sqlite() { sqlite3_close(database_); }
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;

    std::vector<std::string> Rows(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(database_, sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
            << sqlite3_errmsg(database_) << "\n"
            << sql;
        std::vector<std::string> rows;
        while (statement != nullptr && sqlite3_step(statement) == SQLITE_ROW) {
            std::string row;
            for (int i = 0; i < sqlite3_column_count(statement); ++i) row += Show(statement, i) + "|";
            rows.push_back(std::move(row));
        }
        sqlite3_finalize(statement);
        return rows;
    }

    // One row; the question marks stand for the numbers, whose last digit no text changes on its way.
    void Insert(const std::string& sql, const std::vector<double>& numbers) {
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(database_, sql.c_str(), -1, &statement, nullptr), SQLITE_OK) << sql;
        for (std::size_t i = 0; i < numbers.size(); ++i) sqlite3_bind_double(statement, int(i) + 1, numbers[i]);
        EXPECT_EQ(sqlite3_step(statement), SQLITE_DONE) << sql;
        sqlite3_finalize(statement);
    }

private:
    static std::string Show(sqlite3_stmt* statement, int column) {
        switch (sqlite3_column_type(statement, column)) {
            case SQLITE_NULL: return "Null";
            case SQLITE_TEXT: return reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
            default: return Normal(sqlite3_column_double(statement, column));
        }
    }

    sqlite3* database_ = nullptr;
};

std::vector<std::string> OurRows(Catalog& catalog, const std::string& sql) {
    const auto query = Open(catalog, Parse(FromUtf8(sql)));
    std::vector<std::string> rows;
    Value value;
    while (query->Next()) {
        std::string row;
        for (std::size_t i = 0; i < query->Columns().size(); ++i) {
            query->Read(i, value);
            if (value.IsNull())
                row += "Null|";
            else if (value.IsText())
                row += ToUtf8(value.Text()) + "|";
            else
                row += Normal(ToDouble(value)) + "|";
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

// ---- the generator ----

struct Select {
    Both text;
    bool ordered = false;  // wholly: the rows can be compared one by one
};

class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed) {}

    int Pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    bool Chance(int percent) { return Pick(100) < percent; }

    Both Number() { return std::to_string(Pick(9) - 2); }

    Both Text() {
        constexpr const char* kWords[] = {"'a'", "'b'", "'ab'", "'B'", "'abc'", "''", "'c'"};
        return kWords[Pick(7)];
    }

    Select MakeSelect() {
        names_.clear();
        switch (Pick(5)) {
            case 0: return Grouped();
            case 1: return United();
            default: return Plain();
        }
    }

private:
    Both Column(const char* name) { return names_[Pick(static_cast<int>(names_.size()))] + "." + name; }
    Both NumberColumn() { return Column(std::vector{"ID", "A", "X"}[Pick(3)]); }
    Both TextColumn() { return Column("S"); }

    Both NumberTerm(int depth) {
        if (depth > 0) {
            switch (Pick(6)) {
                case 0: return Both("(") + NumberTerm(depth - 1) + " + " + NumberTerm(depth - 1) + ")";
                case 1: return Both("(") + NumberTerm(depth - 1) + " * " + NumberTerm(depth - 1) + ")";
                case 2: return Both("(- ") + NumberTerm(depth - 1) + ")";
                case 3: {
                    const Both condition = Condition(depth - 1);
                    const Both yes = NumberTerm(depth - 1);
                    const Both no = NumberTerm(depth - 1);
                    return Both("IIf(", "(CASE WHEN ") + condition + Both(", ", " THEN ") + yes + Both(", ", " ELSE ") +
                           no + Both(")", " END)");
                }
                case 4: return Both("Len(", "length(") + TextTerm(depth - 1) + ")";
                default: break;
            }
        }
        return Chance(75) ? NumberColumn() : Number();
    }

    // What is computed has no order of its own there.
    Both TextTerm(int depth) {
        if (depth > 0 && Chance(30)) {
            return Both("Left(", "(substr(") + TextTerm(depth - 1) + Both(", 1)", ", 1, 1) COLLATE NOCASE)");
        }
        return Chance(75) ? TextColumn() : Both("", "(") + Text() + Both("", " COLLATE NOCASE)");
    }

    Both Comparison(int depth) {
        constexpr const char* kOperators[] = {" = ", " <> ", " < ", " > ", " <= ", " >= "};
        const char* op = kOperators[Pick(6)];
        if (Chance(30)) return Both("(") + TextTerm(depth) + op + TextTerm(depth) + ")";
        return Both("(") + NumberTerm(depth) + op + NumberTerm(depth) + ")";
    }

    Both Condition(int depth) {
        if (depth <= 0) return Comparison(0);
        switch (Pick(12)) {
            case 0: return Both("(") + Condition(depth - 1) + " AND " + Condition(depth - 1) + ")";
            case 1: return Both("(") + Condition(depth - 1) + " OR " + Condition(depth - 1) + ")";
            case 2: return Both("(NOT ") + Condition(depth - 1) + ")";
            case 3: return Both("(") + Condition(depth - 1) + Both(" XOR ", " <> ") + Condition(depth - 1) + ")";
            case 4: return Both("(") + Condition(depth - 1) + Both(" EQV ", " = ") + Condition(depth - 1) + ")";
            case 5:
                return Both("(", "(NOT ") + Condition(depth - 1) + Both(" IMP ", " OR ") + Condition(depth - 1) + ")";
            case 6: return Both("(") + NumberTerm(1) + (Chance(50) ? " IS NULL)" : " IS NOT NULL)");
            case 7:
                return Both("(") + NumberTerm(1) + (Chance(50) ? " IN (" : " NOT IN (") + Number() + ", " + Number() +
                       (Chance(10) ? ", NULL))" : "))");
            case 8: {
                const int low = Pick(6) - 2;
                const Both range = std::to_string(low) + " AND " + std::to_string(low + Pick(4));
                return Both("(") + NumberTerm(1) + (Chance(70) ? " BETWEEN " : " NOT BETWEEN ") + range + ")";
            }
            case 9: return Both("(") + TextTerm(0) + Both(std::string(" LIKE 'a*')"), std::string(" LIKE 'a%')"));
            case 10: return SubqueryCondition();
            default: return Comparison(depth);
        }
    }

    // Within, the tables around are visible too.
    Both SubqueryCondition() {
        const std::vector<std::string> outer = names_;
        std::string name = std::to_string(++aliases_);
        name.insert(0, 1, 'q');
        const Both link = Both(name + ".A = ") + NumberColumn();
        const Both subject = NumberColumn();
        names_ = {name};
        const Both inner = Chance(50) ? Both(" AND ") + Comparison(1) : Both();
        names_ = outer;
        const Both from = Both(" FROM " + Table() + " AS " + name + " WHERE ");
        switch (Pick(4)) {
            case 0:
                return Both(Chance(50) ? "(NOT EXISTS (SELECT *" : "(EXISTS (SELECT *") + from + link + inner + "))";
            case 1: return Both("(") + subject + " IN (SELECT " + name + ".A" + from + name + ".ID > 1" + inner + "))";
            case 2: return Both("(") + subject + " NOT IN (SELECT " + name + ".ID" + from + link + inner + "))";
            default: return Both("(") + subject + " >= (SELECT Max(" + name + ".X)" + from + link + inner + "))";
        }
    }

    std::string Table() { return std::vector<std::string>{"T1", "T2", "T3"}[Pick(3)]; }

    std::string NewName() {
        std::string name = std::to_string(++aliases_);
        name.insert(0, 1, 'n');
        names_.push_back(name);
        return name;
    }

    Both TableItem() {
        if (Chance(15)) {
            const std::vector<std::string> outer = std::exchange(names_, {});
            const std::string inner = NewName();
            const Both where = Chance(60) ? Both(" WHERE ") + Comparison(1) : Both();
            names_ = outer;
            const std::string table = Table();
            return Both("(SELECT ID, A, X, S FROM " + table + " AS " + inner) + where + ") AS " + NewName();
        }
        const std::string table = Table();
        return table + " AS " + NewName();
    }

    // What two tables are joined by: mostly equality, so that every kind of join is met.
    Both Link(const std::vector<std::string>& left, const std::vector<std::string>& right) {
        const auto any = [&](const std::vector<std::string>& names) {
            return names[Pick(static_cast<int>(names.size()))];
        };
        constexpr const char* kColumns[] = {".ID", ".A", ".X"};
        if (Chance(20)) return Both(any(left) + ".S = " + any(right) + ".S");
        const char* op = Chance(85) ? " = " : " < ";
        return Both(any(left) + kColumns[Pick(3)] + op + any(right) + kColumns[Pick(3)]);
    }

    Both JoinTree(int depth) {
        if (depth == 0 || Chance(30)) return TableItem();
        const std::vector<std::string> before = std::exchange(names_, {});
        const Both left = JoinTree(depth - 1);
        const std::vector<std::string> left_names = std::exchange(names_, {});
        const Both right = JoinTree(depth - 1);
        const std::vector<std::string> right_names = names_;
        names_.insert(names_.end(), left_names.begin(), left_names.end());
        Both on = Link(left_names, right_names);
        if (Chance(30)) on += Both(" AND ") + Comparison(1);
        names_.insert(names_.end(), before.begin(), before.end());
        constexpr const char* kJoins[] = {" INNER JOIN ", " LEFT JOIN ", " LEFT JOIN "};
        return Both("(") + left + kJoins[Pick(3)] + right + " ON " + on + ")";
    }

    // The FROM and WHERE clauses; afterwards the names can be used.
    Both FromWhere() {
        Both text = Both(" FROM ") + JoinTree(2);
        Both where;
        if (Chance(40)) {
            const std::vector<std::string> first = std::exchange(names_, {});
            text += Both(", ") + TableItem();
            where = Link(first, names_);
            names_.insert(names_.end(), first.begin(), first.end());
        }
        if (Chance(60)) where = where.ours.empty() ? Condition(2) : where + " AND " + Condition(2);
        return where.ours.empty() ? text : text + " WHERE " + where;
    }

    Select Plain() {
        Select select;
        const Both from = FromWhere();
        const int columns = 1 + Pick(3);
        Both list;
        Both order;
        for (int i = 1; i <= columns; ++i) {
            list += (i > 1 ? Both(", ") : Both()) + (Chance(30) ? TextTerm(1) : NumberTerm(2));
            order += (i > 1 ? ", " : "") + std::to_string(i) + (Chance(40) ? " DESC" : "");
        }
        const bool distinct = Chance(30);
        select.ordered = Chance(50);
        // Rows that tie are wholly the same when every column takes part; then TOP may cut anywhere among them, and
        // only DISTINCT keeps its ties out.
        const int top = select.ordered && distinct && Chance(60) ? 1 + Pick(5) : 0;
        select.text = Both("SELECT ") + (distinct ? "DISTINCT " : "");
        if (top > 0) select.text += Both("TOP " + std::to_string(top) + " ", "");
        select.text += list + from;
        if (select.ordered) select.text += Both(" ORDER BY ") + order;
        if (top > 0) select.text += Both("", " LIMIT " + std::to_string(top));
        return select;
    }

    Both AggregateTerm() {
        switch (Pick(6)) {
            case 0: return "Count(*)";
            case 1: return Both("Count(") + TextTerm(1) + ")";
            case 2: return Both("Min(") + NumberTerm(1) + ")";
            case 3: return Both("Max(") + TextColumn() + ")";
            // Plus a Double, since the average of amounts is an amount.
            case 4: return Both("Avg(") + NumberTerm(1) + " + 0.0)";
            default: return Both("Sum(") + NumberTerm(1) + ")";
        }
    }

    Select Grouped() {
        Select select;
        const Both from = FromWhere();
        const bool keyed = Chance(75);
        const Both key = Chance(70) ? NumberTerm(1) : TextTerm(1);
        // A constant as a key would be read as the number of a column.
        const bool constant = key.ours.find('.') == std::string::npos;
        select.text = "SELECT ";
        if (keyed && !constant) select.text += key + ", ";
        select.text += AggregateTerm() + ", " + AggregateTerm() + from;
        if (keyed && !constant) {
            select.text += Both(" GROUP BY ") + key;
            if (Chance(40)) select.text += Both(" HAVING Count(*) > ") + std::to_string(Pick(3));
            select.ordered = Chance(60);
            if (select.ordered) select.text += Chance(50) ? " ORDER BY 1" : " ORDER BY 1 DESC";
        }
        return select;
    }

    Select United() {
        Select select;
        const int parts = 2 + Pick(2);
        for (int i = 0; i < parts; ++i) {
            if (i > 0) select.text += Chance(50) ? " UNION ALL " : " UNION ";
            names_.clear();
            const Both from = FromWhere();
            select.text += Both("SELECT ") + NumberTerm(1) + " AS C1, " + TextTerm(1) + " AS C2" + from;
        }
        select.ordered = Chance(50);
        if (select.ordered) select.text += " ORDER BY 1, 2 DESC";
        return select;
    }

    std::mt19937 random_;
    std::vector<std::string> names_;  // of the tables that can be used here
    int aliases_ = 0;
};

// ---- the comparison ----

void Fill(Generator& generator, MemoryCatalog& catalog, Sqlite& sqlite) {
    RunSql(catalog,
           "CREATE TABLE T1 (ID LONG PRIMARY KEY, A LONG, X DOUBLE, S TEXT(10)); CREATE INDEX I1 ON T1 (A, X DESC);"
           "CREATE TABLE T2 (ID LONG, A SHORT, X SINGLE, S TEXT(10)); CREATE INDEX I2 ON T2 (S); CREATE INDEX I3 ON T2 "
           "(A);"
           "CREATE TABLE T3 (ID BYTE, A LONG, X CURRENCY, S MEMO);");
    for (const std::string table : {"T1", "T2", "T3"}) {
        sqlite.Rows("CREATE TABLE " + table + " (ID INTEGER, A INTEGER, X REAL, S TEXT COLLATE NOCASE)");
        const int rows = generator.Pick(4) == 0 ? generator.Pick(3) : generator.Pick(25);
        for (int id = 0; id < rows; ++id) {
            const std::string a = generator.Chance(15) ? "NULL" : std::to_string(generator.Pick(8) - 1);
            const std::string x = generator.Chance(15) ? "NULL" : std::to_string(generator.Pick(12) / 2.0);
            const std::string s = generator.Chance(15) ? "NULL" : generator.Text().ours;
            std::string insert = "INSERT INTO " + table + " VALUES (";
            insert.append(std::to_string(id)).append(", ").append(a).append(", ").append(x).append(", ").append(s);
            insert.append(")");
            RunSql(catalog, insert);
            sqlite.Rows(insert);
        }
    }
}

// Letters of both cases are one: which of them stands for a group is not compared.
std::vector<std::string> Folded(std::vector<std::string> rows, bool keep_order) {
    for (std::string& row : rows)
        std::ranges::transform(row, row.begin(), [](char c) { return static_cast<char>(std::tolower(c)); });
    if (!keep_order) std::ranges::sort(rows);
    return rows;
}

TEST(Differential, AgreesWithSqlite) {
    // --gtest_random_seed asks for other selects than the usual ones.
    const unsigned seed = 20050412U + static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
    RecordProperty("seed", static_cast<int>(seed));
    std::size_t rows = 0;
    for (int set = 0; set < kDataSets; ++set) {
        Generator generator(seed + 1000U * static_cast<unsigned>(set));
        MemoryCatalog catalog;
        Sqlite sqlite;
        Fill(generator, catalog, sqlite);
        for (int i = 0; i < kQueriesPerSet; ++i) {
            const Select select = generator.MakeSelect();
            const auto theirs = Folded(sqlite.Rows(select.text.theirs), select.ordered);
            std::vector<std::string> ours;
            try {
                ours = Folded(OurRows(catalog, select.text.ours), select.ordered);
            } catch (const AutomationError& error) {
                ours = {std::string("error ") + error.what()};
            }
            rows += theirs.size();
            ASSERT_EQ(ours, theirs) << "seed " << seed << " + 1000 * " << set << "\n"
                                    << select.text.ours << "\n"
                                    << select.text.theirs;
        }
    }
    // Most selects find something, or there would be nothing to compare.
    EXPECT_GT(rows, static_cast<std::size_t>(kDataSets * kQueriesPerSet));
}

// ---- access paths ----

// Statements over one table, its conditions mostly such that an index may answer them. They are asked of a table with
// indexes, of the same rows without any, and of SQLite.
class PathGenerator {
public:
    explicit PathGenerator(unsigned seed) : random_(seed) {}

    int Pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    bool Chance(int percent) { return Pick(100) < percent; }

    std::string Number() {
        const int whole = Pick(44) - 2;
        if (Chance(5)) return "99999999999";
        if (Chance(5)) return "NULL";
        return std::to_string(whole) + (Chance(25) ? ".5" : "");
    }

    std::string Text() {
        constexpr const char* kLetters = "aAbBcC";
        std::string text = "'";
        for (int length = Pick(4); length > 0; --length) text += kLetters[Pick(6)];
        return text + "'";
    }

    // "%" stands for the table.
    Select MakeSelect() {
        switch (Pick(8)) {
            case 0: return {Both("SELECT Count(*) FROM % AS t WHERE ") + Condition(2), true};
            case 1: {
                const Both column = "t." + NumberColumn();
                return {Both("SELECT Min(") + column + "), Max(" + column + "), Count(*), Max(t.ID) FROM % AS t", true};
            }
            case 2: return {"SELECT DISTINCT " + AnyColumn() + " FROM % AS t", false};
            case 3:
                return {Both("SELECT t.ID, u.ID FROM (% AS t LEFT JOIN % AS u ON t.A = u.ID) WHERE ") + Condition(1),
                        false};
            default: return Ordered();
        }
    }

private:
    std::string NumberColumn() { return std::vector{"ID", "A", "X", "F", "C", "D", "B"}[Pick(7)]; }
    std::string AnyColumn() { return Chance(80) ? NumberColumn() : "S"; }

    Select Ordered() {
        const std::string column = AnyColumn();
        const std::string direction = Chance(50) ? " DESC" : "";
        const int top = Chance(50) ? 1 + Pick(9) : 0;
        Both text = Both(top > 0 ? "SELECT TOP " + std::to_string(top) + " " : "SELECT ", "SELECT ");
        text += Both("t.ID, t." + column + " FROM % AS t");
        if (Chance(85)) text += Both(" WHERE ") + Condition(2);
        text += Both(" ORDER BY t." + column + direction + ", t.ID" + direction);
        if (top > 0) text += Both("", " LIMIT " + std::to_string(top));
        return {text, true};
    }

    Both Condition(int depth) {
        if (depth > 0 && Chance(30)) return Both("(") + Condition(depth - 1) + " AND " + Condition(depth - 1) + ")";
        if (depth > 0 && Chance(40)) return Both("(") + Condition(depth - 1) + " OR " + Condition(depth - 1) + ")";
        constexpr const char* kOperators[] = {" = ", " = ", " = ", " < ", " > ", " <= ", " >= ", " <> "};
        switch (Pick(9)) {
            case 0: return "t." + NumberColumn() + " IN " + List(Pick(12) + 1);
            case 1: {
                const int low = Pick(40);
                const std::string range = std::to_string(low) + " AND " + std::to_string(low + Pick(8));
                return "t." + NumberColumn() + " BETWEEN " + range;
            }
            case 2: {
                const std::string begin = Text();
                const std::string letters = begin.substr(1, begin.size() - 2);
                return Both("t.S LIKE '" + letters + "*'", "t.S LIKE '" + letters + "%'");
            }
            case 3: return "t.S" + std::string(kOperators[Pick(8)]) + Text();
            case 4: return "t.S IN (" + Text() + ", " + Text() + ", " + Text() + ")";
            case 5:
                return "t." + NumberColumn() + " IN (SELECT v.A FROM % AS v WHERE v.ID < " + std::to_string(Pick(30)) +
                       ")";
            case 6:
                return "EXISTS (SELECT * FROM % AS v WHERE v.A = t." + NumberColumn() + " AND v.X > " + Number() + ")";
            default: return "t." + NumberColumn() + kOperators[Pick(8)] + Number();
        }
    }

    std::string List(int count) {
        std::string list = "(";
        for (int i = 0; i < count; ++i) list += (i > 0 ? ", " : "") + Number();
        return list + ")";
    }

    std::mt19937 random_;
};

std::string OverTable(std::string sql, const std::string& table) {
    for (std::size_t at = sql.find("% AS"); at != std::string::npos; at = sql.find("% AS")) sql.replace(at, 1, table);
    return sql;
}

// With indexes and without, the answer is that of SQLite. `rows` grows by their number.
void CompareOverBothTables(MemoryCatalog& catalog, Sqlite& sqlite, const Select& select, unsigned seed,
                           std::size_t& rows) {
    const auto theirs = Folded(sqlite.Rows(OverTable(select.text.theirs, "Plain")), select.ordered);
    for (const char* table : {"Indexed", "Plain"}) {
        const std::string sql = OverTable(select.text.ours, table);
        std::vector<std::string> ours;
        try {
            ours = Folded(OurRows(catalog, sql), select.ordered);
        } catch (const AutomationError& error) {
            ours = {std::string("error ") + error.what()};
        }
        ASSERT_EQ(ours, theirs) << "seed " << seed << "\n" << sql << "\n" << select.text.theirs;
    }
    rows += theirs.size();
}

TEST(Differential, AccessPathsAgreeWithScansAndSqlite) {
    const unsigned seed = 31 + static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
    PathGenerator generator(seed);
    std::size_t rows = 0;
    for (int set = 0; set < 4; ++set) {
        MemoryCatalog catalog;
        Sqlite sqlite;
        const std::string columns =
            " (ID LONG, A LONG, B BYTE, X DOUBLE, F SINGLE, C CURRENCY, D DATETIME, S TEXT(10))";
        RunSql(catalog, "CREATE TABLE Indexed" + columns + "; CREATE TABLE Plain" + columns +
                            "; CREATE UNIQUE INDEX I1 ON Indexed (ID); CREATE INDEX I2 ON Indexed (A, X DESC);"
                            "CREATE INDEX I3 ON Indexed (D DESC) WITH IGNORE NULL; CREATE INDEX I4 ON Indexed (S, ID);"
                            "CREATE INDEX I5 ON Indexed (F); CREATE INDEX I6 ON Indexed (C DESC);"
                            "CREATE INDEX I7 ON Indexed (B) WITH IGNORE NULL;");
        sqlite.Rows("CREATE TABLE Plain (ID, A, B, X REAL, F REAL, C REAL, D REAL, S TEXT COLLATE NOCASE)");
        const int count = 30 + 120 * set;
        for (int id = 0; id < count; ++id) {
            const auto value = [&](int bound, const char* half) {
                return generator.Chance(10)
                           ? std::string("NULL")
                           : std::to_string(generator.Pick(bound)) + (generator.Chance(30) ? half : "");
            };
            const std::string row = " VALUES (" + std::to_string(id) + ", " + value(40, "") + ", " + value(40, "") +
                                    ", " + value(40, ".5") + ", " + value(40, ".25") + ", " + value(40, ".5") + ", " +
                                    value(40, ".5") + ", " + (generator.Chance(10) ? "NULL" : generator.Text()) + ")";
            RunSql(catalog, "INSERT INTO Indexed" + row + "; INSERT INTO Plain" + row);
            sqlite.Rows("INSERT INTO Plain" + row);
        }
        for (int i = 0; i < 700; ++i) {
            const Select select = generator.MakeSelect();
            ASSERT_NO_FATAL_FAILURE(CompareOverBothTables(catalog, sqlite, select, seed, rows));
        }
    }
    EXPECT_GT(rows, 10000U);
}

// ---- decimals ----

// SQLite has none: there an exact number is a text of as many digits as any other, so that texts compare as the numbers
// do, and beside it stands its Double, which is what counts against a Double.
struct Number {
    bool negative = false;
    std::int64_t whole = 0;
    int fraction = 0;  // hundred-millionths

    std::string Text() const {
        std::string text = (negative ? "-" : "") + std::to_string(whole);
        std::string digits = Padded(fraction, kFraction);
        digits.erase(digits.find_last_not_of('0') + 1);
        return digits.empty() ? text : text + "." + digits;
    }
    double Nearest() const { return std::strtod(Text().c_str(), nullptr); }
    std::string Key() const {
        std::string digits = Padded(whole, 20) + Padded(fraction, kFraction);
        for (char& digit : digits) digit = negative ? static_cast<char>('0' + '9' - digit) : digit;
        return (negative ? "'-" : "'0") + digits + "'";
    }

    // How a statement takes what is written so.
    enum class Kind : std::uint8_t { Long, Double, Decimal };
    Kind Written() const {
        const std::string text = Text();
        if (IsLong()) return Kind::Long;
        const auto first = text.find_first_of("123456789");
        const auto digits = std::count_if(text.begin() + first, text.end(), [](char c) { return c != '.'; });
        return digits > 15 ? Kind::Decimal : Kind::Double;
    }
    bool IsCurrency() const { return fraction % 10000 == 0 && whole < 922337203685477; }
    bool IsLong() const { return fraction == 0 && whole <= 2147483647; }

private:
    static constexpr std::size_t kFraction = 8;

    static std::string Padded(std::int64_t number, std::size_t width) {
        const std::string digits = std::to_string(number);
        return std::string(width - std::min(width, digits.size()), '0') + digits;
    }
};

// Numbers of 1 to 28 digits in clusters that have one Double, and their like.
std::vector<Number> Numbers() {
    const std::pair<std::int64_t, int> bases[] = {
        {0, 0},
        {0, 10'000'000},
        {1, 0},
        {3, 50'000'000},
        {2147483647, 0},
        {2147483648, 0},
        {99999999999, 0},
        {123456789012345, 50'000'000},
        {900719925474099, 25'000'000},
        {9007199254740992, 0},
        {9007199254740993, 0},
        {1234567890123456789, 0},
        {1234567890123456790, 0},
    };
    std::vector<Number> numbers;
    for (const auto& [whole, fraction] : bases) {
        for (const int more : {0, 1, 2, 10000}) {
            numbers.push_back({false, whole, fraction + more});
            if (whole + fraction + more > 0) numbers.push_back({true, whole, fraction + more});
        }
    }
    return numbers;
}

class DecimalGenerator {
public:
    explicit DecimalGenerator(unsigned seed) : random_(seed) {}

    int Pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    bool Chance(int percent) { return Pick(100) < percent; }
    const Number& AnyNumber() { return numbers_[Pick(static_cast<int>(numbers_.size()))]; }
    const std::vector<Number>& All() const { return numbers_; }

    // "%" stands for the table.
    Select MakeSelect() {
        switch (Pick(9)) {
            case 0: {
                const Operand key = Exact("t");
                return {Both("SELECT Count(*), Min(t.ID) FROM % AS t GROUP BY ") + Both(key.ours, key.exact), false};
            }
            case 1: {
                const Operand key = Column("t");
                const std::string direction = Chance(50) ? " DESC" : "";
                return {Both("SELECT t.ID FROM % AS t ORDER BY ") + Both(key.ours, key.inexact ? key.real : key.exact) +
                            direction + ", t.ID",
                        true};
            }
            case 2:
                return {Both("SELECT t.ID, u.ID FROM % AS t ") + (Chance(50) ? "INNER" : "LEFT") + " JOIN % AS u ON " +
                            Compared(Column("t"), Chance(80) ? " = " : " < ", Column("u")),
                        false};
            case 3: {
                const Operand key = Exact("t");
                return {
                    Both("SELECT Count(*) FROM (SELECT DISTINCT ") + Both(key.ours, key.exact) + " FROM % AS t) AS q",
                    true};
            }
            case 4: {
                const Operand a = Exact("t");
                const Operand b = Column("u");
                const bool inexact = b.inexact;
                return {Both("SELECT Count(*) FROM (SELECT ") + Both(a.ours, inexact ? a.real : a.exact) +
                            " FROM % AS t UNION SELECT " + Both(b.ours, inexact ? b.real : b.exact) +
                            " FROM % AS u) AS q",
                        true};
            }
            case 5: {
                const Operand a = Exact("t");
                const Operand b = {"Max(u.P)", "max(u.P)", "max(u.PR)", false};
                return {Both("SELECT t.ID FROM % AS t WHERE ") + Both(a.ours, a.exact) + (Chance(50) ? " = " : " < ") +
                            "(SELECT " + Both(b.ours, b.exact) + " FROM % AS u WHERE " +
                            Compared(Column("u"), " < ", Literal()) + ")",
                        false};
            }
            default: return {Both("SELECT t.ID FROM % AS t WHERE ") + Condition(2) + " ORDER BY t.ID", true};
        }
    }

private:
    struct Operand {
        std::string ours;
        std::string exact;
        std::string real;
        bool inexact;
    };

    Operand Exact(const std::string& table) {
        const std::string name = table + "." + std::vector{"P", "P", "C", "L"}[Pick(4)];
        return {name, name, name + "R", false};
    }
    Operand Column(const std::string& table) {
        return Chance(20) ? Operand{table + ".X", "", table + ".X", true} : Exact(table);
    }
    Operand Literal() {
        const int at = Pick(static_cast<int>(numbers_.size()));
        const Number& number = numbers_[at];
        return {number.Text(), number.Key(), "(SELECT V FROM N WHERE K = " + std::to_string(at) + ")",
                number.Written() == Number::Kind::Double};
    }

    static Both Compared(const Operand& a, const std::string& op, const Operand& b) {
        const bool inexact = a.inexact || b.inexact;
        return {"(" + a.ours + op + b.ours + ")",
                "(" + (inexact ? a.real : a.exact) + op + (inexact ? b.real : b.exact) + ")"};
    }

    Both Condition(int depth) {
        constexpr const char* kOperators[] = {" = ", " = ", " = ", " < ", " > ", " <= ", " >= ", " <> "};
        if (depth > 0 && Chance(30)) return Both("(") + Condition(depth - 1) + " AND " + Condition(depth - 1) + ")";
        if (depth > 0 && Chance(40)) return Both("(") + Condition(depth - 1) + " OR " + Condition(depth - 1) + ")";
        const Operand subject = Column("t");
        switch (Pick(7)) {
            case 0: {
                Both list = Both("(" + subject.ours + " IN (", "(");
                for (int i = Pick(11); i >= 0; --i) {
                    const Operand item = Literal();
                    list +=
                        Both(item.ours, Compared(subject, " = ", item).theirs) + (i > 0 ? Both(", ", " OR ") : Both());
                }
                return list + Both("))", ")");
            }
            case 1: {
                Operand low = Literal();
                Operand high = Literal();
                const Both within = Compared(subject, " >= ", low) + " AND " + Compared(subject, " <= ", high);
                const Both swapped = Compared(subject, " >= ", high) + " AND " + Compared(subject, " <= ", low);
                const std::string wrong = Compared(low, " > ", high).theirs;
                return {"(" + subject.ours + " BETWEEN " + low.ours + " AND " + high.ours + ")",
                        "(CASE WHEN " + wrong + " THEN " + swapped.theirs + " ELSE " + within.theirs + " END)"};
            }
            case 2: {
                const Operand item = Column("v");
                const bool inexact = subject.inexact || item.inexact;
                return Both("(") + Both(subject.ours, inexact ? subject.real : subject.exact) + " IN (SELECT " +
                       Both(item.ours, inexact ? item.real : item.exact) + " FROM % AS v WHERE v.ID < " +
                       std::to_string(Pick(30)) + "))";
            }
            case 3: return Compared(subject, kOperators[Pick(8)], Column("t"));
            default: return Compared(subject, kOperators[Pick(8)], Literal());
        }
    }

    std::mt19937 random_;
    std::vector<Number> numbers_ = Numbers();
};

TEST(Differential, DecimalsAgreeWithSqlite) {
    const unsigned seed = 28 + static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
    DecimalGenerator generator(seed);
    std::size_t rows = 0;
    for (int set = 0; set < 3; ++set) {
        MemoryCatalog catalog;
        Sqlite sqlite;
        const std::string columns = " (ID LONG, P DECIMAL(28,8), C CURRENCY, L LONG, X DOUBLE)";
        RunSql(catalog, "CREATE TABLE Indexed" + columns + "; CREATE TABLE Plain" + columns +
                            "; CREATE INDEX I1 ON Indexed (P); CREATE INDEX I2 ON Indexed (C DESC);"
                            "CREATE INDEX I3 ON Indexed (L); CREATE INDEX I4 ON Indexed (X, P);");
        sqlite.Rows("CREATE TABLE Plain (ID INTEGER, P TEXT, PR REAL, C TEXT, CR REAL, L TEXT, LR REAL, X REAL)");
        sqlite.Rows("CREATE TABLE N (K INTEGER, V REAL)");
        for (std::size_t i = 0; i < generator.All().size(); ++i)
            sqlite.Insert("INSERT INTO N VALUES (" + std::to_string(i) + ", ?)", {generator.All()[i].Nearest()});
        for (int id = 0; id < 20 + 30 * set; ++id) {
            std::string ours = std::to_string(id);
            std::string theirs = ours;
            std::vector<double> doubles;
            const auto add = [&](bool (*fits)(const Number&), bool exact) {
                const Number& number = generator.AnyNumber();
                const bool none = !fits(number) || generator.Chance(5);
                ours += none ? ", NULL" : ", '" + number.Text() + "'";
                if (exact) theirs += none ? ", NULL" : ", " + number.Key();
                theirs += none ? ", NULL" : ", ?";
                if (!none) doubles.push_back(number.Nearest());
            };
            add([](const Number&) { return true; }, true);
            add([](const Number& number) { return number.IsCurrency(); }, true);
            add([](const Number& number) { return number.IsLong(); }, true);
            add([](const Number&) { return true; }, false);
            RunSql(catalog, "INSERT INTO Indexed VALUES (" + ours + "); INSERT INTO Plain VALUES (" + ours + ")");
            sqlite.Insert("INSERT INTO Plain VALUES (" + theirs + ")", doubles);
        }
        for (int i = 0; i < 500; ++i) {
            const Select select = generator.MakeSelect();
            ASSERT_NO_FATAL_FAILURE(CompareOverBothTables(catalog, sqlite, select, seed, rows));
        }
    }
    EXPECT_GT(rows, 10000U);
}

}  // namespace
}  // namespace qmtrain::sql
