// The standard answer of a fill-in question: blanks separated by "@", the accepted answers of a blank by "#".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qmtrain {

class FillAnswer {
public:
    // As stored; markers such as "[YN]" are ordinary characters here.
    const std::u16string& Answer() const { return answer_; }
    void Answer(std::u16string_view value) { answer_ = value; }
    void InitClass(std::u16string_view strAnswer) { Answer(strAnswer); }

    // One more than there are "@".
    std::int32_t GetFillCount() const;

    // The accepted answers of blank `nIndex`, counted from 1; false, with `strAnswers` untouched, when there are fewer
    // blanks. Raises SubscriptOutOfRange for a number below 1.
    bool GetAnswer(std::int32_t nIndex, std::vector<std::u16string>& strAnswers) const;

    // "答案：[A]或[B]", or a line for each blank when there are several.
    std::u16string ToString() const;

private:
    std::u16string Blank(std::int32_t index) const;

    std::u16string answer_;
};

}  // namespace qmtrain
