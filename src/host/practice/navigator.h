// Where the cells of a paper's questions go, grouped by kind.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/papers/outcome.h"
#include "host/practice/practice.h"

namespace qmtrain::host {

// Pixels.
struct Box {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

struct NavigatorGroup {
    std::u16string caption;  // "单选题　10 题 40 分"
    std::size_t first = 0;
    std::size_t count = 0;
};

// Neighbouring questions of the same kind.
std::vector<NavigatorGroup> GroupsOf(const Practice& practice);

struct NavigatorMeasures {
    int width = 0;
    int cell_width = 0;
    int cell_height = 0;
    int gap = 0;
    int caption_height = 0;
};

struct NavigatorLayout {
    std::vector<Box> captions;  // of the groups
    std::vector<Box> cells;     // of the questions
    int columns = 1;
    int height = 0;
};

// At least one cell stands in a row, however narrow it is.
NavigatorLayout LayOutNavigator(const std::vector<NavigatorGroup>& groups, const NavigatorMeasures& measures);

// The cell above (-1) or below (+1), the nearest one where the row is shorter; the same one at an end.
std::size_t NextRow(const NavigatorLayout& layout, std::size_t from, int direction);

// "已答 3　部分 1　未答 6　标记 2".
std::u16string CountsText(const Practice& practice);

// A question that is looked at before the paper is handed in.
struct OpenQuestion {
    std::size_t index = 0;
    std::u16string text;  // "第 3 题　单选题　未作答　已标记"
};

// What has no answer, only a part of one, or a mark.
std::vector<OpenQuestion> OpenQuestions(const Practice& practice);

// "还有 2 题没有作答，1 题只答了一部分，1 题做了标记。", "所有题目都已作答。"
std::u16string OpenText(const Practice& practice);

}  // namespace qmtrain::host
