#include "jet/index_tree.h"

#include <algorithm>

#include "jet/index_cursor.h"

namespace qmtrain::jet {

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
    if (!leaf && page.Type() != PageType::IndexNode) pager_.Damaged(page.Number(), u"此页不是索引页");
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

}  // namespace qmtrain::jet
