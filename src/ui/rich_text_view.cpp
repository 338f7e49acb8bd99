#include "ui/rich_text_view.h"

#include <algorithm>

#include <wx/clipbrd.h>
#include <wx/dcbuffer.h>
#include <wx/settings.h>

#include "ui/screen_measurer.h"
#include "ui/wx_text.h"

namespace qmtrain::ui {
namespace {

constexpr int kMargin = 8;       // pixels of an unscaled screen around the text
constexpr int kScrollUnit = 16;  // pixels

// What is longer is measured by its characters.
constexpr std::size_t kLongText = 20000;

wxColour ToColour(const std::optional<document::Rgb>& color, wxSystemColour automatic) {
    return color ? wxColour(color->red, color->green, color->blue) : wxSystemSettings::GetColour(automatic);
}

// Documents are written for white paper: on a dark window their dark letters could not be read.
wxColour LetterColour(const document::CharacterFormat& format) {
    constexpr double kLeastContrast = 0.25;
    const wxColour own = ToColour(format.color, wxSYS_COLOUR_WINDOWTEXT);
    const wxColour paper = ToColour(format.background, wxSYS_COLOUR_WINDOW);
    const bool dark = !format.background && paper.GetLuminance() < 0.5;
    if (dark && own.GetLuminance() - paper.GetLuminance() < kLeastContrast) {
        return wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT);
    }
    return own;
}

}  // namespace

RichTextView::RichTextView(wxWindow* parent)
    : wxScrolled<wxWindow>(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                           wxBORDER_NONE | wxVSCROLL | wxWANTS_CHARS | wxFULL_REPAINT_ON_RESIZE),
      measurer_(std::make_unique<ScreenMeasurer>(*this)) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetScrollRate(0, kScrollUnit);
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) { Paint(); });
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        Arrange();
    });
    Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent& event) {
        SetFocus();
        anchor_ = caret_ = PositionOf(event);
        Refresh();
    });
    Bind(wxEVT_MOTION, [this](wxMouseEvent& event) {
        if (!event.LeftIsDown()) return;
        caret_ = PositionOf(event);
        Refresh();
    });
    Bind(wxEVT_KEY_DOWN, &RichTextView::OnKey, this);
    SetCursor(wxCursor(wxCURSOR_IBEAM));
}

RichTextView::~RichTextView() = default;

void RichTextView::SetText(document::RichText text) {
    text_ = std::move(text);
    anchor_ = caret_ = 0;
    measurer_->ForgetPictures();
    measurer_->MeasureCharacters(text_.Length() > kLongText);
    Arrange();
    Scroll(0, 0);
    Refresh();
}

void RichTextView::DoSetSize(int x, int y, int width, int height, int flags) {
    scrollbars_.Fit(*this, width, height);
    wxScrolled<wxWindow>::DoSetSize(x, y, width, height, flags);
}

void RichTextView::Arrange() {
    const int margin = FromDIP(kMargin);
    const int width = std::max(1, GetClientSize().x - 2 * margin);
    layout_ = document::DocumentLayout(text_, width, *measurer_);
    SetVirtualSize(width, layout_.WindowHeight(margin));
    Refresh();
}

void RichTextView::Paint() {
    wxAutoBufferedPaintDC dc(this);
    dc.SetBackground(wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW));
    dc.Clear();
    const int margin = FromDIP(kMargin);
    const int top = CalcUnscrolledPosition(wxPoint(0, 0)).y - margin;
    dc.SetDeviceOrigin(margin, 0);
    const std::vector<document::Line>& lines = layout_.Lines();
    for (std::size_t i = layout_.LineAt(top); i < lines.size() && lines[i].top < top + GetClientSize().y; ++i) {
        PaintLine(dc, lines[i], static_cast<int>(lines[i].top - top));
    }
}

void RichTextView::PaintLine(wxDC& dc, const document::Line& line, int top) {
    PaintSelection(dc, line, top);
    if (line.bullet_of != nullptr) {
        const document::CharacterFormat format =
            line.pieces.empty() ? document::CharacterFormat{} : line.pieces.front().run->format;
        dc.SetFont(measurer_->FontOf(format));
        dc.SetTextForeground(LetterColour(format));
        dc.DrawText(ToWx(line.bullet_of->format.bullet), line.bullet_x,
                    top + line.ascent - measurer_->HeightOf(format).ascent);
    }
    for (const document::Piece& piece : line.pieces) PaintPiece(dc, line, piece, top);
}

