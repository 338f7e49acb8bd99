// Any bytes as RTF: reading must end well, what is written must be read as the same text, and every character of it
// must find a place in a window.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/text.h"
#include "ui/document/rtf_reader.h"
#include "ui/document/rtf_writer.h"
#include "ui/document_layout.h"
#include "ui/support/fixed_measurer.h"

namespace {

using namespace qmtrain;

constexpr std::size_t kLong = 21000;

void RequireLaidOut(const ui::RichText& text) {
    test::FixedMeasurer measurer;
    const ui::DocumentLayout layout(text, 300, measurer);
    std::size_t shown = 0;
    std::int64_t bottom = 0;
    for (const ui::Line& line : layout.Lines()) {
        if (line.top < bottom || line.height < 0) std::abort();
        bottom = line.top + line.height;
        for (const ui::Piece& piece : line.pieces) shown += piece.text.size();
    }
    if (layout.Height() < bottom || shown + text.Paragraphs().size() - 1 != text.Length()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ui::RichText text = ui::ReadRtf(std::u16string(data, data + size));
    if (ui::ReadRtf(FromUtf8(ui::WriteRtf(text))) != text) std::abort();
    for (const ui::Paragraph& paragraph : text.Paragraphs()) {
        for (const ui::Run& run : paragraph.runs) {
            if (run.picture == nullptr) continue;
            ui::PictureFile(*run.picture);
            ui::SizeInPixels(*run.picture);
        }
    }
    RequireLaidOut(text);
    // Long texts are measured in another way; that takes longer too.
    if (size % 16 != 0) return 0;
    ui::RichText again = text;
    while (text.Length() > 0 && again.Length() < kLong) again.Append(ui::RichText(again));
    RequireLaidOut(again);
    return 0;
}
