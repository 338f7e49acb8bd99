// Papers of questions that a candidate should practise: wrong ones, and those that are due for review. They are taken
// and recorded like any other, but the main window does not offer them a second time.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/papers/papers.h"

namespace qmtrain::host {

struct DrillQuestion {
    std::u16string data_code = {};
    std::u16string rec_no = {};
    std::int32_t type = 0;
    std::int32_t distin = 0;
    std::int32_t difficult = 0;
    float score = 0;
};

struct Drill {
    Paper paper = {};
    int left_out = 0;  // questions that the edition's banks do not have, or that cannot be marked
};

// Raises the component's error when nothing can be practised.
Drill MakeDrill(const DataFolder& folder, Edition edition, std::int32_t subject, std::u16string_view title,
                const std::vector<DrillQuestion>& questions);

std::set<std::int32_t> DrillPapers(const DataFolder& folder);

}  // namespace qmtrain::host
