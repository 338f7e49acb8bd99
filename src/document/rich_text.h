// A rich text: paragraphs of runs, as text boxes show them and RTF stores them.
//
// There is always at least one paragraph. Positions count UTF-16 units from 0; a picture is one position, and so is the
// end of every paragraph but the last. Lengths are in twips. Neighbouring runs differ in format, and no run is empty.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/picture.h"

namespace qmtrain::document {

constexpr char16_t kParagraphEnd = u'\n';
constexpr char16_t kLineBreak = u'\v';  // a new line in the same paragraph
constexpr char16_t kPictureMark = u'\xFFFC';

struct Rgb {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    auto operator<=>(const Rgb&) const = default;
};

enum class Script : std::uint8_t { Normal, Superscript, Subscript };

struct CharacterFormat {
    std::u16string font = {};  // "" = the view's font
    int half_points = 0;       // 0 = the view's size
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strike_out = false;
    Script script = Script::Normal;
    std::optional<Rgb> color = {};  // none = automatic
    std::optional<Rgb> background = {};
    bool operator==(const CharacterFormat&) const = default;
};

enum class Alignment : std::uint8_t { Left, Center, Right, Justify };

struct ParagraphFormat {
    Alignment alignment = Alignment::Left;
    int left_indent = 0;
    int right_indent = 0;
    int first_line_indent = 0;  // on top of the left indent; below 0 it hangs
    int space_before = 0;
    int space_after = 0;
    std::vector<int> tab_stops = {};
    std::u16string bullet = {};  // "•", "1." …; not part of the text
    bool operator==(const ParagraphFormat&) const = default;
};

struct Run {
    std::u16string text;
    CharacterFormat format = {};
    std::shared_ptr<const Picture> picture = {};  // if there is one, the text is kPictureMark

    // Pictures are the same when their content is.
    bool operator==(const Run& other) const;
};

struct Paragraph {
    std::vector<Run> runs = {};
    ParagraphFormat format = {};

    std::size_t Length() const;
    bool operator==(const Paragraph&) const = default;
};

class RichText {
public:
    const std::vector<Paragraph>& Paragraphs() const { return paragraphs_; }
    std::size_t Length() const;
    std::u16string PlainText() const;
    bool operator==(const RichText&) const = default;

    // At the end of the last paragraph. CR LF, CR and LF in the text end a paragraph.
    void AppendText(std::u16string_view text, const CharacterFormat& format = {});
    void AppendPicture(Picture picture, const CharacterFormat& format = {});

    // Begins a new paragraph with the format of the last one.
    void EndParagraph();
    void SetParagraphFormat(ParagraphFormat format);  // of the last paragraph

    // As if typed in here: the other text's first paragraph continues our last one, and gives it its format only when
    // that is empty.
    void Append(RichText other);

    // The first place at or after `from`. An empty text is found nowhere.
    enum class Case : std::uint8_t { Sensitive, Insensitive };
    std::optional<std::size_t> Find(std::u16string_view text, std::size_t from = 0, Case how = Case::Insensitive) const;

    // The new text takes the format of the first position replaced, or of the one before when nothing is replaced.
    // Paragraphs whose end is replaced are joined and keep the first one's format. Positions beyond the end are the
    // end.
    void Replace(std::size_t position, std::size_t length, std::u16string_view text);

    // Takes out the positions that are marked. Requires: a mark for each position, none for the end of a paragraph.
    void Erase(const std::vector<bool>& marked);

private:
    void Add(std::u16string_view line, const CharacterFormat& format);
    void Join(RichText other);
    RichText SplitOff(std::size_t position);

    std::vector<Paragraph> paragraphs_{1};
};

}  // namespace qmtrain::document
