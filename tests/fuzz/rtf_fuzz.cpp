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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qmtrain;
    const ui::RichText text = ui::ReadRtf(std::u16string(data, data + size));
    if (ui::ReadRtf(FromUtf8(ui::WriteRtf(text))) != text) std::abort();
    for (const ui::Paragraph& paragraph : text.Paragraphs()) {
        for (const ui::Run& run : paragraph.runs) {
            if (run.picture == nullptr) continue;
            ui::PictureFile(*run.picture);
            ui::SizeInPixels(*run.picture);
        }
    }
    test::FixedMeasurer measurer;
    const ui::DocumentLayout layout(text, 300, measurer);
    std::size_t shown = 0;
    for (const ui::Line& line : layout.Lines()) {
        for (const ui::Piece& piece : line.pieces) shown += piece.text.size();
    }
    if (shown + text.Paragraphs().size() - 1 != text.Length()) std::abort();
    return 0;
}
