#include "bank/fill_answer.h"

#include <algorithm>

#include "core/error.h"
#include "core/text.h"

namespace qmtrain {

std::int32_t FillAnswer::GetFillCount() const {
    return 1 + static_cast<std::int32_t>(std::count(answer_.begin(), answer_.end(), u'@'));
}

std::u16string FillAnswer::Blank(std::int32_t index) const {
    const std::vector<std::u16string> pieces = Split(answer_, u'@');
    if (index > static_cast<std::int32_t>(pieces.size())) return {};
    if (index < 1) Raise(ErrorNumber::SubscriptOutOfRange);
    return pieces[index - 1];
}

bool FillAnswer::GetAnswer(std::int32_t nIndex, std::vector<std::u16string>& strAnswers) const {
    if (nIndex > GetFillCount()) return false;
    strAnswers = Split(Blank(nIndex), u'#');
    return true;
}

std::u16string FillAnswer::ToString() const {
    const std::vector<std::u16string> blanks = Split(answer_, u'@');
    std::u16string result;
    for (std::size_t i = 0; i < blanks.size(); ++i) {
        std::u16string line;
        for (const std::u16string& answer : Split(blanks[i], u'#')) {
            line += (line.empty() ? u"[" : u"或[") + answer + u"]";
        }
        if (!result.empty()) result += u"\r\n";
        result += blanks.size() > 1 ? u"第[" + ToText(i + 1) + u"]空答案：" : u"答案：";
        result += line;
    }
    return result;
}

}  // namespace qmtrain
