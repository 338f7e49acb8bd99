#include "sql/running/derived.h"

namespace qmtrain::sql {

// ---- DerivedSource ----

DerivedSource::DerivedSource(std::unique_ptr<Plan> plan) : plan_(std::move(plan)) {
    for (const PlanOutput& output : plan_->outputs) {
        infos_.push_back({output.column.name, output.expression->Type(), DataTypeOf(output.column)});
    }
}

RowHandle DerivedSource::Keep() {
    if (IsNullRow()) return 0;
    if (current_ != 0) return current_;
    Value* row = kept_.Add();
    for (std::size_t slot = 0; slot < SlotCount(); ++slot) row[slot] = Get(slot);
    return static_cast<RowHandle>(kept_.Size());
}

bool DerivedSource::Restore(RowHandle handle) {
    if (handle == 0) {
        SetNull();
    } else {
        current_ = handle;
        Show(kept_.At(handle - 1));
    }
    return true;
}

void DerivedSource::Forget() {
    kept_.Reset(SlotCount());
    values_.resize(SlotCount());
    stamps_.resize(SlotCount(), 0);
    current_ = 0;
}

const Value& DerivedSource::Load(std::size_t slot) {
    if (stamps_[slot] != stamp_) {
        const std::size_t column = ColumnOfSlot(slot);
        values_[slot] = &plan_->outputs[column].expression->Evaluate();
        stamps_[slot] = stamp_;
    }
    return *values_[slot];
}

// ---- DerivedAccess ----

void DerivedAccess::Open() {
    source_.Forget();
    source_.GetPlan().Start();
}

bool DerivedAccess::Next() {
    if (!source_.GetPlan().root->Next()) return false;
    source_.OnRow();
    return true;
}

void DerivedAccess::Reset() {
    source_.GetPlan().root->Reset();
}

void DerivedAccess::Explain(Explanation& out) const {
    out.Add(u"rows of a query", *this);
    out.AddChild(*source_.GetPlan().root);
}

}  // namespace qmtrain::sql
