// Where the characters and pictures of a rich text go in a column of a given width. Measures are pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "document/rich_text.h"

namespace qmtrain::document {

// What the layout must know of fonts and screens.
class Measurer {
public:
    struct Height {
        int ascent = 0;
        int descent = 0;
    };
    virtual ~Measurer() = default;
    virtual int Width(std::u16string_view text, const CharacterFormat& format) = 0;
    // Widths of the text's beginnings: of one unit, of two …
    virtual std::vector<int> Widths(std::u16string_view text, const CharacterFormat& format) = 0;
    virtual Height HeightOf(const CharacterFormat& format) = 0;
    virtual int Pixels(int twips) = 0;
};

// A part of a run within one line.
struct Piece {
    const Run* run = nullptr;
    std::u16string_view text;
    std::size_t position = 0;  // in the document
    int x = 0;
    int width = 0;
    int picture_height = 0;
};

struct Line {
    std::int64_t top = 0;
    int height = 0;
    int ascent = 0;
    std::size_t position = 0;  // of its first character
    std::vector<Piece> pieces;
    const Paragraph* bullet_of = nullptr;  // set where a bullet stands before the line
    int bullet_x = 0;
};

// The text must outlive its layout. Laying it out takes time in proportion to its length.
class DocumentLayout {
public:
    DocumentLayout() = default;
    DocumentLayout(const RichText& text, int width, Measurer& measurer);

    const std::vector<Line>& Lines() const { return lines_; }
    std::int64_t Height() const { return height_; }

    // The height with a margin above and below, no more than windows can scroll.
    int WindowHeight(int margin = 0) const;

    // The first line that reaches below `y`; the number of lines when none does.
    std::size_t LineAt(std::int64_t y) const;

    // The place in the text nearest to a point.
    std::size_t PositionAt(int x, std::int64_t y, Measurer& measurer) const;

private:
    friend class ParagraphLayout;
    std::vector<Line> lines_;
    std::int64_t height_ = 0;  // a short text can ask for more pixels than an int counts
};

// Whether a line may end between the two characters: after blanks, and around Chinese characters, but never before
// closing or after opening punctuation.
bool MayBreakBetween(char16_t before, char16_t after);

}  // namespace qmtrain::document
