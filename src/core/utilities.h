// The component's log and text routines, as hosts use them.
//
// Positions count from 1, positions and lengths in UTF-16 units. A compare mode is 0 (characters exactly) or 1 (without
// regard to letter case). No operation but CreateLog traps its errors.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/value.h"

namespace qmtrain {

class Utilities {
public:
    // Appends an entry to the log; never fails.
    void CreateLog(std::int32_t nLogType, std::u16string_view strMsg, std::u16string_view strFunName) const;

    // Closes what the reference holds, if anything, and empties it. What Close() raises reaches the caller.
    template <class Object>
    void CloseAdoObject(std::shared_ptr<Object>& objAdoObject) const {
        if (!objAdoObject) return;
        objAdoObject->Close();
        objAdoObject.reset();
    }

    // Where the last `strMatch` that ends at or before `nnStart` (-1: the end) begins: a Long, or the Integer 0 when
    // there is none. Empty when `strMatch` is longer than `strCheck`.
    Value InStrRevVb5(std::u16string_view strCheck, std::u16string_view strMatch, std::int32_t nnStart,
                      std::int32_t nCompare) const;

    // Splits the text into `strItem`. With more than `nCount` delimiters (-1: no limit) only the first `nCount` items
    // are kept and the rest is dropped. Of a delimiter only one character is taken out; the others stay with the next
    // item. The texts may be elements of the array. The result is always Empty. Raises InvalidProcedureCall for any
    // other compare mode.
    Value SplitVB5(std::u16string_view strSrc, std::u16string_view strDelimit, std::vector<std::u16string>& strItem,
                   std::int32_t nCount, std::int32_t nCompare) const;

    // Takes `strDel` off the beginning as often as it stands there, without regard to letter case.
    std::u16string LTrimStr(std::u16string_view strSrc, std::u16string_view strDel) const;

    // Takes `strDel` off the end as often as it stands there, letter case counting. Raises InvalidProcedureCall when
    // the text is or becomes shorter than `strDel`.
    std::u16string RTrimStr(std::u16string_view strSrc, std::u16string_view strDel) const;

    // Replaces every `strFind`, not looking again at what was put in; "^p" in either place means CR LF. Raises Overflow
    // for a find beyond position 32767 and InvalidProcedureCall for an empty `strFind` or another compare mode.
    std::u16string ReplaceStr(std::u16string_view strSrc, std::u16string_view strFind, std::u16string_view strRepl,
                              std::int16_t nType) const;

    // Takes out the first of each of the two colour tables that hold black alone.
    std::u16string DeleteRtfTxtColorMark(std::u16string_view strSource) const;

    // The letters of a choice answer: bit k stands for the character 65 + k. Empty for 0 and negative numbers.
    Value GetChoiceAnswerString(std::int32_t nAnswer) const;
};

}  // namespace qmtrain
