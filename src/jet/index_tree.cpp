#include "jet/index_tree.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace qmtrain::jet {
namespace {

constexpr std::size_t kMaxDepth = 16;

PageNumber ChildOf(std::span<const std::uint8_t> node_entry) {
    return GetBig32(node_entry.last(kChildBytes).data());
}

Bytes NodeEntry(std::span<const std::uint8_t> leaf_entry, PageNumber child) {
    Bytes entry(leaf_entry.begin(), leaf_entry.end());
    entry.resize(entry.size() + kChildBytes);
    PutBig32(&entry[entry.size() - kChildBytes], child);
    return entry;
}

bool SameKey(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end() - kRowPointerBytes, b.begin());
}

bool IsNode(const Page& page) {
    return page.Type() == PageType::IndexNode;
}

}  // namespace

void IndexTree::FormatRoot(MutablePage& page, PageNumber table) {
    IndexContent{}.Store(page, table);
}

IndexPage IndexTree::View(const Page& page) const {
    return {page.View(), pager_.GetFormat(), table_};
}

IndexEntries IndexTree::Entries(const Page& page) const {
    return {page.View(), pager_.GetFormat(), table_};
}

bool IndexTree::IsLeaf(const Page& page) const {
    const bool leaf = page.Type() == PageType::IndexLeaf;
    if (!leaf && !IsNode(page)) pager_.Damaged(page.Number(), u"此页不是索引页");
    return leaf;
}

IndexTree::Path IndexTree::Descend(std::span<const std::uint8_t> key) const {
    Path path;
    for (PageNumber number = root_;;) {
        if (path.size() == kMaxDepth) pager_.Damaged(root_, u"索引的层数错误");
        const Page page = pager_.Read(number);
        if (IsLeaf(page)) {
            path.push_back({number, 0, false});
            return path;
        }
        const IndexEntries view = Entries(page);
        std::size_t place = view.LowerBound(key);
        const bool lacks_tail = place == view.End() && view.Tail() == 0;
        if (lacks_tail) {
            if (view.Empty()) pager_.Damaged(number, u"索引节点没有子页");
            place = view.Preceding(place);
        }
        path.push_back({number, view.Count(0, place), lacks_tail});
        number = place == view.End() ? view.Tail() : view.Child(place);
        if (number == root_) pager_.Damaged(root_, u"索引的页链成环");
    }
}

PageNumber IndexTree::FindLeaf(std::span<const std::uint8_t> key) const {
    PageNumber number = root_;
    for (std::size_t depth = 0; depth < kMaxDepth; ++depth) {
        const Page page = pager_.Read(number);
        if (IsLeaf(page)) return number;
        const IndexEntries view = Entries(page);
        std::size_t place = view.LowerBound(key);
        if (place == view.End() && view.Tail() == 0) {
            if (view.Empty()) pager_.Damaged(number, u"索引节点没有子页");
            place = view.Preceding(place);
        }
        number = place == view.End() ? view.Tail() : view.Child(place);
        if (number == root_) pager_.Damaged(root_, u"索引的页链成环");
    }
    pager_.Damaged(root_, u"索引的层数错误");
}

double IndexTree::Position(std::span<const std::uint8_t> key) const {
    double position = 0;
    double width = 1;
    PageNumber number = root_;
    for (std::size_t depth = 0; depth < kMaxDepth; ++depth) {
        const Page page = pager_.Read(number);
        const bool leaf = IsLeaf(page);
        const IndexEntries view = Entries(page);
        const std::size_t place = view.LowerBound(key);
        const auto before = static_cast<double>(view.Count(0, place));
        const auto all = static_cast<double>(view.Count(0, view.End())) + (view.Tail() != 0 ? 1 : 0);
        if (all == 0) return position;
        position += width * std::min(before / all, 1.0);
        width /= all;
        if (leaf || (place == view.End() && view.Tail() == 0)) return position;
        number = place == view.End() ? view.Tail() : view.Child(place);
    }
    return position;
}

PageNumber IndexTree::LastLeaf() const {
    PageNumber number = root_;
    for (std::size_t depth = 0; depth < kMaxDepth; ++depth) {
        const Page page = pager_.Read(number);
        const IndexEntries view = Entries(page);
        if (view.IsLeaf()) return number;
        if (view.Tail() == 0 && view.Empty()) pager_.Damaged(number, u"索引节点没有子页");
        number = view.Tail() != 0 ? view.Tail() : view.Child(view.Preceding(view.End()));
    }
    pager_.Damaged(root_, u"索引的层数错误");
}

