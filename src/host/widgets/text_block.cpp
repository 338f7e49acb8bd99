#include "host/widgets/text_block.h"

#include <algorithm>

#include "host/widgets/look.h"
#include "ui/wx_text.h"

namespace qmtrain::host {

int TextBlock::Arrange(int width) {
    layout_ = document::DocumentLayout(text_, std::max(1, width), measurer_);
    return layout_.WindowHeight();
}

void TextBlock::Paint(wxDC& dc, wxPoint place) {
    for (const document::Line& line : layout_.Lines()) {
        if (line.top > layout_.WindowHeight()) break;
        const wxPoint line_place(place.x, place.y + static_cast<int>(line.top));
        for (const document::Piece& piece : line.pieces) PaintPiece(dc, line_place, line, piece);
    }
}

void TextBlock::PaintPiece(wxDC& dc, wxPoint place, const document::Line& line, const document::Piece& piece) {
    const int baseline = place.y + line.ascent;
    if (piece.run->picture) {
        const wxSize size(piece.width, piece.picture_height);
        dc.DrawBitmap(measurer_.BitmapOf(*piece.run->picture, size), place.x + piece.x, baseline - size.y, true);
        return;
    }
    if (piece.text == u"\t" || piece.text == u"\v") return;
    const document::CharacterFormat& format = piece.run->format;
    const document::Measurer::Height height = measurer_.HeightOf(format);
    int top = baseline - height.ascent;
    if (format.script == document::Script::Superscript) top = place.y;
    if (format.script == document::Script::Subscript) top = place.y + line.height - height.ascent - height.descent;
    const wxColour colour =
        format.color ? wxColour(format.color->red, format.color->green, format.color->blue) : Colour(Tint::Text);
    dc.SetFont(measurer_.FontOf(format));
    dc.SetTextForeground(colour);
    dc.DrawText(ui::ToWx(piece.text), place.x + piece.x, top);
    if (!format.strike_out) return;
    dc.SetPen(colour);
    const int middle = top + (height.ascent + height.descent) / 2;
    dc.DrawLine(place.x + piece.x, middle, place.x + piece.x + piece.width, middle);
}

}  // namespace qmtrain::host
