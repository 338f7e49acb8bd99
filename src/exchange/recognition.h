// Which questions of a file a bank has already: by what they ask, so that their record numbers stay and with them the
// histories and notes that point at them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "exchange/question.h"

namespace qmtrain::exchange {

struct Recognised {
    enum class As : std::uint8_t { New, Changed, Same, Repeated, Impossible };  // the last: the bank cannot hold it
    As as = As::New;
    std::size_t existing = 0;  // the question of the bank, when it is changed or the same
    std::u16string changes;    // "题干、答案"
};

struct Recognition {
    std::vector<Recognised> questions;   // one for each of the file
    std::vector<std::size_t> not_found;  // questions of the bank that the file does not have, nor their numbers

    std::size_t Count(Recognised::As as) const;
    // "新增 12 题，修改 3 题，不变 5 题，重复 1 题，题库中另有 2 题不在文件里"
    std::u16string Summary() const;
};

// A question is the same one when the file gives it the record number, and its stem is the same with half of the
// options or like it with the same answer; when it asks the same and, if it has options, shares more than half of them;
// and when long options are the same and the stem is like it. "以上都不对" is no option that tells anything.
Recognition Recognise(std::span<const Question> bank, std::span<const Question> file);

// How like two texts are: 0 to 1, by their pairs of neighbouring characters.
double Likeness(std::u16string_view a, std::u16string_view b);

// The question of the file with what only the bank can know of it, and with the bank's texts and order of options where
// the file's say the same.
Question Merged(const Question& in_bank, const Question& in_file);

// "题干、选项"; empty when nothing differs. Tells when letters stand for other options, for histories have the letters.
std::u16string Differences(const Question& before, const Question& after);

}  // namespace qmtrain::exchange
