// Whether a page fits together: what a page that is being written by somebody else does not do.
#pragma once

#include "jet/bytes.h"
#include "jet/file_format.h"

namespace qmtrain::jet {

// Pages of kinds that say nothing of themselves count as whole.
bool IsWhole(const ByteView& page, const Format& format);

}  // namespace qmtrain::jet
