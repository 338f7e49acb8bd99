// INSERT and SELECT … INTO.
#include <algorithm>

#include "core/error.h"
#include "core/text.h"
#include "core/work.h"
#include "sql/statements/execute.h"
#include "sql/values.h"

namespace qmtrain::sql {
namespace {

// Puts rows into a table: values for some of its columns, defaults for the others.
class Inserter {
public:
    Inserter(Table& table, std::vector<std::size_t> columns) : table_(table), columns_(std::move(columns)) {
        const std::vector<Column>& all = table.Columns();
        row_.resize(all.size());
        for (std::size_t i = 0; i < all.size(); ++i) {
            const bool given = std::ranges::find(columns_, i) != columns_.end();
            if (!given) row_[i] = DefaultValue(all[i]);
        }
    }

    std::size_t Width() const { return columns_.size(); }

    // Requires: as many values as columns.
    void Add(std::span<const Value* const> values) {
        steps_.Next();
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const std::size_t column = columns_[i];
            row_[column] = ConvertToColumn(*values[i], table_.Columns()[column]);
        }
        table_.Insert(row_);
        ++count_;
    }

    std::int64_t Count() const { return count_; }
    Table& GetTable() const { return table_; }

private:
    Table& table_;
    std::vector<std::size_t> columns_;
    std::vector<Value> row_;  // with the defaults of the columns that are not given
    std::int64_t count_ = 0;
    WorkSteps steps_;
};

std::size_t RequireColumn(const Table& table, const std::u16string& name) {
    const auto& columns = table.Columns();
    const auto found =
        std::ranges::find_if(columns, [&](const Column& column) { return EqualNames(column.name, name); });
    if (found == columns.end()) Raise(ErrorNumber::UnknownInsertField, {name});
    return found - columns.begin();
}

std::vector<std::size_t> TargetColumns(const Table& table, const std::vector<std::u16string>& names) {
    std::vector<std::size_t> columns;
    for (const std::u16string& name : names) {
        const std::size_t column = RequireColumn(table, name);
        if (std::ranges::find(columns, column) != columns.end()) Raise(ErrorNumber::SyntaxInInsert, {name});
        columns.push_back(column);
    }
    for (std::size_t i = 0; names.empty() && i < table.Columns().size(); ++i) columns.push_back(i);
    return columns;
}

// Without a list of columns, those of the select go to the columns of their names.
std::vector<std::size_t> MatchingColumns(const Table& table, const Plan& plan) {
    std::vector<std::u16string> names;
    for (const PlanOutput& output : plan.outputs) names.push_back(output.column.name);
    return TargetColumns(table, names);
}

// Tells the table that many rows come.
class ManyInserts {
public:
    ManyInserts(Table& table, bool now) : table_(table) {
        if (now) Begin();
    }
    ManyInserts(const ManyInserts&) = delete;
    ManyInserts& operator=(const ManyInserts&) = delete;
    ~ManyInserts() {
        if (begun_) table_.CancelInserts();
    }

    void Begin() {
        if (!begun_) table_.BeginInserts();
        begun_ = true;
    }
    void End() {
        table_.EndInserts();
        begun_ = false;
    }

private:
    Table& table_;
    bool begun_ = false;
};

// Rows that are read from the table that they go into must all be read before the first one is written.
void InsertRows(Plan& plan, Inserter& inserter, bool collect) {
    std::vector<const Value*> row(inserter.Width());
    RowBuffer rows;
    rows.Reset(row.size());
    ManyInserts inserts(inserter.GetTable(), !collect);
    plan.root->Open();
    while (plan.root->Next()) {
        for (std::size_t i = 0; i < row.size(); ++i) row[i] = &plan.outputs[i].expression->Evaluate();
        if (!collect) {
            inserter.Add(row);
            continue;
        }
        Value* kept = rows.Add();
        for (std::size_t i = 0; i < row.size(); ++i) kept[i] = *row[i];
    }
    inserts.Begin();
    for (std::size_t i = 0; i < rows.Size(); ++i) {
        for (std::size_t j = 0; j < row.size(); ++j) row[j] = rows.At(i) + j;
        inserter.Add(row);
    }
    inserts.End();
}

// The values of a single row.
std::vector<ExpressionPtr> BindValues(BindContext& context, const ast::Insert& insert) {
    Scope scope(nullptr);
    ExpressionBinder binder(context, scope);
    std::vector<ExpressionPtr> values;
    values.reserve(insert.values.size());
    for (const ast::ExpressionPtr& value : insert.values) values.push_back(binder.Bind(*value));
    return values;
}

std::int64_t InsertValues(Catalog& catalog, Parameters& parameters, const ast::Insert& insert, Table& table) {
    Inserter inserter(table, TargetColumns(table, insert.columns));
    if (insert.values.size() != inserter.Width()) Raise(ErrorNumber::InsertCountMismatch);
    BindContext context(catalog, parameters);
    const std::vector<ExpressionPtr> values = BindValues(context, insert);
    std::vector<const Value*> row;
    row.reserve(values.size());
    for (const ExpressionPtr& value : values) row.push_back(&value->Evaluate());
    inserter.Add(row);
    return inserter.Count();
}

Column ColumnFor(const PlanOutput& output) {
    Column column;
    column.name = output.column.name;
    column.type = output.column.type;
    column.size = output.column.size;
    column.precision = output.column.precision;
    column.scale = output.column.scale;
    return column;
}

}  // namespace

