// The B+ tree of one index: searching, inserting, erasing.
//
// All rows stand in the leaves, which are linked in key order. A node names its children by the last leaf entry below
// each; the last child of a node, its tail, has no entry, so that keys appended at the end change no node. The root
// page never moves.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "jet/index_entries.h"
#include "jet/table_definition.h"
#include "jet/usage_map.h"

namespace qmtrain::jet {

// The leaf of each index of a table that an entry was put into last: the next one often belongs there too. Valid as
// long as no page leaves any of the trees, and no other session changes the file.
class LeafHints {
public:
    struct Hint {
        PageNumber leaf = 0;  // 0: none
        bool tail = false;    // if it is the last leaf, the nodes above have it as their tail
    };

    explicit LeafHints(std::size_t indexes) : leaves_(indexes) {}

    Hint Get(std::size_t index, std::uint64_t generation) const {
        return generation == generation_ ? leaves_[index] : Hint();
    }
    void Set(std::size_t index, Hint hint, std::uint64_t generation) {
        if (generation != generation_) Clear();
        generation_ = generation;
        leaves_[index] = hint;
    }
    void Clear() { leaves_.assign(leaves_.size(), Hint()); }

private:
    std::vector<Hint> leaves_;
    std::uint64_t generation_ = 0;
};

class IndexTree {
public:
    IndexTree(Pager& pager, PageAllocator& allocator, PageNumber table, const RealIndex& index,
              LeafHints* hints = nullptr, std::size_t number = 0)
        : pager_(pager),
          allocator_(allocator),
          table_(table),
          root_(index.root),
          map_(index.map),
          hints_(hints),
          number_(number) {}

    // Makes `page` an empty leaf.
    static void FormatRoot(MutablePage& page, PageNumber table);

    // An entry, key and row pointer, of many in their order.
    struct SortedEntry {
        std::span<const std::uint8_t> bytes;
        bool unique = false;  // its key may not be a duplicate
    };

    // Puts in entries that are in order, leaf by leaf. Returns how many of their keys are new, as far as their pages
    // show; nothing when a unique key is a duplicate; some of the entries may be in the tree then.
    std::optional<std::size_t> InsertSorted(std::span<const SortedEntry> entries);

    // `entry` = key and row pointer. Tells whether the key is new, as far as its page shows. Raises FileDamaged when
    // the entry stands there already.
    bool Insert(std::span<const std::uint8_t> entry);

    // False when the entry is not there.
    bool Erase(std::span<const std::uint8_t> entry);

    // Erases the entry of a row whose key cannot be computed, by looking at all entries.
    bool EraseByRow(RowPointer row);

    // Whether an entry with exactly this key stands in the tree; `except` does not count.
    bool ContainsKey(std::span<const std::uint8_t> key, RowPointer except) const;

    // The same, if the leaf of the last insertion shows it.
    std::optional<bool> HintContains(std::span<const std::uint8_t> key) const;

    // The leaf that holds the first entry not below `key`, or that it would be put into.
    PageNumber FindLeaf(std::span<const std::uint8_t> key) const;
    PageNumber LastLeaf() const;

    // About which part of all entries stands below `key`, from 0 to 1.
    double Position(std::span<const std::uint8_t> key) const;

    Pager& GetPager() const { return pager_; }
    PageNumber Table() const { return table_; }
    PageNumber Root() const { return root_; }

private:
    static constexpr std::size_t kMaxDepth = 16;

    // One page on the way down and the entry of the child taken; `child` == Count() stands for the tail.
    struct Step {
        PageNumber page = 0;
        std::size_t child = 0;
        bool lacks_tail = false;  // though the way led past its last entry
    };
    using Path = std::vector<Step>;

    IndexPage View(const Page& page) const;
    IndexEntries Entries(const Page& page) const;
    bool IsLeaf(const Page& page) const;
    Path Descend(std::span<const std::uint8_t> key) const;
    std::optional<bool> InsertIntoHint(std::span<const std::uint8_t> entry);
    bool IsNewKey(const IndexEntries& view, std::size_t place, std::span<const std::uint8_t> entry) const;
    bool GiveTails(const Path& path);
    std::size_t ForLeaf(const Path& path, std::span<const SortedEntry> entries) const;
    std::optional<std::size_t> Merge(std::span<const SortedEntry> entries, std::size_t& new_keys);

    void Put(Path& path, std::size_t level, IndexContent content, bool appended);
    void Split(Path& path, std::size_t level, IndexContent content, bool appended);
    void PushDownRoot(Path& path);
    void RemovePage(Path& path, std::size_t level);
    void CorrectSeparators(Path& path, std::size_t level);
    std::optional<Bytes> LastEntryBelow(PageNumber page) const;
    void SetPrevious(PageNumber page, PageNumber previous);
    void SetNext(PageNumber page, PageNumber next);
    PageNumber NewPage();
    UsageMap Map() const { return {pager_, allocator_, map_}; }

    Pager& pager_;
    PageAllocator& allocator_;
    PageNumber table_;
    PageNumber root_;
    RowPointer map_;
    LeafHints* hints_;
    std::size_t number_;  // of the index in its table
    mutable Bytes neighbour_;
};

}  // namespace qmtrain::jet
