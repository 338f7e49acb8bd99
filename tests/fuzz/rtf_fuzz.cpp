// Any bytes as RTF: reading must end well, what is written must be read as the same text, and every character of it
// must find a place in a window.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/text.h"
#include "document/document_layout.h"
#include "document/rtf_reader.h"
#include "document/rtf_writer.h"
#include "document/support/fixed_measurer.h"

namespace {

using namespace qmtrain;

constexpr std::size_t kLong = 21000;

void RequireLaidOut(const document::RichText& text) {
    test::FixedMeasurer measurer;
    const document::DocumentLayout layout(text, 300, measurer);
    std::size_t shown = 0;
    std::int64_t bottom = 0;
    for (const document::Line& line : layout.Lines()) {
        if (line.top < bottom || line.height < 0) std::abort();
        bottom = line.top + line.height;
        for (const document::Piece& piece : line.pieces) shown += piece.text.size();
    }
    if (layout.Height() < bottom || shown + text.Paragraphs().size() - 1 != text.Length()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const document::RichText text = document::ReadRtf(std::u16string(data, data + size));
    if (document::ReadRtf(FromUtf8(document::WriteRtf(text))) != text) std::abort();
    for (const document::Paragraph& paragraph : text.Paragraphs()) {
        for (const document::Run& run : paragraph.runs) {
            if (run.picture == nullptr) continue;
            document::PictureFile(*run.picture);
            document::SizeInPixels(*run.picture);
        }
    }
    RequireLaidOut(text);
    // Long texts are measured in another way; that takes longer too.
    if (size % 16 != 0) return 0;
    document::RichText again = text;
    while (text.Length() > 0 && again.Length() < kLong) again.Append(document::RichText(again));
    RequireLaidOut(again);
    return 0;
}
