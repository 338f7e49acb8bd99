// Erasing from the tree of an index.
#include <utility>

#include "jet/index_cursor.h"

namespace qmtrain::jet {

bool IndexTree::Erase(std::span<const std::uint8_t> entry) {
    Path path = Descend(entry);
    const std::size_t level = path.size() - 1;
    bool was_last = false;
    bool empty = false;
    {
        const Page leaf = pager_.Read(path[level].page);
        const IndexEntries view = Entries(leaf);
        const std::size_t place = view.LowerBound(entry);
        Bytes found;
        if (place < view.End()) view.Entry(place, found);
        if (!std::equal(found.begin(), found.end(), entry.begin(), entry.end())) return false;
        was_last = view.Following(place) == view.End();
        empty = was_last && place == 0;
        MutablePage changed = pager_.Write(leaf.Number());
        if (!EraseInPlace(changed, view, place)) {
            IndexContent content = IndexContent::Read(View(leaf));
            content.entries.Erase(0, 1);
            content.Store(changed, table_);
        }
    }
    if (empty && level > 0) {
        RemovePage(path, level);
    } else if (was_last) {
        CorrectSeparators(path, level);
    }
    return true;
}

bool IndexTree::EraseByRow(RowPointer row) {
    IndexCursor cursor(*this);
    cursor.StartForward({});
    while (cursor.Next()) {
        if (RowPointerOf(cursor.Entry()) == row) return Erase(Bytes(cursor.Entry()));
    }
    return false;
}

// Takes an empty page out of the tree.
void IndexTree::RemovePage(Path& path, std::size_t level) {
    if (hints_ != nullptr) hints_->Clear();
    const PageNumber number = path[level].page;
    {
        const Page page = pager_.Read(number);
        const IndexPage view = View(page);
        if (view.Previous() != 0) SetNext(view.Previous(), view.Next());
        if (view.Next() != 0) SetPrevious(view.Next(), view.Previous());
    }
    Map().Remove(number);
    allocator_.Free(number, PageType::Unwritten);

    const Step& step = path[level - 1];
    IndexContent parent = IndexContent::Read(View(pager_.Read(step.page)));
    if (step.child < parent.entries.Size()) {
        parent.entries.Erase(step.child, step.child + 1);
    } else if (parent.entries.Empty()) {
        parent.tail = 0;
    } else {
        const std::size_t last = parent.entries.Size() - 1;
        parent.tail = ChildOf(parent.entries[last]);
        parent.entries.Erase(last, last + 1);
    }
    const bool empty = parent.entries.Empty() && parent.tail == 0;
    if (empty && level == 1) parent = IndexContent{};  // the root becomes an empty leaf
    {
        MutablePage page = pager_.Write(step.page);
        parent.Store(page, table_);
    }
    if (!empty) {
        CorrectSeparators(path, level - 1);
    } else if (level > 1) {
        RemovePage(path, level - 1);
    }
}

// After the last entry below path[level] has changed: corrects the ancestors that name it.
void IndexTree::CorrectSeparators(Path& path, std::size_t level) {
    const std::optional<Bytes> last = LastEntryBelow(path[level].page);
    if (!last) return;
    while (level-- > 0) {
        const Step& step = path[level];
        IndexContent node = IndexContent::Read(View(pager_.Read(step.page)));
        if (step.child >= node.entries.Size()) continue;  // a tail has no entry
        node.entries.Replace(step.child, NodeEntry(*last, ChildOf(node.entries[step.child])));
        const bool also_last = node.tail == 0 && step.child + 1 == node.entries.Size();
        const std::size_t depth = path.size();
        Put(path, level, std::move(node), false);
        if (!also_last) return;
        level += path.size() - depth;  // a root that was pushed down
    }
}

std::optional<Bytes> IndexTree::LastEntryBelow(PageNumber number) const {
    for (std::size_t depth = 0; depth < kMaxDepth; ++depth) {
        const Page page = pager_.Read(number);
        const IndexPage view = View(page);
        if (view.IsLeaf()) {
            if (view.Count() == 0) return std::nullopt;
            Bytes entry;
            view.Entry(view.Count() - 1, entry);
            return entry;
        }
        if (view.Tail() == 0 && view.Count() == 0) return std::nullopt;
        number = view.Tail() != 0 ? view.Tail() : view.Child(view.Count() - 1);
    }
    pager_.Damaged(root_, u"索引的层数错误");
}

}  // namespace qmtrain::jet
