#include "jet/check_tree.h"

namespace qmtrain::jet {
namespace {

constexpr std::size_t kMaxDepth = 16;

}  // namespace

void TreeChecker::Walk(const std::function<void(const Bytes&)>& visit) {
    visit_ = visit;
    Descend(real_.root, 0);
    const UsageMap map(pager_, table_.Allocator(), real_.map);
    map.Check();
    for (const PageNumber page : map.MapPages()) use_.Claim(page, where_);
    std::set<PageNumber> listed;
    for (PageNumber page = map.Next(1); page != 0; page = map.Next(page + 1)) listed.insert(page);
    if (listed != pages_) Defect(u"索引的页面分布图与索引树不符");
}

std::optional<Bytes> TreeChecker::Descend(PageNumber number, std::size_t depth) {
    if (depth > kMaxDepth) pager_.Damaged(number, u"索引的层数错误");
    if (!pages_.insert(number).second) pager_.Damaged(number, u"索引的页链成环");
    use_.Claim(number, where_);
    const Page page = pager_.Read(number);
    const IndexPage view(page.View(), pager_.GetFormat(), table_.Definition().page);
    if (view.StoredFree() != view.ActualFree()) Defect(u"第 " + ToText(number) + u" 页的空闲空间与实际不符");
    if (view.IsLeaf()) return Leaf(view, number, depth);
    std::optional<Bytes> last;
    for (std::size_t i = 0; i < view.Count(); ++i) {
        Bytes entry;
        view.Entry(i, entry);
        entry.resize(entry.size() - kChildBytes);
        last = Descend(view.Child(i), depth + 1);
        if (last != entry) Defect(u"第 " + ToText(number) + u" 页的节点项与子页不符");
    }
    if (view.Tail() != 0) last = Descend(view.Tail(), depth + 1);
    return last;
}

std::optional<Bytes> TreeChecker::Leaf(const IndexPage& view, PageNumber number, std::size_t depth) {
    if (leaf_depth_.value_or(depth) != depth) Defect(u"索引的叶页不在同一层");
    leaf_depth_ = depth;
    if (view.Previous() != previous_leaf_ || (previous_leaf_ != 0 && expected_ != number)) {
        Defect(u"第 " + ToText(number) + u" 页的前后链接错误");
    }
    previous_leaf_ = number;
    expected_ = view.Next();
    Bytes entry;
    for (std::size_t i = 0; i < view.Count(); ++i) {
        view.Entry(i, entry);
        if (!last_entry_.empty() && entry <= last_entry_) Defect(u"第 " + ToText(number) + u" 页的索引项次序错误");
        visit_(entry);
        last_entry_ = entry;
    }
    if (view.Count() == 0) return std::nullopt;
    return last_entry_;
}

}  // namespace qmtrain::jet
