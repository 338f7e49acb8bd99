#include "sql/row_rules.h"

#include "core/error.h"
#include "sql/parse/parser.h"
#include "sql/statements/without_tables.h"

namespace qmtrain::sql {
namespace {

std::vector<ColumnInfo> InfosOf(const std::vector<Column>& columns) {
    std::vector<ColumnInfo> infos;
    infos.reserve(columns.size());
    for (const Column& column : columns) infos.push_back({column.name, ValueTypeOf(column.type), DataTypeOf(column)});
    return infos;
}

// The rule's own text, or one made of its condition.
std::u16string MessageOf(const ValidationRule& rule, std::u16string_view name) {
    if (!rule.text.empty()) return rule.text;
    return u"“" + std::u16string(name) + u"”的值不符合有效性规则“" + rule.condition + u"”。";
}

}  // namespace

struct RowRules::Impl {
    struct Rule {
        ExpressionPtr condition;  // none: there is no rule
        std::u16string message;
    };

    Impl(const std::u16string& table, const std::vector<Column>& its_columns, const ValidationRule& of_rows)
        : columns(its_columns), source(InfosOf(its_columns)), of_columns(its_columns.size()) {
        WithoutTables binder;
        Scope scope(nullptr);
        scope.Add(table, source);
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const Column& column = columns[i];
            if (column.validation.condition.empty()) continue;
            const ast::ExpressionPtr tree = Parser(column.validation.condition).ParseColumnRule(column.name);
            of_columns[i] = {binder.Bind(*tree, scope), MessageOf(column.validation, table + u"." + column.name)};
        }
        if (of_rows.condition.empty()) return;
        of_whole = {binder.Bind(*Parser(of_rows.condition).ParseWholeExpression(), scope), MessageOf(of_rows, table)};
    }

    void Show(std::span<const Value> row) {
        source.Clear();
        Value* shown = source.Rows().Add();
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const bool none = row[i].IsNull() || row[i].IsEmpty();
            const Value missing = columns[i].type == ColumnType::Boolean ? Value(false) : Value(Null{});
            shown[i] = none ? missing : row[i];
        }
        source.Restore(1);
    }

    static void Test(const Rule& rule, ErrorNumber error) {
        if (rule.condition != nullptr && rule.condition->Test() == Truth::False) Raise(error, {rule.message});
    }

    const std::vector<Column>& columns;
    RowsSource source;
    std::vector<Rule> of_columns;
    Rule of_whole;
};

RowRules::RowRules(const std::u16string& table, const std::vector<Column>& columns, const ValidationRule& of_rows)
    : impl_(std::make_unique<Impl>(table, columns, of_rows)) {}

RowRules::~RowRules() = default;

bool RowRules::Concern(std::span<const Assignment> changes) const {
    if (impl_->of_whole.condition != nullptr) return !changes.empty();
    for (const Assignment& change : changes) {
        if (impl_->of_columns[change.column].condition != nullptr) return true;
    }
    return false;
}

void RowRules::Check(std::span<const Value> row) {
    impl_->Show(row);
    for (const Impl::Rule& rule : impl_->of_columns) Impl::Test(rule, ErrorNumber::FieldRuleBroken);
    Impl::Test(impl_->of_whole, ErrorNumber::TableRuleBroken);
}

void RowRules::CheckChange(std::span<const Value> row, std::span<const Assignment> changes) {
    impl_->Show(row);
    for (const Assignment& change : changes) Impl::Test(impl_->of_columns[change.column], ErrorNumber::FieldRuleBroken);
    Impl::Test(impl_->of_whole, ErrorNumber::TableRuleBroken);
}

}  // namespace qmtrain::sql
