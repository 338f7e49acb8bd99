// Any bytes as RTF: reading must end well, and what is written must be read as the same text.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/text.h"
#include "ui/document/rtf_reader.h"
#include "ui/document/rtf_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qmtrain;
    const ui::RichText text = ui::ReadRtf(std::u16string(data, data + size));
    if (ui::ReadRtf(FromUtf8(ui::WriteRtf(text))) != text) std::abort();
    for (const ui::Paragraph& paragraph : text.Paragraphs()) {
        for (const ui::Run& run : paragraph.runs) {
            if (run.picture != nullptr) ui::PictureFile(*run.picture);
        }
    }
    return 0;
}
