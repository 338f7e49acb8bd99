// Walks a whole index tree to check it.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "jet/index_page.h"
#include "jet/page_use.h"
#include "jet/table.h"

namespace qmtrain::jet {

class TreeChecker {
public:
    TreeChecker(const Table& table, std::size_t index, PageUse& use, CheckReport& report, std::u16string where)
        : table_(table),
          pager_(table.GetPager()),
          real_(table.Definition().real_indexes[index]),
          use_(use),
          report_(report),
          where_(std::move(where)) {}

    // Calls `visit` with every leaf entry.
    void Walk(const std::function<void(const Bytes&)>& visit);

private:
    void Defect(std::u16string_view what) { report_.defects.push_back(where_ + u"：" + std::u16string(what) + u"。"); }

    // Walks a subtree and gives its last leaf entry.
    std::optional<Bytes> Descend(PageNumber number, std::size_t depth);
    std::optional<Bytes> Leaf(const IndexPage& view, PageNumber number, std::size_t depth);

    const Table& table_;
    Pager& pager_;
    const RealIndex& real_;
    PageUse& use_;
    CheckReport& report_;
    std::u16string where_;
    std::function<void(const Bytes&)> visit_;
    std::set<PageNumber> pages_;
    std::optional<std::size_t> leaf_depth_;
    PageNumber previous_leaf_ = 0;
    PageNumber expected_ = 0;
    Bytes last_entry_;
};

}  // namespace qmtrain::jet
