#include "document/rtf_reader.h"

#include <algorithm>

#include "document/rtf_parser.h"

namespace qmtrain::document {
namespace {

std::u16string_view WithoutLeadingBlanks(std::u16string_view text) {
    return text.substr(std::min(text.find_first_not_of(u" \t\r\n\xFEFF"), text.size()));
}

}  // namespace

RichText ReadRtf(std::u16string_view text) {
    const std::u16string_view document = WithoutLeadingBlanks(text);
    if (document.starts_with(u"{\\rtf")) return RtfParser(document).Run();
    RichText plain;
    plain.AppendText(text);
    return plain;
}

}  // namespace qmtrain::document
