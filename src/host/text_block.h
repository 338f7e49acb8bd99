// A rich text that a control draws as a part of itself.
#pragma once

#include <wx/dc.h>

#include "ui/document/rich_text.h"
#include "ui/document_layout.h"
#include "ui/screen_measurer.h"

namespace qmtrain::host {

class TextBlock {
public:
    // The window must outlive the block.
    TextBlock(wxWindow& window, ui::RichText text) : text_(std::move(text)), measurer_(window) {}

    const ui::RichText& Text() const { return text_; }

    // Lays the text out; its height. Pixels.
    int Arrange(int width);
    void Paint(wxDC& dc, wxPoint place);

private:
    void PaintPiece(wxDC& dc, wxPoint place, const ui::Line& line, const ui::Piece& piece);

    ui::RichText text_;
    ui::ScreenMeasurer measurer_;
    ui::DocumentLayout layout_;
};

}  // namespace qmtrain::host
