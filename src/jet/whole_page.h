// Detects a torn page: one read while another engine is writing it.
#pragma once

#include "jet/bytes.h"
#include "jet/file_format.h"

namespace qmtrain::jet {

// Pages of kinds that say nothing of themselves count as whole.
bool IsWhole(const ByteView& page, const FileFormat& format);

}  // namespace qmtrain::jet