void RichTextView::PaintPiece(wxDC& dc, const document::Line& line, const document::Piece& piece, int line_top) {
    const int baseline = line_top + line.ascent;
    if (piece.run->picture) {
        const wxSize size(piece.width, piece.picture_height);
        dc.DrawBitmap(measurer_->BitmapOf(*piece.run->picture, size), piece.x, baseline - size.y, true);
        return;
    }
    if (piece.text == u"\t" || piece.text == u"\v") return;
    const document::CharacterFormat& format = piece.run->format;
    const document::Measurer::Height height = measurer_->HeightOf(format);
    int top = baseline - height.ascent;
    if (format.script == document::Script::Superscript) top = line_top;
    if (format.script == document::Script::Subscript) top = line_top + line.height - height.ascent - height.descent;
    if (format.background) {
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(ToColour(format.background, wxSYS_COLOUR_WINDOW));
        dc.DrawRectangle(piece.x, top, piece.width, height.ascent + height.descent);
    }
    const wxColour colour = LetterColour(format);
    dc.SetFont(measurer_->FontOf(format));
    dc.SetTextForeground(colour);
    dc.DrawText(ToWx(piece.text), piece.x, top);
    if (!format.strike_out) return;
    dc.SetPen(colour);
    const int middle = top + (height.ascent + height.descent) / 2;
    dc.DrawLine(piece.x, middle, piece.x + piece.width, middle);
}

// Behind the text, so that it shows through.
void RichTextView::PaintSelection(wxDC& dc, const document::Line& line, int top) {
    const auto [from, to] = std::minmax(anchor_, caret_);
    wxColour colour = wxSystemSettings::GetColour(wxSYS_COLOUR_HIGHLIGHT);
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(colour.ChangeLightness(160));
    for (const document::Piece& piece : line.pieces) {
        const std::size_t begin = std::max(from, piece.position);
        const std::size_t end = std::min(to, piece.position + piece.text.size());
        if (begin >= end) continue;
        int left = 0;
        int right = piece.width;
        if (!piece.run->picture && piece.text != u"\t") {
            const std::vector<int> widths = measurer_->Widths(piece.text, piece.run->format);
            left = begin == piece.position ? 0 : widths[begin - piece.position - 1];
            right = widths[end - piece.position - 1];
        }
        dc.DrawRectangle(piece.x + left, top, right - left, line.height);
    }
}

std::size_t RichTextView::PositionOf(const wxMouseEvent& event) {
    const int margin = FromDIP(kMargin);
    const wxPoint place = CalcUnscrolledPosition(event.GetPosition()) - wxPoint(margin, margin);
    return layout_.PositionAt(place.x, place.y, *measurer_);
}

std::u16string RichTextView::Selection() const {
    const auto [from, to] = std::minmax(anchor_, caret_);
    const std::u16string text = text_.PlainText();
    return from >= text.size() ? std::u16string() : text.substr(from, to - from);
}

void RichTextView::SelectAll() {
    anchor_ = 0;
    caret_ = text_.Length();
    Refresh();
}

void RichTextView::CopySelection() const {
    const std::u16string selected = Selection();
    if (selected.empty() || !wxTheClipboard->Open()) return;
    wxTheClipboard->SetData(new wxTextDataObject(ToWx(selected)));
    wxTheClipboard->Close();
}

void RichTextView::OnKey(wxKeyEvent& event) {
    const int page = std::max(1, GetClientSize().y / kScrollUnit - 1);
    const int top = GetViewStart().y;
    switch (event.GetKeyCode()) {
        case WXK_UP: return Scroll(-1, std::max(0, top - 1));
        case WXK_DOWN: return Scroll(-1, top + 1);
        case WXK_PAGEUP: return Scroll(-1, std::max(0, top - page));
        case WXK_PAGEDOWN: return Scroll(-1, top + page);
        case WXK_HOME: return Scroll(-1, 0);
        case WXK_END: return Scroll(-1, GetVirtualSize().y / kScrollUnit);
        case WXK_TAB: Navigate(event.ShiftDown() ? 0 : wxNavigationKeyEvent::IsForward); return;
        case 'A':
            if (event.ControlDown()) return SelectAll();
            break;
        case 'C':
            if (event.ControlDown()) return CopySelection();
            break;
        default: break;
    }
    event.Skip();
}

}  // namespace qmtrain::ui
