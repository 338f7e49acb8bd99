#include "jet/index_cursor.h"

namespace qmtrain::jet {

void IndexCursor::StartForward(std::span<const std::uint8_t> from, const std::optional<Bytes>& to) {
    forward_ = true;
    to_end_ = false;
    entry_.assign(from.begin(), from.end());
    bounded_ = to.has_value();
    if (to) bound_ = *to;
    strictly_ = false;
    located_ = false;
    pages_walked_ = 0;
}

void IndexCursor::StartBackward(std::optional<std::span<const std::uint8_t>> from, const Bytes& to) {
    forward_ = false;
    to_end_ = !from.has_value();
    entry_.clear();
    if (from) entry_.assign(from->begin(), from->end());
    bounded_ = !to.empty();
    bound_ = to;
    strictly_ = true;
    located_ = false;
    pages_walked_ = 0;
}

void IndexCursor::Load(PageNumber number) {
    Pager& pager = tree_.GetPager();
    if (pages_walked_++ > pager.PageCount()) pager.Damaged(tree_.Root(), u"索引的页链成环");
    view_.reset();
    page_ = pager.Read(number);
    generation_ = pager.Generation();
    changes_ = page_.Changes();
    view_.emplace(page_.View(), pager.GetFormat(), tree_.Table());
    if (!view_->IsLeaf()) pager.Damaged(number, u"索引的页链错误");
}

void IndexCursor::SetStop() {
    stop_ = bounded_ ? view_->LowerBound(bound_) : forward_ ? view_->End() : 0;
}

void IndexCursor::GoTo(PageNumber number) {
    Load(number);
    SetStop();
}

// Goes to where the next entry stands: on the leaf at hand, or by the tree.
void IndexCursor::Find() {
    pages_walked_ = 0;  // a way through the tree is no step along the chain of leaves
    if (to_end_ || !IsFresh() || !view_->Encloses(entry_)) {
        Load(to_end_ ? tree_.LastLeaf() : tree_.FindLeaf(entry_));
    }
    located_ = true;
    if (to_end_) {
        position_ = view_->End();
        SetStop();
        return;
    }
    position_ = view_->LowerBound(entry_);
    if (forward_ && bounded_ && position_ < view_->End() && view_->Compare(position_, bound_) < 0)
        stop_ = view_->LowerBound(bound_, position_);
    else
        SetStop();
    if (!forward_ || !strictly_ || position_ == view_->End()) return;
    if (view_->Compare(position_, entry_) == 0) position_ = view_->Following(position_);
}

bool IndexCursor::Next() {
    if (!located_ || !IsFresh()) Find();
    if (!Step()) return false;
    to_end_ = false;
    strictly_ = true;
    return true;
}

std::int64_t IndexCursor::CountRest() {
    if (!located_ || !IsFresh()) Find();
    located_ = false;
    std::int64_t entries = 0;
    for (;;) {
        entries += view_->Count(position_, stop_);
        if (stop_ < view_->End() || view_->Next() == 0) return entries;
        GoTo(view_->Next());
        position_ = 0;
    }
}

bool IndexCursor::Step() {
    if (forward_) {
        while (position_ >= stop_) {
            if (stop_ < view_->End() || view_->Next() == 0) return false;
            GoTo(view_->Next());
            position_ = 0;
        }
        view_->Entry(position_, entry_);
        position_ = view_->Following(position_);
        return true;
    }
    while (position_ <= stop_) {
        if (stop_ > 0 || view_->Previous() == 0) return false;
        GoTo(view_->Previous());
        position_ = view_->End();
    }
    position_ = view_->Preceding(position_);
    view_->Entry(position_, entry_);
    return true;
}

}  // namespace qmtrain::jet
