// A rich text that a control draws as a part of itself.
#pragma once

#include <wx/dc.h>

#include "document/document_layout.h"
#include "document/rich_text.h"
#include "ui/screen_measurer.h"

namespace qmtrain::host {

class TextBlock {
public:
    // The window must outlive the block.
    TextBlock(wxWindow& window, document::RichText text) : text_(std::move(text)), measurer_(window) {}

    const document::RichText& Text() const { return text_; }

    // Lays the text out; its height. Pixels.
    int Arrange(int width);
    void Paint(wxDC& dc, wxPoint place);

private:
    void PaintPiece(wxDC& dc, wxPoint place, const document::Line& line, const document::Piece& piece);

    document::RichText text_;
    ui::ScreenMeasurer measurer_;
    document::DocumentLayout layout_;
};

}  // namespace qmtrain::host
