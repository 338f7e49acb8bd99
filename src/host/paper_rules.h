// Papers by rules or by hand, out of one bank or several, and their way to the network edition.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/question.h"
#include "host/papers.h"

namespace qmtrain::host {

struct PaperRules {
    struct Part {
        int count = 0;
        float points = 0;  // of each; 0: as usual
    };

    std::u16string title;
    std::int32_t minutes = 60;
    std::vector<std::u16string> banks;  // codes; all of one subject
    std::map<Kind, Part> parts;
    std::int32_t least_difficulty = 0;  // 1 to 3; 0: any. Questions without one count as 1.
    std::int32_t most_difficulty = 0;
    std::u16string category;  // what the questions' category begins with
    bool seldom_first = false;
    bool none_from_last = false;  // none that the subject's last paper has
    unsigned seed = 1;
};

// Adds the paper and returns its number. The same rules give the same paper as long as banks, and where they count
// histories and the last paper, are the same. Raises the component's error for rules that cannot be met, with what is
// missing, and what the engine raises.
std::int32_t MakePaper(const DataFolder& folder, const PaperRules& rules, const exchange::Progress& progress = {});

struct ChosenQuestion {
    std::u16string data_code;
    std::u16string rec_no;
    float points = 0;  // 0: as usual
};
std::int32_t MakePaper(const DataFolder& folder, std::u16string_view title, std::int32_t minutes,
                       const std::vector<ChosenQuestion>& questions);

float UsualPoints(Kind kind);

// Puts the papers' questions, with everything that the network edition reads, into a local paper database. A file that
// is there keeps its other questions; all or nothing. Returns how many questions there are in the papers. Raises the
// component's error for a question or a bank that is not there.
std::size_t PackPapers(const DataFolder& folder, const std::vector<std::int32_t>& papers, std::u16string_view file,
                       const exchange::Progress& progress = {});

}  // namespace qmtrain::host
