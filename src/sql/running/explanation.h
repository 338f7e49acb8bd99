// What a plan does, in words.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qmtrain::sql {

class RowOperator;

// A line for each operator, and below it what it reads.
class Explanation {
public:
    void Add(std::u16string_view text, const RowOperator& row_operator);
    void AddHeading(std::u16string_view text) { AddLine(depth_, text); }
    void AddBelow(std::u16string_view text) { AddLine(depth_ + 1, text); }
    void AddChild(const RowOperator& child);

    const std::vector<std::u16string>& Lines() const { return lines_; }

private:
    void AddLine(int depth, std::u16string_view text);

    int depth_ = 0;
    std::vector<std::u16string> lines_;
};

}  // namespace qmtrain::sql
