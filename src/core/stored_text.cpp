#include "core/stored_text.h"

#include <limits>

#include "core/error.h"

namespace qmtrain {
namespace {

std::u16string WithoutFirst(std::u16string_view text, std::u16string_view part) {
    std::u16string out(text);
    const std::size_t found = Find(text, part, 0, Case::Ignored);
    if (found != std::u16string_view::npos) out.erase(found, part.size());
    return out;
}

}  // namespace

std::u16string ChoiceLetters(std::int32_t answer) {
    std::u16string letters;
    for (int bit = 0; answer > 0 && answer >> bit != 0; ++bit) {
        if ((answer >> bit & 1) != 0) letters += static_cast<char16_t>(65 + bit);
    }
    return letters;
}

std::u16string ReplaceEach(std::u16string_view text, std::u16string_view wanted, std::u16string_view replacement,
                           Case letter_case) {
    constexpr std::size_t kLastPosition = std::numeric_limits<std::int16_t>::max();
    if (wanted.empty()) Raise(ErrorNumber::InvalidProcedureCall);
    std::u16string out;
    std::size_t from = 0;
    std::size_t found = 0;
    while ((found = Find(text, wanted, from, letter_case)) != std::u16string_view::npos) {
        out.append(text.substr(from, found - from));
        if (out.size() + 1 > kLastPosition) Raise(ErrorNumber::Overflow);
        out.append(replacement);
        from = found + wanted.size();
    }
    return out.append(text.substr(from));
}

std::u16string WithoutBlackColorTables(std::u16string_view rtf) {
    return WithoutFirst(WithoutFirst(rtf, u"{\\colortbl ;\\red0\\green0\\blue0;}"),
                        u"{\\colortbl\\red0\\green0\\blue0;}");
}

}  // namespace qmtrain
