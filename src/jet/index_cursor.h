// Walks the leaves of an index.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "jet/index_tree.h"

namespace qmtrain::jet {

// Finds its place again when the tree is changed under it.
class IndexCursor {
public:
    explicit IndexCursor(const IndexTree& tree) : tree_(tree) {}

    // Forward: Next() will give the first entry not below `from`, and end before `to`. Backward: the last entry below
    // `from`, or the last of all when there is none, and end with the first entry not below `to`.
    void StartForward(std::span<const std::uint8_t> from, const std::optional<Bytes>& to = {});
    void StartBackward(std::optional<std::span<const std::uint8_t>> from, const Bytes& to = {});

    // Moves on; false at the end.
    bool Next();

    // How many times Next() would still be true. Only forward; the cursor has to be started anew afterwards.
    std::int64_t CountRest();

    const Bytes& Entry() const { return entry_; }

private:
    bool IsFresh() const {
        return view_ && generation_ == tree_.GetPager().Generation() && changes_ == page_.Changes();
    }
    void Load(PageNumber page);
    void SetStop();
    void GoTo(PageNumber page);
    void Find();
    bool Step();

    IndexTree tree_;
    bool forward_ = true;
    bool to_end_ = false;   // backward from the very end
    Bytes entry_;           // the present entry, or where to start
    bool bounded_ = false;  // by bound_
    Bytes bound_;
    bool strictly_ = false;         // the next entry must differ from entry_
    std::uint64_t generation_ = 0;  // the pager's and the page's, when page_ was looked at
    std::uint64_t changes_ = 0;
    bool located_ = false;
    Page page_;
    std::optional<IndexEntries> view_;
    std::size_t position_ = 0;  // of the next entry; backward: past it
    std::size_t stop_ = 0;      // the bound's place on this page
    PageNumber pages_walked_ = 0;
};

}  // namespace qmtrain::jet
