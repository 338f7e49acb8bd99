// Shows a rich text: it can be read, scrolled, selected and copied, not changed.
#pragma once

#include <memory>
#include <optional>

#include <wx/scrolwin.h>

#include "document/document_layout.h"
#include "document/rich_text.h"
#include "ui/scrollbar_room.h"

namespace qmtrain::ui {

class ScreenMeasurer;

class RichTextView : public wxScrolled<wxWindow> {
public:
    explicit RichTextView(wxWindow* parent);
    ~RichTextView() override;

    void SetText(document::RichText text);
    const document::RichText& Text() const { return text_; }

    // What is selected, as plain text.
    std::u16string Selection() const;
    void SelectAll();

protected:
    void DoSetSize(int x, int y, int width, int height, int flags) override;

private:
    void Arrange();
    void Paint();
    // `top` is the line's, in the window.
    void PaintLine(wxDC& dc, const document::Line& line, int top);
    void PaintPiece(wxDC& dc, const document::Line& line, const document::Piece& piece, int line_top);
    void PaintSelection(wxDC& dc, const document::Line& line, int top);
    void OnKey(wxKeyEvent& event);
    std::size_t PositionOf(const wxMouseEvent& event);
    void CopySelection() const;

    document::RichText text_;
    document::DocumentLayout layout_;
    std::unique_ptr<ScreenMeasurer> measurer_;
    ScrollbarRoom scrollbars_;
    std::size_t anchor_ = 0;  // the selection lies between the two
    std::size_t caret_ = 0;
};

}  // namespace qmtrain::ui
