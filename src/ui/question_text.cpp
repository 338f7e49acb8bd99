#include "ui/question_text.h"

#include <vector>

#include "core/stored_text.h"
#include "core/text.h"
#include "document/rtf_reader.h"

namespace qmtrain::ui {
namespace {

// Positions are those of a text box's find operation, which counts from 0 and takes 0 and 1 for "no more".
constexpr std::size_t kFirstFoundPosition = 2;

std::u16string WithParagraphs(std::u16string_view text, std::u16string_view paragraph_end) {
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t at = 0; (at = text.find(u"^p")) != std::u16string_view::npos; text.remove_prefix(at + 2)) {
        out.append(text.substr(0, at)).append(paragraph_end);
    }
    return out.append(text);
}

// For each beginning of the text, by its last position: the length of the longest shorter beginning that it also ends
// with (the failure function of Knuth, Morris and Pratt).
std::vector<std::size_t> Fallbacks(std::u16string_view wanted) {
    std::vector<std::size_t> fallbacks(wanted.size());
    for (std::size_t i = 1, length = 0; i < wanted.size(); ++i) {
        while (length > 0 && wanted[i] != wanted[length]) length = fallbacks[length - 1];
        if (wanted[i] == wanted[length]) ++length;
        fallbacks[i] = length;
    }
    return fallbacks;
}

// Takes out one occurrence after the other from the left, also those that come about when others have gone; letter case
// does not count. Stops at the first one that begins before `first_position`. Takes time in proportion to the text.
void Remove(document::RichText& text, std::u16string_view placeholder, std::size_t first_position) {
    const std::u16string wanted = ToLower(placeholder);
    const std::vector<std::size_t> fallbacks = Fallbacks(wanted);
    const std::u16string plain = text.PlainText();
    std::vector<bool> gone(plain.size());
    std::vector<std::size_t> kept;   // positions of the text as it is so far
    std::vector<std::size_t> found;  // how much of the placeholder ends there
    for (std::size_t position = 0; position < plain.size(); ++position) {
        const char16_t unit = ToLower(plain[position]);
        std::size_t length = found.empty() ? 0 : found.back();
        while (length > 0 && wanted[length] != unit) length = fallbacks[length - 1];
        if (wanted[length] == unit) ++length;
        kept.push_back(position);
        found.push_back(length);
        if (length < wanted.size()) continue;
        const std::size_t begin = kept.size() - wanted.size();
        if (begin < first_position) break;
        for (std::size_t i = begin; i < kept.size(); ++i) gone[kept[i]] = true;
        kept.resize(begin);
        found.resize(begin);
    }
    text.Erase(gone);
}

}  // namespace

bool IsRtf(std::u16string_view stored) {
    return stored.starts_with(u"{\\rtf");
}

document::RichText StoredText(std::u16string_view stored, Placeholders placeholders) {
    document::RichText text = document::ReadRtf(
        IsRtf(stored) ? WithParagraphs(WithoutBlackColorTables(stored), u"\\par ") : WithParagraphs(stored, u"\r\n"));
    const std::size_t first = placeholders == Placeholders::RemoveAll ? 0 : kFirstFoundPosition;
    Remove(text, u"[%user%]", first);
    Remove(text, u"%user%", first);
    return text;
}

document::RichText OptionsText(const TextCollection& options, Placeholders placeholders) {
    document::RichText text;
    text.AppendText(u"选择项:");
    std::int32_t place = 0;
    for (const TextCollection::Entry& option : options) {
        text.EndParagraph();
        text.AppendText(option.key + u". ");
        text.Append(StoredText(option.item, placeholders));
        if (++place < options.Count()) text.AppendText(u"、");
    }
    return text;
}

document::RichText QuestionText(std::u16string_view title, const TextCollection* options) {
    document::RichText text = StoredText(title, Placeholders::RemoveAll);
    if (options == nullptr || options->Count() == 0) return text;
    text.EndParagraph();
    text.EndParagraph();
    text.Append(OptionsText(*options, Placeholders::RemoveAll));
    return text;
}

}  // namespace qmtrain::ui
