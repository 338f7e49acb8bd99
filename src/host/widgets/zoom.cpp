#include "host/widgets/zoom.h"

#include <algorithm>
#include <utility>

#include "ui/question_text.h"

namespace qmtrain::host {

int NextZoom(int percent, int direction) {
    constexpr int kStep = 25;
    return std::clamp((percent / kStep + direction) * kStep, kLeastZoom, kMostZoom);
}

document::RichText Zoomed(const document::RichText& text, int percent) {
    if (percent == kUsualZoom) return text;
    document::RichText out;
    bool first = true;
    for (const document::Paragraph& paragraph : text.Paragraphs()) {
        if (!std::exchange(first, false)) out.EndParagraph();
        out.SetParagraphFormat(paragraph.format);
        for (const document::Run& run : paragraph.runs) {
            document::CharacterFormat format = run.format;
            const int size = format.half_points > 0 ? format.half_points : ui::kQuestionHalfPoints;
            format.half_points = std::max(1, (size * percent + 50) / 100);
            if (run.picture) {
                out.AppendPicture(*run.picture, format);
            } else {
                out.AppendText(run.text, format);
            }
        }
    }
    return out;
}

}  // namespace qmtrain::host