bool IndexTree::ContainsKey(std::span<const std::uint8_t> key, RowPointer except) const {
    IndexCursor cursor(*this);
    cursor.StartForward(key);
    while (cursor.Next()) {
        const Bytes& entry = cursor.Entry();
        if (entry.size() < key.size() || !std::equal(key.begin(), key.end(), entry.begin())) return false;
        if (entry.size() == key.size() + kRowPointerBytes && RowPointerOf(entry) != except) return true;
    }
    return false;
}

// Insertion

bool IndexTree::IsNewKey(const IndexEntries& view, std::size_t place, std::span<const std::uint8_t> entry) const {
    if (place < view.End()) {
        view.Entry(place, neighbour_);
        if (std::equal(neighbour_.begin(), neighbour_.end(), entry.begin(), entry.end())) {
            pager_.Damaged(root_, u"索引中已有此行");
        }
        if (SameKey(neighbour_, entry)) return false;
    }
    if (place == 0) return true;
    view.Entry(view.Preceding(place), neighbour_);
    return !SameKey(neighbour_, entry);
}

std::optional<bool> IndexTree::HintContains(std::span<const std::uint8_t> key) const {
    if (hints_ == nullptr) return std::nullopt;
    const LeafHints::Hint hint = hints_->Get(number_, pager_.Generation());
    if (hint.leaf == 0) return std::nullopt;
    const Page page = pager_.Read(hint.leaf);
    const IndexEntries view = Entries(page);
    if (!view.IsLeaf() || view.Empty()) return std::nullopt;
    if (hint.tail && view.Next() == 0 && view.Compare(view.Preceding(view.End()), key) < 0) return false;
    if (!view.Encloses(key)) return std::nullopt;
    // No key is the beginning of another one.
    view.Entry(view.LowerBound(key), neighbour_);
    return neighbour_.size() == key.size() + kRowPointerBytes && std::equal(key.begin(), key.end(), neighbour_.begin());
}

// Puts the entry into the leaf of the last one, where it belongs there and there is room; else nothing is done. Whether
// the key is new is told.
std::optional<bool> IndexTree::InsertIntoHint(std::span<const std::uint8_t> entry) {
    if (hints_ == nullptr) return std::nullopt;
    const LeafHints::Hint hint = hints_->Get(number_, pager_.Generation());
    if (hint.leaf == 0) return std::nullopt;
    const Page page = pager_.Read(hint.leaf);
    const IndexEntries view = Entries(page);
    const bool appends =
        hint.tail && view.Next() == 0 && !view.Empty() && view.Compare(view.Preceding(view.End()), entry) < 0;
    if (!view.IsLeaf() || (!appends && !view.Encloses(entry))) return std::nullopt;
    const std::size_t place = view.LowerBound(entry);
    if (view.Prefix() == 0 && entry.size() > pager_.GetFormat().IndexCapacity() - view.End()) return std::nullopt;
    const bool new_key = IsNewKey(view, place, entry);
    MutablePage leaf = pager_.Write(hint.leaf);
    if (!InsertInPlace(leaf, view, place, entry)) return std::nullopt;
    return new_key;
}

bool IndexTree::Insert(std::span<const std::uint8_t> entry) {
    if (const auto new_key = InsertIntoHint(entry)) return *new_key;
    Path path = Descend(entry);
    if (GiveTails(path)) path = Descend(entry);
    IndexContent content;
    std::size_t at = 0;
    bool new_key = true;
    if (hints_ != nullptr) {
        const bool tail = std::ranges::none_of(path, &Step::lacks_tail);
        hints_->Set(number_, {path.back().page, tail}, pager_.Generation());
    }
    {
        MutablePage leaf = pager_.Write(path.back().page);
        const IndexEntries view = Entries(leaf);
        const std::size_t place = view.LowerBound(entry);
        new_key = IsNewKey(view, place, entry);
        if (InsertInPlace(leaf, view, place, entry)) return new_key;
        at = view.Count(0, place);
        content = IndexContent::Read(View(leaf));
    }
    content.entries.Insert(at, entry);
    const bool appended = at + 1 == content.entries.Size();
    Put(path, path.size() - 1, std::move(content), appended);
    return new_key;
}

