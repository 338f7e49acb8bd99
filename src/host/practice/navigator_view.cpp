#include "host/practice/navigator_view.h"

#include <algorithm>
#include <memory>

#include <wx/dcclient.h>
#include <wx/graphics.h>

#include "core/text.h"
#include "host/widgets/look.h"
#include "host/widgets/signs.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// Pixels of an unscaled screen.
const wxSize kCell(44, 34);
constexpr int kScroll = 16;
constexpr double kRadius = 5;

Tint TintOf(Verdict verdict) {
    if (verdict == Verdict::Right) return Tint::Good;
    return verdict == Verdict::Partly ? Tint::Caution : Tint::Bad;
}

std::u16string_view SignOf(Verdict verdict) {
    if (verdict == Verdict::Right) return kRightSign;
    return verdict == Verdict::Partly ? kPartlySign : kWrongSign;
}

}  // namespace

NavigatorView::NavigatorView(wxWindow* parent, std::vector<NavigatorGroup> groups, std::size_t count)
    : wxScrolled<wxWindow>(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                           wxBORDER_NONE | wxVSCROLL | wxWANTS_CHARS | wxFULL_REPAINT_ON_RESIZE),
      groups_(std::move(groups)),
      cells_(count) {
    SetScrollRate(0, kScroll);
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) { Paint(); });
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        Arrange();
    });
    Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent& event) {
        const auto hit = CellAt(event.GetPosition());
        if (hit && OnGo) OnGo(*hit);
    });
    const auto hover = [this](std::optional<std::size_t> cell) {
        if (cell == hovered_) return;
        hovered_ = cell;
        if (cell) {
            SetToolTip(ui::ToWx(CellText(*cell)));
        } else {
            UnsetToolTip();
        }
        Refresh();
    };
    Bind(wxEVT_MOTION, [this, hover](wxMouseEvent& event) { hover(CellAt(event.GetPosition())); });
    Bind(wxEVT_LEAVE_WINDOW, [hover](wxMouseEvent&) { hover(std::nullopt); });
    for (const auto type : {wxEVT_SET_FOCUS, wxEVT_KILL_FOCUS}) {
        Bind(type, [this](wxFocusEvent& event) {
            event.Skip();
            MoveCursor(current_ < cells_.size() ? current_ : 0);
        });
    }
    Bind(wxEVT_KEY_DOWN, &NavigatorView::OnKey, this);
}

void NavigatorView::OnKey(wxKeyEvent& event) {
    switch (event.GetKeyCode()) {
        case WXK_LEFT: return MoveCursor(cursor_ > 0 ? cursor_ - 1 : 0);
        case WXK_RIGHT: return MoveCursor(std::min(cursor_ + 1, cells_.size() - 1));
        case WXK_UP: return MoveCursor(NextRow(layout_, cursor_, -1));
        case WXK_DOWN: return MoveCursor(NextRow(layout_, cursor_, 1));
        case WXK_HOME: return MoveCursor(0);
        case WXK_END: return MoveCursor(cells_.size() - 1);
        case WXK_SPACE:
            if (OnGo) OnGo(cursor_);
            return;
        case WXK_TAB: Navigate(event.ShiftDown() ? 0 : wxNavigationKeyEvent::IsForward); return;
        default: event.Skip();
    }
}

void NavigatorView::MoveCursor(std::size_t index) {
    cursor_ = index;
    ScrollTo(index);
    SetSpokenName(*this, u"题目导航，第 " + CellText(index), Role::List);
    Refresh();
}

void NavigatorView::SetCell(std::size_t index, const Cell& cell) {
    cells_[index] = cell;
    Refresh();
}

void NavigatorView::SetCurrent(std::size_t index) {
    current_ = index;
    MoveCursor(index < cells_.size() ? index : 0);
}

void NavigatorView::ScrollTo(std::size_t index) {
    if (index >= layout_.cells.size()) return;
    const Box& box = layout_.cells[index];
    const int top = GetViewStart().y * kScroll;
    if (box.y < top)
        Scroll(-1, std::max(0, box.y - GetCharHeight() - FromDIP(ui::kTiny)) / kScroll);  // with its caption
    if (box.y + box.height > top + GetClientSize().y) {
        Scroll(-1, (box.y + box.height - GetClientSize().y + kScroll - 1) / kScroll);
    }
}

std::u16string NavigatorView::CellText(std::size_t index) const {
    const Cell& cell = cells_[index];
    std::u16string text = ToText(index + 1) + u" 题，";
    text.append(cell.verdict ? VerdictText(*cell.verdict) : AnsweredText(cell.answered));
    if (cell.marked) text += u"，已标记";
    if (index == current_) text += u"，当前题";
    return text;
}

wxPoint NavigatorView::PlaceOf(std::size_t index) const {
    const Box& box = layout_.cells[index];
    return CalcScrolledPosition(wxPoint(box.x + box.width / 2, box.y + box.height / 2));
}

