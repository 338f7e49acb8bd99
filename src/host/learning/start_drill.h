// Practises a paper of questions that were wrong or are due.
#pragma once

#include <string_view>
#include <vector>

#include <wx/window.h>

#include "host/papers/drill.h"

namespace qmtrain::host {

inline constexpr std::size_t kMostOfDrill = 50;

// Tells the user what had to be left out, and what went wrong. False when nothing was practised.
bool StartDrill(wxWindow* parent, const DataFolder& folder, Edition edition, std::int32_t user, std::int32_t subject,
                std::u16string_view title, std::vector<DrillQuestion> questions);

}  // namespace qmtrain::host