std::optional<std::size_t> IndexTree::InsertSorted(std::span<const SortedEntry> entries) {
    std::size_t new_keys = 0;
    while (!entries.empty()) {
        std::optional<std::size_t> merged = Merge(entries, new_keys);
        if (!merged) return std::nullopt;
        if (*merged == 0) {
            const SortedEntry& entry = entries.front();
            if (entry.unique) {
                const auto key = entry.bytes.first(entry.bytes.size() - kRowPointerBytes);
                const std::optional<bool> known = HintContains(key);
                if (known ? *known : ContainsKey(key, {})) return std::nullopt;
            }
            new_keys += Insert(entry.bytes) ? 1 : 0;
            merged = 1;
        }
        entries = entries.subspan(*merged);
    }
    return new_keys;
}

// How many of the entries, from the first on, belong into the leaf that the path of the first leads to.
std::size_t IndexTree::ForLeaf(const Path& path, std::span<const SortedEntry> entries) const {
    const PageNumber number = path.back().page;
    const Page page = pager_.Read(number);
    const IndexEntries leaf = Entries(page);
    if (leaf.Next() == 0) {
        const Path last = Descend(entries.back().bytes);
        if (last.back().page == number && std::ranges::none_of(last, &Step::lacks_tail)) return entries.size();
    }
    if (leaf.Empty()) return 0;
    const std::size_t last = leaf.Preceding(leaf.End());
    const auto end = std::ranges::partition_point(
        entries, [&](const SortedEntry& entry) { return leaf.Compare(last, entry.bytes) >= 0; });
    return static_cast<std::size_t>(end - entries.begin());
}

// Puts as many of the entries into the leaf of the first one as belong and fit there, and returns how many. 0 when that
// is no gain: each is better put in by itself. Nothing when a unique key is there already.
std::optional<std::size_t> IndexTree::Merge(std::span<const SortedEntry> entries, std::size_t& new_keys) {
    constexpr std::size_t kWorthwhile = 4;
    if (entries.size() < kWorthwhile) return 0;
    const Path path = Descend(entries.front().bytes);
    if (std::ranges::any_of(path, &Step::lacks_tail)) return 0;
    entries = entries.first(ForLeaf(path, entries));
    if (entries.size() < kWorthwhile) return 0;
    IndexContent content = IndexContent::Read(View(pager_.Read(path.back().page)));
    const EntryList& old = content.entries;
    const std::size_t capacity = pager_.GetFormat().IndexCapacity();
    const auto reference = old.Empty() ? entries.front().bytes : old.Front();
    const auto common = [&](std::span<const std::uint8_t> entry, std::size_t most) {
        const std::size_t size = std::min({reference.size(), entry.size(), most});
        const auto end =
            std::mismatch(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(size), reference.begin());
        return static_cast<std::size_t>(end.first - entry.begin());
    };
    std::size_t bytes = old.TotalBytes();
    const std::size_t longest = std::min(reference.size(), pager_.GetFormat().MaxIndexPrefix());
    std::size_t prefix = old.Empty() ? longest : common(old.Back(), longest);

    EntryList merged;
    merged.Reserve(old.Size() + std::min(entries.size(), capacity), old.TotalBytes() + capacity);
    std::size_t at = 0;  // in the old ones
    std::size_t taken = 0;
    for (; taken < entries.size(); ++taken) {
        const std::span<const std::uint8_t> entry = entries[taken].bytes;
        prefix = common(entry, prefix);
        bytes += entry.size();
        if (bytes > capacity && bytes - prefix * (old.Size() + taken) > capacity) break;
        std::size_t behind = at;
        while (behind < old.Size() && std::ranges::lexicographical_compare(old[behind], entry)) ++behind;
        merged.Append(old, at, behind);
        at = behind;
        if (at < old.Size() && std::ranges::equal(old[at], entry)) pager_.Damaged(root_, u"索引中已有此行");
        const bool known =
            (at < old.Size() && SameKey(old[at], entry)) || (!merged.Empty() && SameKey(merged.Back(), entry));
        // Before the first entry of a leaf the one before it may have the same key.
        const bool twice =
            known || (merged.Empty() && ContainsKey(entry.first(entry.size() - kRowPointerBytes), RowPointer()));
        if (entries[taken].unique && twice) return std::nullopt;
        new_keys += known ? 0 : 1;
        merged.Append(entry);
    }
    if (taken == 0) return 0;
    merged.Append(old, at, old.Size());
    content.entries = std::move(merged);
    MutablePage leaf = pager_.Write(path.back().page);
    content.Store(leaf, table_);
    return taken;
}

