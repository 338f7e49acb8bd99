// Letters of one width, so that a test can say where a line ends.
#pragma once

#include "document/document_layout.h"

namespace qmtrain::test {

inline constexpr int kLetter = 10;

// The height says the size: 10 above the base line and 4 below, or twice as much for large characters.
class FixedMeasurer : public document::Measurer {
public:
    int Width(std::u16string_view text, const document::CharacterFormat& format) override {
        return text.empty() ? 0 : Widths(text, format).back();
    }
    std::vector<int> Widths(std::u16string_view text, const document::CharacterFormat&) override {
        std::vector<int> widths;
        int width = 0;
        for (const char16_t unit : text) {
            const bool second_half = unit >= 0xDC00 && unit < 0xE000;
            if (!second_half) width += unit > 0x2000 ? 2 * kLetter : kLetter;
            widths.push_back(width);
        }
        return widths;
    }
    Height HeightOf(const document::CharacterFormat& format) override {
        return format.half_points > 40 ? Height{20, 8} : Height{10, 4};
    }
    int Pixels(int twips) override { return twips / 15; }
};

}  // namespace qmtrain::test
