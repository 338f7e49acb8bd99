#include "core/utilities.h"

#include <algorithm>
#include <limits>

#include "core/error.h"
#include "core/log.h"
#include "core/stored_text.h"
#include "core/text.h"

namespace qmtrain {
namespace {

constexpr std::size_t kNotFound = std::u16string_view::npos;

Case CaseOf(std::int32_t compare) {
    if (compare != 0 && compare != 1) Raise(ErrorNumber::InvalidProcedureCall);
    return compare == 0 ? Case::Counts : Case::Ignored;
}

bool Equal(std::u16string_view a, std::u16string_view b, bool ignore_case) {
    return ignore_case ? EqualNames(a, b) : a == b;
}

std::u16string_view LineBreakOr(std::u16string_view text) {
    return text == u"^p" ? u"\r\n" : text;
}

}  // namespace

void Utilities::CreateLog(std::int32_t nLogType, std::u16string_view strMsg, std::u16string_view strFunName) const {
    WriteLog(nLogType, strMsg, strFunName);
}

Value Utilities::InStrRevVb5(std::u16string_view strCheck, std::u16string_view strMatch, std::int32_t nnStart,
                             std::int32_t nCompare) const {
    const std::int64_t length = strMatch.size();
    const std::int64_t end = strCheck.size();
    if (strCheck.empty()) return std::int16_t{0};
    if (nnStart >= 1 && nnStart < length) return std::int16_t{0};
    if (length > end) return {};
    const std::int64_t start = nnStart == -1 ? end : nnStart;
    if (length == 0 && start >= 0) {  // found at once, even past the end of the text
        if (start == std::numeric_limits<std::int32_t>::max()) Raise(ErrorNumber::Overflow);
        return static_cast<std::int32_t>(start + 1);
    }
    for (std::int64_t i = std::min(start, end); i >= length; --i) {
        const auto from = static_cast<std::size_t>(i - length);
        if (Equal(strCheck.substr(from, strMatch.size()), strMatch, nCompare == 1)) {
            return static_cast<std::int32_t>(from + 1);
        }
    }
    return std::int16_t{0};
}

Value Utilities::SplitVB5(std::u16string_view strSrc, std::u16string_view strDelimit,
                          std::vector<std::u16string>& strItem, std::int32_t nCount, std::int32_t nCompare) const {
    const std::u16string source(strSrc);  // either may be an element of the array
    const std::u16string delimiter(strDelimit);
    std::u16string_view rest = source;
    strItem.assign(1, {});
    const Case letter_case = CaseOf(nCompare);
    std::vector<std::u16string> items;
    std::size_t found = 0;
    while (!rest.empty() && (found = Find(rest, delimiter, 0, letter_case)) != kNotFound) {
        if (nCount != -1 && static_cast<std::int64_t>(items.size()) >= nCount) {
            if (!items.empty()) strItem = std::move(items);
            return {};
        }
        items.emplace_back(rest.substr(0, found));
        rest.remove_prefix(found + 1);
    }
    items.emplace_back(rest);
    strItem = std::move(items);
    return {};
}

std::u16string Utilities::LTrimStr(std::u16string_view strSrc, std::u16string_view strDel) const {
    if (strDel.empty()) return std::u16string(strSrc);
    while (EqualNames(strSrc.substr(0, strDel.size()), strDel)) strSrc.remove_prefix(strDel.size());
    return std::u16string(strSrc);
}

std::u16string Utilities::RTrimStr(std::u16string_view strSrc, std::u16string_view strDel) const {
    if (strSrc.empty() || strDel.empty()) return std::u16string(strSrc);
    do {
        if (strSrc.size() < strDel.size()) Raise(ErrorNumber::InvalidProcedureCall);
        if (!strSrc.ends_with(strDel)) return std::u16string(strSrc);
        strSrc.remove_suffix(strDel.size());
    } while (true);
}

std::u16string Utilities::ReplaceStr(std::u16string_view strSrc, std::u16string_view strFind,
                                     std::u16string_view strRepl, std::int16_t nType) const {
    return ReplaceEach(strSrc, LineBreakOr(strFind), LineBreakOr(strRepl), CaseOf(nType));
}

std::u16string Utilities::DeleteRtfTxtColorMark(std::u16string_view strSource) const {
    return WithoutBlackColorTables(strSource);
}

Value Utilities::GetChoiceAnswerString(std::int32_t nAnswer) const {
    if (nAnswer <= 0) return {};
    return ChoiceLetters(nAnswer);
}

}  // namespace qmtrain
