#include "host/practice/navigator.h"

#include <algorithm>
#include <cstdlib>

#include "core/convert.h"
#include "core/text.h"
#include "host/widgets/signs.h"

namespace qmtrain::host {
namespace {

struct Counts {
    std::size_t no = 0;
    std::size_t partly = 0;
    std::size_t yes = 0;
    std::size_t marked = 0;
};

Counts CountsOf(const Practice& practice) {
    Counts counts;
    for (std::size_t i = 0; i < practice.Size(); ++i) {
        switch (practice.HowAnswered(i)) {
            case Answered::No: ++counts.no; break;
            case Answered::Partly: ++counts.partly; break;
            case Answered::Yes: ++counts.yes; break;
        }
        if (practice.IsMarked(i)) ++counts.marked;
    }
    return counts;
}

}  // namespace

std::vector<NavigatorGroup> GroupsOf(const Practice& practice) {
    std::vector<NavigatorGroup> groups;
    for (std::size_t i = 0; i < practice.Size(); ++i) {
        const bool same = i > 0 && practice.Content(i).kind == practice.Content(i - 1).kind;
        if (!same) groups.push_back({{}, i, 0});
        ++groups.back().count;
    }
    for (NavigatorGroup& group : groups) {
        float score = 0;
        for (std::size_t i = group.first; i < group.first + group.count; ++i) score += practice.Place(i).score;
        group.caption = std::u16string(KindName(practice.Content(group.first).kind)) + u"　" + ToText(group.count) +
                        u" 题 " + ToText(Value(score)) + u" 分";
    }
    return groups;
}

NavigatorLayout LayOutNavigator(const std::vector<NavigatorGroup>& groups, const NavigatorMeasures& measures) {
    NavigatorLayout layout;
    layout.columns = std::max(1, (measures.width + measures.gap) / std::max(1, measures.cell_width + measures.gap));
    int y = 0;
    for (const NavigatorGroup& group : groups) {
        if (!layout.captions.empty()) y += 2 * measures.gap;
        layout.captions.push_back({0, y, measures.width, measures.caption_height});
        y += measures.caption_height + measures.gap;
        for (std::size_t i = 0; i < group.count; ++i) {
            const int column = static_cast<int>(i) % layout.columns;
            const int row = static_cast<int>(i) / layout.columns;
            layout.cells.push_back({column * (measures.cell_width + measures.gap),
                                    y + row * (measures.cell_height + measures.gap), measures.cell_width,
                                    measures.cell_height});
        }
        const int rows = (static_cast<int>(group.count) + layout.columns - 1) / layout.columns;
        y += rows * (measures.cell_height + measures.gap) - measures.gap;
    }
    layout.height = y;
    return layout;
}

std::size_t NextRow(const NavigatorLayout& layout, std::size_t from, int direction) {
    const Box& start = layout.cells[from];
    std::size_t best = from;
    for (std::size_t i = 0; i < layout.cells.size(); ++i) {
        const Box& box = layout.cells[i];
        if (direction > 0 ? box.y <= start.y : box.y >= start.y) continue;
        if (best == from) {
            best = i;
            continue;
        }
        const Box& found = layout.cells[best];
        const bool nearer_row = std::abs(box.y - start.y) < std::abs(found.y - start.y);
        const bool same_row = box.y == found.y;
        if (nearer_row || (same_row && std::abs(box.x - start.x) < std::abs(found.x - start.x))) best = i;
    }
    return best;
}

std::u16string CountsText(const Practice& practice) {
    const Counts counts = CountsOf(practice);
    return u"已答 " + ToText(counts.yes) + u"　部分 " + ToText(counts.partly) + u"\n未答 " + ToText(counts.no) +
           u"　标记 " + ToText(counts.marked);
}

std::vector<OpenQuestion> OpenQuestions(const Practice& practice) {
    std::vector<OpenQuestion> open;
    for (std::size_t i = 0; i < practice.Size(); ++i) {
        const Answered answered = practice.HowAnswered(i);
        if (answered == Answered::Yes && !practice.IsMarked(i)) continue;
        std::u16string text = u"第 " + ToText(i + 1) + u" 题　";
        text.append(KindName(practice.Content(i).kind)).append(u"　").append(AnsweredText(answered));
        if (practice.IsMarked(i)) text += u"　" + WithSign(kMarkedSign, u"已标记");
        open.push_back({i, std::move(text)});
    }
    return open;
}

std::u16string OpenText(const Practice& practice) {
    const Counts counts = CountsOf(practice);
    std::u16string text;
    const auto add = [&](std::size_t count, std::u16string_view what) {
        if (count == 0) return;
        text.append(text.empty() ? u"还有 " : u"，").append(ToText(count)).append(what);
    };
    add(counts.no, u" 题没有作答");
    add(counts.partly, u" 题只答了一部分");
    if (text.empty()) text = u"所有题目都已作答";
    if (counts.marked > 0) text.append(u"，").append(ToText(counts.marked)).append(u" 题做了标记");
    return text + u"。";
}

}  // namespace qmtrain::host
