// Writes a text as RTF in 7 bits, so that no code page comes between: what is beyond ASCII is \uN.
#pragma once

#include <string>

#include "document/rich_text.h"

namespace qmtrain::document {

// ReadRtf gives back a text equal to this one, as long as its numbers and names are within the limits of RTF: indents
// and picture sizes up to 31680 twips, 32 tab stops, names of 31 characters.
std::string WriteRtf(const RichText& text);

}  // namespace qmtrain::document
