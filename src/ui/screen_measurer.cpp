#include "ui/screen_measurer.h"

#include <wx/dcmemory.h>
#include <wx/image.h>

#include "ui/picture_decoder.h"
#include "ui/question_text.h"
#include "ui/twips.h"
#include "ui/wx_text.h"

namespace qmtrain::ui {
namespace {

constexpr double kScriptScale = 0.65;  // of superscripts and subscripts

wxBitmap Frame(wxSize size) {
    wxBitmap bitmap;
    bitmap.Create(size);
    wxMemoryDC dc(bitmap);
    dc.SetPen(*wxLIGHT_GREY_PEN);
    dc.SetBrush(*wxWHITE_BRUSH);
    dc.DrawRectangle(size);
    return bitmap;
}

}  // namespace

const wxFont& ScreenMeasurer::FontOf(const CharacterFormat& format) {
    const bool small = format.script != Script::Normal;
    const FontKey key{format.font, format.half_points, format.bold, format.italic, format.underline, small};
    auto found = fonts_.find(key);
    if (found != fonts_.end()) return found->second;
    const std::u16string& name = format.font.empty() ? kQuestionFont : format.font;
    double points = (format.half_points > 0 ? format.half_points : kQuestionHalfPoints) / 2.0;
    if (small) points *= kScriptScale;
    wxFontInfo info(points);
    info.FaceName(ToWx(name)).Bold(format.bold).Italic(format.italic).Underlined(format.underline);
    wxFont font(info);
    if (!font.IsOk()) font = window_.GetFont();
    return fonts_.emplace(key, font).first->second;
}

int ScreenMeasurer::Width(std::u16string_view text, const CharacterFormat& format) {
    int width = 0;
    int height = 0;
    window_.GetTextExtent(ToWx(text), &width, &height, nullptr, nullptr, &FontOf(format));
    return width;
}

std::vector<int> ScreenMeasurer::Widths(std::u16string_view text, const CharacterFormat& format) {
    wxClientDC dc(&window_);
    dc.SetFont(FontOf(format));
    wxArrayInt by_character;
    dc.GetPartialTextExtents(ToWx(text), by_character);
    std::vector<int> widths;  // by unit: a pair of surrogates is one character there
    std::size_t character = 0;
    for (const char16_t unit : text) {
        const bool second_half = unit >= 0xDC00 && unit < 0xE000 && !widths.empty();
        if (second_half && sizeof(wchar_t) == 4) {
            widths.push_back(widths.back());
            continue;
        }
        widths.push_back(character < by_character.size() ? by_character[character] : 0);
        ++character;
    }
    return widths;
}

Measurer::Height ScreenMeasurer::HeightOf(const CharacterFormat& format) {
    int width = 0;
    int height = 0;
    int descent = 0;
    window_.GetTextExtent(ToWx(u"国g"), &width, &height, &descent, nullptr, &FontOf(format));
    return {height - descent, descent};
}

int ScreenMeasurer::Pixels(int twips) {
    return ToPixels(window_, twips);
}

const wxBitmap& ScreenMeasurer::BitmapOf(const Picture& picture, wxSize size) {
    wxBitmap& bitmap = bitmaps_[{&picture, size.x, size.y}];
    if (bitmap.IsOk()) return bitmap;
    const wxImage image = DecodePicture(PictureFile(picture));
    bitmap = image.IsOk() ? wxBitmap(image.Scale(size.x, size.y, wxIMAGE_QUALITY_HIGH)) : Frame(size);
    return bitmap;
}

}  // namespace qmtrain::ui