std::optional<std::size_t> NavigatorView::CellAt(wxPoint place) const {
    const wxPoint point = CalcUnscrolledPosition(place);
    for (std::size_t i = 0; i < layout_.cells.size(); ++i) {
        const Box& box = layout_.cells[i];
        if (wxRect(box.x, box.y, box.width, box.height).Contains(point)) return i;
    }
    return std::nullopt;
}

void NavigatorView::Arrange() {
    const NavigatorMeasures measures{GetClientSize().x - FromDIP(ui::kTiny), FromDIP(kCell.x), FromDIP(kCell.y),
                                     FromDIP(ui::kTiny), GetCharHeight()};
    layout_ = LayOutNavigator(groups_, measures);
    SetVirtualSize(GetClientSize().x, layout_.height);
    Refresh();
}

void NavigatorView::Paint() {
    wxPaintDC dc(this);
    DoPrepareDC(dc);
    dc.SetFont(FontOf(TextSize::Small));
    dc.SetTextForeground(Colour(Tint::Quiet));
    for (std::size_t i = 0; i < groups_.size() && i < layout_.captions.size(); ++i) {
        dc.DrawText(ui::ToWx(groups_[i].caption), layout_.captions[i].x, layout_.captions[i].y);
    }
    for (std::size_t i = 0; i < cells_.size() && i < layout_.cells.size(); ++i) PaintCell(dc, i);
}

// Open cells have no answer, half filled ones a part of one, filled ones all of it. The current one has a thick frame,
// a marked one a corner with a star.
void NavigatorView::PaintCell(wxDC& dc, std::size_t index) {
    const Cell& cell = cells_[index];
    const Box& at = layout_.cells[index];
    const wxColour accent = Colour(Tint::Accent);
    const wxColour state = cell.verdict ? Colour(TintOf(*cell.verdict)) : accent;
    const bool current = index == current_;
    {
        const std::unique_ptr<wxGraphicsContext> graphics(wxGraphicsContext::CreateFromUnknownDC(dc));
        const wxColour filled = Mixed(state, Colour(Tint::Card), 0.28);
        const bool all = cell.verdict || cell.answered == Answered::Yes;
        const double radius = FromDIP(static_cast<int>(kRadius));
        graphics->SetPen(*wxTRANSPARENT_PEN);
        graphics->SetBrush(hovered_ == index && !all ? Colour(Tint::Hover) : all ? filled : Colour(Tint::Card));
        graphics->DrawRoundedRectangle(at.x + 1, at.y + 1, at.width - 2, at.height - 2, radius);
        if (!all && cell.answered == Answered::Partly) {
            graphics->SetBrush(filled);
            graphics->DrawRoundedRectangle(at.x + 1, at.y + at.height / 2.0, at.width - 2, at.height / 2.0 - 1, radius);
        }
        graphics->SetBrush(*wxTRANSPARENT_BRUSH);
        const double width = current ? 2.5 : 1;
        graphics->SetPen(graphics->CreatePen(wxGraphicsPenInfo(current             ? Colour(Tint::Text)
                                                               : hovered_ == index ? accent
                                                                                   : Colour(Tint::Line))
                                                 .Width(width)));
        graphics->DrawRoundedRectangle(at.x + width / 2, at.y + width / 2, at.width - width, at.height - width, radius);
        if (HasFocus() && index == cursor_) {
            graphics->SetPen(graphics->CreatePen(wxGraphicsPenInfo(accent).Width(2).Style(wxPENSTYLE_SHORT_DASH)));
            graphics->DrawRoundedRectangle(at.x + 4, at.y + 4, at.width - 8, at.height - 8, radius - 2);
        }
    }
    wxString text = ui::ToWx(ToText(index + 1));
    dc.SetFont(FontOf(TextSize::Body, current));
    dc.SetTextForeground(Colour(cell.left_out ? Tint::Quiet : Tint::Text));
    const wxSize extent = dc.GetTextExtent(text);
    dc.DrawText(text, at.x + (at.width - extent.x) / 2, at.y + (at.height - extent.y) / 2);
    dc.SetFont(FontOf(TextSize::Small));
    if (cell.verdict || cell.answered == Answered::Yes) {
        const wxString sign = ui::ToWx(cell.verdict ? SignOf(*cell.verdict) : kRightSign);
        const wxSize size = dc.GetTextExtent(sign);
        dc.SetTextForeground(state);
        dc.DrawText(sign, at.x + at.width - size.x - FromDIP(3), at.y + at.height - size.y);
    }
    if (!cell.marked) return;
    dc.SetTextForeground(Colour(Tint::Caution));
    dc.DrawText(ui::ToWx(kMarkedSign), at.x + FromDIP(3), at.y);
}

}  // namespace qmtrain::host
