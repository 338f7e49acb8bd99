// Texts as question banks and results store them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/text.h"

namespace qmtrain {

// The letters of a choice answer: bit k stands for the character 65 + k. Empty for 0 and negative numbers.
std::u16string ChoiceLetters(std::int32_t answer);

// Every `wanted` replaced, not looking again at what was put in. Raises Overflow for a find beyond position 32767 and
// InvalidProcedureCall for an empty `wanted`.
std::u16string ReplaceEach(std::u16string_view text, std::u16string_view wanted, std::u16string_view replacement,
                           Case letter_case = Case::Counts);

// RTF without the first of each of the two colour tables that hold black alone.
std::u16string WithoutBlackColorTables(std::u16string_view rtf);

}  // namespace qmtrain
