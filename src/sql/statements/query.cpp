#include <algorithm>

#include "core/error.h"
#include "sql/binding/binder.h"
#include "sql/sql.h"

namespace qmtrain::sql {

Query::Query(std::unique_ptr<Plan> plan) : plan_(std::move(plan)) {
    columns_.reserve(plan_->outputs.size());
    for (PlanOutput& output : plan_->outputs) columns_.push_back(std::move(output.column));
    const auto is_plain = [](const OutputColumn& column) { return column.column != kNoPosition; };
    has_images_ = plan_->editable != kNoPosition && plan_->tables.size() == 1 && plan_->tables[0]->HasImages() &&
                  !plan_->table_sources[0]->KeepsValues() && std::ranges::all_of(columns_, is_plain);
}

Query::~Query() = default;

bool Query::Next() {
    if (ended_) return false;
    if (!started_) {
        started_ = true;
        plan_->root->Open();
    }
    ended_ = !plan_->root->Next();
    return !ended_;
}

void Query::Read(std::size_t column, Value& value) {
    value = plan_->outputs[column].expression->Evaluate();
}

const Value& Query::Get(std::size_t column) {
    return plan_->outputs[column].expression->Evaluate();
}

std::span<const std::uint8_t> Query::Image() {
    return plan_->table_sources[0]->Image();
}

void Query::ShowImage(std::span<const std::uint8_t> image) const {
    plan_->tables[0]->ShowImage(image);
}

void Query::ReadImage(std::size_t column, Value& value) const {
    plan_->tables[0]->ReadImage(columns_[column].column, value);
}

bool Query::IsShort() const {
    return plan_->root->IsShort();
}

bool Query::NextIsCheap() const {
    return started_ && plan_->root->NextIsCheap();
}

const std::vector<std::shared_ptr<Table>>& Query::Tables() const {
    return plan_->tables;
}

std::size_t Query::EditableTable() const {
    return plan_->editable;
}

std::uint64_t Query::Identity() {
    return plan_->table_sources[plan_->editable]->Identity();
}

bool Query::HasKeyIdentity() const {
    return plan_->table_sources[plan_->editable]->HasKeyIdentity();
}

RowId Query::Row(std::size_t table) const {
    return plan_->table_sources[table]->Row();
}

void Query::Prefetch(std::span<const RowId> rows) {
    plan_->table_sources[plan_->editable]->Prefetch(rows);
}

bool Query::MoveTo(RowId row) {
    started_ = true;
    ended_ = true;
    return plan_->table_sources[plan_->editable]->MoveTo(row) &&
           std::ranges::all_of(plan_->lookups, [](RowLookup& lookup) { return lookup.Find(); });
}

std::unique_ptr<Query> Open(Catalog& catalog, const Statement& statement, const ParameterValues& parameters) {
    if (!statement.YieldsRows()) Raise(ErrorNumber::OperationNotSupported, {statement.ToSql()});
    Parameters known(statement.Tree(), parameters);
    BindContext context(catalog, known);
    return std::make_unique<Query>(BindSelect(context, std::get<ast::Select>(statement.Tree().node), nullptr));
}

std::vector<OutputColumn> ColumnsOf(Catalog& catalog, const ast::Select& select) {
    const ast::Statement no_parameters;
    Parameters parameters(no_parameters);
    BindContext context(catalog, parameters);
    std::vector<OutputColumn> columns;
    const std::unique_ptr<Plan> plan = BindSelect(context, select, nullptr);
    for (PlanOutput& output : plan->outputs) columns.push_back(std::move(output.column));
    return columns;
}

}  // namespace qmtrain::sql
