#include "ui/question_text.h"

#include "core/utilities.h"
#include "ui/document/rtf_reader.h"

namespace qmtrain::ui {
namespace {

// Positions are those of a text box's find operation, which counts from 0 and takes 0 and 1 for "no more".
constexpr std::size_t kLastIgnoredPosition = 1;

std::u16string WithParagraphs(std::u16string_view text, std::u16string_view paragraph_end) {
    std::u16string out(text);
    for (std::size_t at = 0; (at = out.find(u"^p", at)) != std::u16string::npos; at += paragraph_end.size()) {
        out.replace(at, 2, paragraph_end);
    }
    return out;
}

}  // namespace

void RemovePlaceholder(RichText& text, std::u16string_view placeholder) {
    std::optional<std::size_t> found;
    while ((found = text.Find(placeholder)) && *found > kLastIgnoredPosition) {
        text.Replace(*found, placeholder.size(), {});
    }
}

RichText StoredText(std::u16string_view stored) {
    const bool is_rtf = stored.starts_with(u"{\\rtf");
    RichText text = ReadRtf(is_rtf ? WithParagraphs(Utilities().DeleteRtfTxtColorMark(stored), u"\\par ")
                                   : WithParagraphs(stored, u"\r\n"));
    RemovePlaceholder(text, u"[%user%]");
    RemovePlaceholder(text, u"%user%");
    return text;
}

RichText OptionsText(const TextCollection& options) {
    RichText text;
    text.AppendText(u"选择项:");
    std::int32_t place = 0;
    for (const TextCollection::Entry& option : options) {
        text.EndParagraph();
        text.AppendText(option.key + u". ");
        text.Append(StoredText(option.item));
        if (++place < options.Count()) text.AppendText(u"、");
    }
    return text;
}

RichText QuestionText(std::u16string_view title, const TextCollection* options) {
    RichText text = StoredText(title);
    if (options == nullptr || options->Count() == 0) return text;
    text.EndParagraph();
    text.EndParagraph();
    text.Append(OptionsText(*options));
    return text;
}

}  // namespace qmtrain::ui
