#include "sql/running/union.h"

#include "core/convert.h"

namespace qmtrain::sql {

UnionSource::UnionSource(std::vector<std::unique_ptr<Plan>> plans, std::vector<ColumnInfo> columns)
    : plans_(std::move(plans)), row_(columns.size()) {
    infos_ = std::move(columns);
    for (std::size_t i = 0; i < infos_.size(); ++i) SlotFor(i);
}

void UnionSource::OnRow(std::size_t plan) {
    for (std::size_t i = 0; i < row_.size(); ++i) {
        const Value& value = plans_[plan]->outputs[i].expression->Evaluate();
        const Value::Type type = infos_[i].type;
        if (value.IsNull() || type == Value::Type::Empty || type == value.GetType())
            row_[i] = value;
        else
            row_[i] = Convert(value, type);
    }
    current_ = 0;
    Show(row_.data());
}

RowHandle UnionSource::Keep() {
    if (current_ != 0) return current_;
    Value* row = kept_.Add();
    for (std::size_t i = 0; i < row_.size(); ++i) row[i] = row_[i];
    return static_cast<RowHandle>(kept_.Size());
}

bool UnionSource::Restore(RowHandle handle) {
    current_ = handle;
    Show(kept_.At(handle - 1));
    return true;
}

void UnionSource::Forget() {
    kept_.Reset(row_.size());
    current_ = 0;
}

const Value& UnionSource::Load(std::size_t slot) {
    return row_[slot];
}

void UnionRows::Open() {
    plan_ = 0;
    seen_.Clear();
    source_.Forget();
    source_.GetPlan(0).Start();
}

bool UnionRows::Next() {
    while (true) {
        while (source_.GetPlan(plan_).root->Next()) {
            source_.OnRow(plan_);
            if (plan_ >= distinct_parts_ || IsNew()) return true;
        }
        if (plan_ + 1 >= source_.PlanCount()) return false;
        source_.GetPlan(++plan_).Start();
    }
}

bool UnionRows::IsNew() {
    key_.clear();
    for (std::size_t i = 0; i < source_.Columns().size(); ++i)
        AppendKey(source_.Get(i), key_, NeedsExactKeys(source_.Columns()[i].type));
    bool added = false;
    seen_.FindOrAdd(key_, added);
    return added;
}

void UnionRows::Explain(Explanation& out) const {
    out.Add(u"union", *this);
    for (std::size_t i = 0; i < source_.PlanCount(); ++i) out.AddChild(*source_.GetPlan(i).root);
}

void UnionRows::Reset() {
    for (std::size_t i = 0; i < source_.PlanCount(); ++i) source_.GetPlan(i).root->Reset();
}

}  // namespace qmtrain::sql