// Some programs leave nodes without a tail. Where a key behind all entries leads to such a node, its last child becomes
// the tail: then a new last entry needs no change above the leaf. True when something was changed.
bool IndexTree::GiveTails(const Path& path) {
    bool changed = false;
    for (const Step& step : path) {
        if (!step.lacks_tail) continue;
        MutablePage page = pager_.Write(step.page);
        IndexContent content = IndexContent::Read(View(page));
        const std::size_t last = content.entries.Size() - 1;
        content.tail = ChildOf(content.entries[last]);
        content.entries.Erase(last, last + 1);
        content.Store(page, table_);
        changed = true;
    }
    return changed;
}

void IndexTree::Put(Path& path, std::size_t level, IndexContent content, bool appended) {
    if (content.Fits(pager_.GetFormat())) {
        MutablePage page = pager_.Write(path[level].page);
        content.Store(page, table_);
        return;
    }
    Split(path, level, std::move(content), appended);
}

// The root's content moves to a page of its own, so that the root can stay the root.
void IndexTree::PushDownRoot(Path& path) {
    const PageNumber child = NewPage();
    MutablePage root = pager_.Write(root_);
    IndexContent node;
    node.leaf = false;
    node.tail = child;
    node.Store(root, table_);
    path.insert(path.begin(), {root_, 0, false});
    path[1].page = child;
}

namespace {

// Where to cut: as near to the middle as both halves fit.
std::size_t CutOf(const IndexContent& content, const Format& format, bool appended) {
    const std::size_t count = content.entries.Size();
    if (appended && content.leaf && content.Fits(format, 0, count - 1)) return count - 1;
    std::size_t middle = 0;
    while (content.entries.TotalBytes(0, middle) < content.entries.TotalBytes() / 2) ++middle;
    for (std::size_t distance = 0; distance < count; ++distance) {
        for (const std::size_t cut : {middle - std::min(distance, middle), middle + distance}) {
            if (cut > 0 && cut < count && content.Fits(format, 0, cut) && content.Fits(format, cut, count)) return cut;
        }
    }
    return 0;
}

}  // namespace

// The lower part moves to a new page in front, so that the parent's entry for the old page stays right.
void IndexTree::Split(Path& path, std::size_t level, IndexContent upper, bool appended) {
    if (level == 0) {
        PushDownRoot(path);
        level = 1;
    }
    appended = appended && upper.next == 0;
    const std::size_t cut = CutOf(upper, pager_.GetFormat(), appended);
    if (cut == 0) pager_.Damaged(path[level].page, u"索引项太长");

    const PageNumber fresh = NewPage();
    const PageNumber old = path[level].page;
    IndexContent lower{upper.leaf, upper.previous, old, 0, {}};
    lower.entries.Append(upper.entries, 0, cut);
    upper.entries.Erase(0, cut);
    if (upper.previous != 0) SetNext(upper.previous, fresh);
    upper.previous = fresh;

    Bytes separator(lower.entries.Back().begin(), lower.entries.Back().end());
    if (!lower.leaf) {
        lower.tail = ChildOf(separator);
        lower.entries.Erase(cut - 1, cut);
        separator.resize(separator.size() - kChildBytes);
        // Pages of a level are linked as far as they share a parent; leaves always are.
        const PageNumber first = !upper.entries.Empty() ? ChildOf(upper.entries.Front()) : upper.tail;
        if (IsNode(pager_.Read(first))) {
            SetNext(lower.tail, 0);
            SetPrevious(first, 0);
        }
    }
    {
        MutablePage page = pager_.Write(fresh);
        lower.Store(page, table_);
        page = pager_.Write(old);
        upper.Store(page, table_);
    }
    Step& parent = path[level - 1];
    IndexContent above = IndexContent::Read(View(pager_.Read(parent.page)));
    above.entries.Insert(parent.child, NodeEntry(separator, fresh));
    ++parent.child;
    Put(path, level - 1, std::move(above), false);
}

PageNumber IndexTree::NewPage() {
    const PageNumber number = allocator_.Allocate().Number();
    Map().Add(number);
    return number;
}

void IndexTree::SetPrevious(PageNumber page, PageNumber previous) {
    jet::Put(pager_.Write(page).Data() + pager_.GetFormat().index_previous, previous);
}

void IndexTree::SetNext(PageNumber page, PageNumber next) {
    jet::Put(pager_.Write(page).Data() + pager_.GetFormat().index_previous + 4, next);
}

// Erasing

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

// After the last entry below path[level] became another one: the ancestors that name it are told.
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

// IndexCursor

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
        entries += static_cast<std::int64_t>(view_->Count(position_, stop_));
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
