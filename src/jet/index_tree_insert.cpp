// Insertion into the tree of an index.
#include <algorithm>
#include <cassert>
#include <utility>

#include "jet/index_tree.h"

namespace qmtrain::jet {
namespace {

bool SameKey(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end() - kRowPointerBytes, b.begin());
}

// Where to cut: as near to the middle as both halves fit.
std::size_t CutOf(const IndexContent& content, const FileFormat& format, bool appended) {
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

// Inserts the entry into the leaf of the last insertion, if it belongs there and there is room; returns whether its key
// is new. Otherwise does and returns nothing.
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

// Puts as many of the entries into the leaf of the first one as belong and fit there, and returns how many. 0 when it
// is cheaper to insert each by itself. Nothing when a unique key is a duplicate.
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
        const auto end = std::mismatch(entry.begin(), entry.begin() + size, reference.begin());
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
        const std::size_t after = old.LowerBound(entry, at);
        merged.Append(old, at, after);
        at = after;
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

// Some programs leave nodes without a tail. Where a key past all entries leads to such a node, its last child becomes
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
        if (pager_.Read(first).Type() == PageType::IndexNode) {
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

}  // namespace qmtrain::jet
