#include "document/rich_text.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/text.h"

namespace qmtrain::document {
namespace {

constexpr char16_t kReplacement = u'\xFFFD';  // for marks in a text: only pictures stand as those

bool EndsLine(char16_t unit) {
    return unit == u'\n' || unit == u'\r';
}

bool CanExtend(const Run& run, const CharacterFormat& format) {
    return run.picture == nullptr && run.format == format;
}

// Cuts the run at `position` of it and returns the rest.
Run SplitRun(Run& run, std::size_t position) {
    Run tail = run;
    tail.text.erase(0, position);
    run.text.erase(position);
    return tail;
}

// Cuts the paragraph and returns the rest as one of the same format.
Paragraph SplitParagraph(Paragraph& paragraph, std::size_t position) {
    Paragraph tail{.format = paragraph.format};
    auto run = paragraph.runs.begin();
    while (run != paragraph.runs.end() && position >= run->text.size()) position -= (run++)->text.size();
    if (run == paragraph.runs.end()) return tail;
    if (position > 0) tail.runs.push_back(SplitRun(*run++, position));
    std::move(run, paragraph.runs.end(), std::back_inserter(tail.runs));
    paragraph.runs.erase(run, paragraph.runs.end());
    return tail;
}

}  // namespace

bool Run::operator==(const Run& other) const {
    if (text != other.text || format != other.format) return false;
    if (picture == nullptr || other.picture == nullptr) return picture == other.picture;
    return *picture == *other.picture;
}

std::size_t Paragraph::Length() const {
    std::size_t length = 0;
    for (const Run& run : runs) length += run.text.size();
    return length;
}

std::size_t RichText::Length() const {
    std::size_t length = paragraphs_.size() - 1;
    for (const Paragraph& paragraph : paragraphs_) length += paragraph.Length();
    return length;
}

std::u16string RichText::PlainText() const {
    std::u16string text;
    text.reserve(Length());
    for (const Paragraph& paragraph : paragraphs_) {
        if (&paragraph != &paragraphs_.front()) text.push_back(kParagraphEnd);
        for (const Run& run : paragraph.runs) text += run.text;
    }
    return text;
}

void RichText::AppendText(std::u16string_view text, const CharacterFormat& format) {
    while (!text.empty()) {
        const std::size_t end = std::find_if(text.begin(), text.end(), EndsLine) - text.begin();
        Add(text.substr(0, end), format);
        text.remove_prefix(end);
        if (text.empty()) return;
        text.remove_prefix(text.starts_with(u"\r\n") ? 2 : 1);
        EndParagraph();
    }
}

void RichText::AppendPicture(Picture picture, const CharacterFormat& format) {
    paragraphs_.back().runs.push_back({.text = std::u16string(1, kPictureMark),
                                       .format = format,
                                       .picture = std::make_shared<const Picture>(std::move(picture))});
}

void RichText::EndParagraph() {
    ParagraphFormat format = paragraphs_.back().format;
    paragraphs_.push_back({.format = std::move(format)});
}

void RichText::SetParagraphFormat(ParagraphFormat format) {
    paragraphs_.back().format = std::move(format);
}

void RichText::Append(RichText other) {
    if (paragraphs_.back().runs.empty()) SetParagraphFormat(other.paragraphs_.front().format);
    Join(std::move(other));
}

std::optional<std::size_t> RichText::Find(std::u16string_view text, std::size_t from, Case how) const {
    if (text.empty()) return std::nullopt;
    const std::u16string plain = PlainText();
    const std::size_t found =
        how == Case::Sensitive ? plain.find(text, from) : ToLower(plain).find(ToLower(text), from);
    if (found == std::u16string::npos) return std::nullopt;
    return found;
}

void RichText::Replace(std::size_t position, std::size_t length, std::u16string_view text) {
    position = std::min(position, Length());
    length = std::min(length, Length() - position);
    RichText tail = SplitOff(position + length);
    const RichText replaced = SplitOff(position);

    CharacterFormat format;
    const auto& before = paragraphs_.back().runs;
    const auto& first = replaced.paragraphs_.front().runs;
    const auto& after = tail.paragraphs_.front().runs;
    if (!first.empty()) {
        format = first.front().format;
    } else if (!before.empty()) {
        format = before.back().format;
    } else if (!after.empty()) {
        format = after.front().format;
    }
    AppendText(text, format);
    Join(std::move(tail));
}

void RichText::Erase(const std::vector<bool>& marked) {
    std::size_t position = 0;
    for (Paragraph& paragraph : paragraphs_) {
        std::vector<Run> kept;
        for (Run& run : paragraph.runs) {
            std::erase_if(run.text, [&](char16_t) { return marked[position++]; });
            if (run.text.empty()) continue;
            if (run.picture == nullptr && !kept.empty() && CanExtend(kept.back(), run.format)) {
                kept.back().text += run.text;
            } else {
                kept.push_back(std::move(run));
            }
        }
        paragraph.runs = std::move(kept);
        ++position;  // its end
    }
}

void RichText::Add(std::u16string_view line, const CharacterFormat& format) {
    if (line.empty()) return;
    std::vector<Run>& runs = paragraphs_.back().runs;
    if (runs.empty() || !CanExtend(runs.back(), format)) runs.push_back({.text = {}, .format = format});
    std::u16string& text = runs.back().text;
    const std::size_t from = text.size();
    text += line;
    std::replace(text.begin() + from, text.end(), kPictureMark, kReplacement);
}

// The other text's first paragraph continues our last one, whose format stays.
void RichText::Join(RichText other) {
    std::vector<Run>& runs = paragraphs_.back().runs;
    std::vector<Run>& more = other.paragraphs_.front().runs;
    auto next = more.begin();
    if (!runs.empty() && !more.empty() && next->picture == nullptr && CanExtend(runs.back(), next->format)) {
        runs.back().text += (next++)->text;
    }
    std::move(next, more.end(), std::back_inserter(runs));
    std::move(other.paragraphs_.begin() + 1, other.paragraphs_.end(), std::back_inserter(paragraphs_));
}

// Cuts this text at a position within it and returns the rest.
RichText RichText::SplitOff(std::size_t position) {
    auto paragraph = paragraphs_.begin();
    for (; position > paragraph->Length(); ++paragraph) position -= paragraph->Length() + 1;
    RichText tail;
    tail.paragraphs_.front() = SplitParagraph(*paragraph++, position);
    std::move(paragraph, paragraphs_.end(), std::back_inserter(tail.paragraphs_));
    paragraphs_.erase(paragraph, paragraphs_.end());
    return tail;
}

}  // namespace qmtrain::document
