#include "ui/screen_measurer.h"

#include <algorithm>
#include <cstdlib>

#include <wx/dcmemory.h>
#include <wx/image.h>

#include "core/text.h"
#include "ui/question_text.h"
#include "ui/twips.h"
#include "ui/wx_text.h"

namespace qmtrain::ui {
namespace {

constexpr double kScriptScale = 0.65;    // of superscripts and subscripts
constexpr std::size_t kMostFaces = 256;  // to make and measure one takes milliseconds

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

ScreenMeasurer::Face& ScreenMeasurer::FaceOf(const document::CharacterFormat& format) {
    if (last_face_ != nullptr && last_format_ == format) return *last_face_;
    const bool small = format.script != document::Script::Normal;
    const FontKey key{format.font, format.half_points, format.bold, format.italic, format.underline, small};
    auto found = faces_.find(key);
    if (found == faces_.end() && faces_.size() >= kMostFaces) {
        last_format_ = format;
        last_face_ = &NearestFace(key);
        return *last_face_;
    }
    if (found == faces_.end()) {
        const std::u16string& name = format.font.empty() ? kQuestionFont : format.font;
        double points = (format.half_points > 0 ? format.half_points : kQuestionHalfPoints) / 2.0;
        if (small) points *= kScriptScale;
        wxFontInfo info(points);
        info.FaceName(ToWx(name)).Bold(format.bold).Italic(format.italic).Underlined(format.underline);
        wxFont font(info);
        if (!font.IsOk()) font = window_.GetFont();
        found = faces_.emplace(key, Face{.font = font}).first;
    }
    last_format_ = format;
    last_face_ = &found->second;
    return *last_face_;
}

// A text in hundreds of sizes looks much the same with those that are there.
ScreenMeasurer::Face& ScreenMeasurer::NearestFace(const FontKey& key) {
    Face*& nearest = nearest_[key];
    if (nearest != nullptr) return *nearest;
    const auto distance = [&](const FontKey& other) {
        const auto& [name, size, bold, italic, underline, small] = other;
        const int others = (name != std::get<0>(key) ? 8 : 0) + (bold != std::get<2>(key) ? 2 : 0) +
                           (italic != std::get<3>(key) ? 2 : 0) + (underline != std::get<4>(key) ? 4 : 0) +
                           (small != std::get<5>(key) ? 16 : 0);
        return std::abs(size - std::get<1>(key)) + others;
    };
    nearest = &std::min_element(faces_.begin(), faces_.end(), [&](const auto& a, const auto& b) {
                   return distance(a.first) < distance(b.first);
               })->second;
    return *nearest;
}

int ScreenMeasurer::WidthOnScreen(std::u16string_view text, const Face& face) {
    int width = 0;
    int height = 0;
    window_.GetTextExtent(ToWx(text), &width, &height, nullptr, nullptr, &face.font);
    return width;
}

// Ideographs are as wide as one another, and so are the syllables of Hangul; a pair of surrogates is an ideograph or a
// picture of the same width.
int ScreenMeasurer::WidthOf(char16_t unit, Face& face) {
    if (IsLowSurrogate(unit)) return 0;
    if ((unit >= 0x3400 && unit < 0xA000) || IsHighSurrogate(unit)) unit = u'国';
    if (unit >= 0xAC00 && unit < 0xD7A4) unit = u'가';
    std::uint16_t& known = face.widths[unit >> 8][unit & 0xFF];
    if (known == 0) known = static_cast<std::uint16_t>(WidthOnScreen({&unit, 1}, face) + 1);
    return known - 1;
}

int ScreenMeasurer::Width(std::u16string_view text, const document::CharacterFormat& format) {
    if (!by_character_) return WidthOnScreen(text, FaceOf(format));
    Face& face = FaceOf(format);
    int width = 0;
    for (const char16_t unit : text) width += WidthOf(unit, face);
    return width;
}

std::vector<int> ScreenMeasurer::Widths(std::u16string_view text, const document::CharacterFormat& format) {
    std::vector<int> widths;
    widths.reserve(text.size());
    Face& face = FaceOf(format);
    if (by_character_) {
        int width = 0;
        for (const char16_t unit : text) widths.push_back(width += WidthOf(unit, face));
        return widths;
    }
    wxClientDC dc(&window_);
    dc.SetFont(face.font);
    wxArrayInt by_character;
    dc.GetPartialTextExtents(ToWx(text), by_character);
    std::size_t character = 0;  // a pair of surrogates is one there
    for (const char16_t unit : text) {
        if (IsLowSurrogate(unit) && !widths.empty() && sizeof(wchar_t) == 4) {
            widths.push_back(widths.back());
            continue;
        }
        widths.push_back(character < by_character.size() ? by_character[character] : 0);
        ++character;
    }
    return widths;
}

document::Measurer::Height ScreenMeasurer::HeightOf(const document::CharacterFormat& format) {
    Face& face = FaceOf(format);
    if (face.height.ascent < 0) {
        int width = 0;
        int height = 0;
        int descent = 0;
        window_.GetTextExtent(ToWx(u"国g"), &width, &height, &descent, nullptr, &face.font);
        face.height = {height - descent, descent};
    }
    return face.height;
}

int ScreenMeasurer::Pixels(int twips) {
    return twips == 0 ? 0 : ToPixels(window_, twips);
}

const wxBitmap& ScreenMeasurer::BitmapOf(const document::Picture& picture, wxSize size) {
    wxBitmap& bitmap = bitmaps_[{&picture, size.x, size.y}];
    if (bitmap.IsOk()) return bitmap;
    const wxImage image = budget_.Allows(picture) ? DecodePicture(picture, size) : wxImage();
    bitmap = image.IsOk() ? wxBitmap(image.Scale(size.x, size.y, wxIMAGE_QUALITY_HIGH)) : Frame(size);
    return bitmap;
}

}  // namespace qmtrain::ui
