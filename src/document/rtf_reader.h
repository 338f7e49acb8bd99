// Reads RTF as rich-text boxes of Windows and old question banks write it.
#pragma once

#include <string_view>

#include "document/rich_text.h"

namespace qmtrain::document {

// Text that does not begin with "{\rtf" (after blanks) is plain text: CR LF, CR and LF end a paragraph. Any input gives
// a text: what is unknown or damaged is left out, missing braces are closed, and what follows the last one is ignored.
//
// A \par at the very end ends the last paragraph and begins no other, as in rich-text boxes.
RichText ReadRtf(std::u16string_view text);

}  // namespace qmtrain::document
