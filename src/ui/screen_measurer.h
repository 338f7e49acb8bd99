// Fonts and pictures of rich texts on a screen.
#pragma once

#include <map>
#include <memory>
#include <tuple>

#include <wx/bitmap.h>
#include <wx/dcclient.h>
#include <wx/font.h>

#include "ui/document_layout.h"

namespace qmtrain::ui {

class ScreenMeasurer : public Measurer {
public:
    explicit ScreenMeasurer(wxWindow& window) : window_(window) {}

    int Width(std::u16string_view text, const CharacterFormat& format) override;
    std::vector<int> Widths(std::u16string_view text, const CharacterFormat& format) override;
    Height HeightOf(const CharacterFormat& format) override;
    int Pixels(int twips) override;

    const wxFont& FontOf(const CharacterFormat& format);

    // The picture at that size; an empty frame when it cannot be read.
    const wxBitmap& BitmapOf(const Picture& picture, wxSize size);

    // Pictures of a text that is gone.
    void ForgetPictures() { bitmaps_.clear(); }

private:
    using FontKey = std::tuple<std::u16string, int, bool, bool, bool, bool>;

    wxWindow& window_;
    std::map<FontKey, wxFont> fonts_;
    std::map<std::tuple<const Picture*, int, int>, wxBitmap> bitmaps_;
};

}  // namespace qmtrain::ui