void Explain(Catalog& catalog, Parameters& parameters, const ast::Insert& insert, Explanation& out) {
    const std::shared_ptr<Table> table = RequireTable(catalog, insert.table);
    std::u16string heading = u"insertion into " + table->Name();
    BindContext context(catalog, parameters);
    if (insert.select == nullptr) {
        BindValues(context, insert);
        out.AddHeading(heading);
        out.AddBelow(u"a single row");
        return;
    }
    const std::unique_ptr<Plan> plan = BindSelect(context, *insert.select, nullptr);
    if (context.UsesTable(table->Name())) heading += u", all rows held in memory first";
    ExplainPlan(heading, *plan, context, out);
}

void Explain(Catalog& catalog, Parameters& parameters, const ast::Select& select, Explanation& out) {
    BindContext context(catalog, parameters);
    const std::unique_ptr<Plan> plan = BindSelect(context, select, nullptr);
    ExplainPlan(u"new table " + select.parts.front().into, *plan, context, out);
}

std::int64_t Run(Catalog& catalog, Parameters& parameters, const ast::Insert& insert) {
    const std::shared_ptr<Table> table = RequireTable(catalog, insert.table);
    if (insert.select == nullptr) return InsertValues(catalog, parameters, insert, *table);

    BindContext context(catalog, parameters);
    const std::unique_ptr<Plan> plan = BindSelect(context, *insert.select, nullptr);
    Inserter inserter(*table,
                      insert.columns.empty() ? MatchingColumns(*table, *plan) : TargetColumns(*table, insert.columns));
    if (plan->outputs.size() != inserter.Width()) Raise(ErrorNumber::InsertCountMismatch);
    InsertRows(*plan, inserter, context.UsesTable(table->Name()));
    return inserter.Count();
}

std::int64_t Run(Catalog& catalog, Parameters& parameters, const ast::Select& select) {
    const std::u16string& name = select.parts.front().into;
    if (catalog.FindTable(name) != nullptr) Raise(ErrorNumber::TableExists, {name});
    BindContext context(catalog, parameters);
    const std::unique_ptr<Plan> plan = BindSelect(context, select, nullptr);
    TableSchema schema;
    schema.name = name;
    std::vector<std::size_t> columns;
    for (const PlanOutput& output : plan->outputs) {
        columns.push_back(columns.size());
        schema.columns.push_back(ColumnFor(output));
        // "T.ID" is no name for a column.
        if (output.column.qualified) std::ranges::replace(schema.columns.back().name, u'.', u'_');
        const Column& last = schema.columns.back();
        // An autonumber column stays one, and takes the numbers given.
        if (output.column.table != kNoPosition) {
            const Table& source = *plan->tables[output.column.table];
            schema.columns.back().autonumber = source.ColumnAt(output.column.column).autonumber;
        }
        const auto same = [&](const Column& column) { return &column != &last && EqualNames(column.name, last.name); };
        if (std::ranges::any_of(schema.columns, same)) Raise(ErrorNumber::FieldExists, {last.name});
    }
    catalog.CreateTable(schema);
    const std::shared_ptr<Table> table = RequireTable(catalog, name);
    Inserter inserter(*table, std::move(columns));
    InsertRows(*plan, inserter, false);
    return inserter.Count();
}

}  // namespace qmtrain::sql
