// Fonts and pictures of rich texts on a screen.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <tuple>

#include <wx/bitmap.h>
#include <wx/dcclient.h>
#include <wx/font.h>

#include "document/document_layout.h"
#include "ui/picture_budget.h"

namespace qmtrain::ui {

class ScreenMeasurer : public document::Measurer {
public:
    explicit ScreenMeasurer(wxWindow& window) : window_(window) {}

    int Width(std::u16string_view text, const document::CharacterFormat& format) override;
    std::vector<int> Widths(std::u16string_view text, const document::CharacterFormat& format) override;
    Height HeightOf(const document::CharacterFormat& format) override;
    int Pixels(int twips) override;

    const wxFont& FontOf(const document::CharacterFormat& format) { return FaceOf(format).font; }

    // A long text is measured by the widths of its characters, each asked for once: to ask the screen for every line of
    // it takes seconds. What that leaves out, kerning and ligatures, is a pixel here and there.
    void MeasureCharacters(bool by_character) { by_character_ = by_character; }

    // The picture at that size; an empty frame when it cannot be read, or when those before it have so many pixels that
    // the user would have to wait.
    const wxBitmap& BitmapOf(const document::Picture& picture, wxSize size);

    // Pictures of a text that is gone.
    void ForgetPictures() {
        bitmaps_.clear();
        budget_.Forget();
    }

private:
    using FontKey = std::tuple<std::u16string, int, bool, bool, bool, bool>;

    // Widths of the characters with the same first byte, each one more than it is; 0 is not yet known.
    using WidthsOfPage = std::array<std::uint16_t, 256>;

    struct Face {
        wxFont font;
        Height height{-1, 0};  // not yet known
        std::map<unsigned, WidthsOfPage> widths{};
    };

    Face& FaceOf(const document::CharacterFormat& format);
    Face& NearestFace(const FontKey& key);
    int WidthOnScreen(std::u16string_view text, const Face& face);
    int WidthOf(char16_t unit, Face& face);

    wxWindow& window_;
    std::map<FontKey, Face> faces_;
    std::map<FontKey, Face*> nearest_;       // of formats for which no face is made any more
    document::CharacterFormat last_format_;  // of last_face_
    Face* last_face_ = nullptr;
    bool by_character_ = false;
    std::map<std::tuple<const document::Picture*, int, int>, wxBitmap> bitmaps_;
    PictureBudget budget_{4 * document::kMostPixels};
};

}  // namespace qmtrain::ui
