#include "host/papers/choice_row.h"

#include <algorithm>

#include <wx/dcbuffer.h>
#include <wx/graphics.h>

#include "host/widgets/look.h"
#include "host/widgets/signs.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// Pixels of an unscaled screen.
constexpr int kBadge = 24;
constexpr int kLeastHeight = 40;
constexpr double kRadius = 6;

}  // namespace

ChoiceRow::ChoiceRow(wxWindow* parent, Selection kind, std::u16string letter, document::RichText text)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
               wxBORDER_NONE | wxWANTS_CHARS | wxFULL_REPAINT_ON_RESIZE),
      kind_(kind),
      letter_(std::move(letter)),
      text_(*this, std::move(text)) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetCursor(wxCursor(wxCURSOR_HAND));
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) { Paint(); });
    Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent&) {
        SetFocus();
        if (!locked_ && OnChoose) OnChoose();
    });
    const auto hover = [this](bool on) {
        hovered_ = on;
        Refresh();
    };
    Bind(wxEVT_ENTER_WINDOW, [hover](wxMouseEvent&) { hover(true); });
    Bind(wxEVT_LEAVE_WINDOW, [hover](wxMouseEvent&) { hover(false); });
    for (const auto type : {wxEVT_SET_FOCUS, wxEVT_KILL_FOCUS}) {
        Bind(type, [this](wxFocusEvent& event) {
            event.Skip();
            Refresh();
        });
    }
    Bind(wxEVT_KEY_DOWN, &ChoiceRow::OnKey, this);
    Say();
}

void ChoiceRow::OnKey(wxKeyEvent& event) {
    switch (event.GetKeyCode()) {
        case WXK_SPACE:
            if (!locked_ && OnChoose) OnChoose();
            return;
        case WXK_UP: return OnMove ? OnMove(-1) : event.Skip();
        case WXK_DOWN: return OnMove ? OnMove(1) : event.Skip();
        case WXK_TAB: Navigate(event.ShiftDown() ? 0 : wxNavigationKeyEvent::IsForward); return;
        default: event.Skip();
    }
}

void ChoiceRow::Choose(bool chosen) {
    if (chosen_ == chosen) return;
    chosen_ = chosen;
    Say();
    Refresh();
}

void ChoiceRow::Lock() {
    locked_ = true;
    SetCursor(wxNullCursor);
}

void ChoiceRow::ShowRight(bool right) {
    right_ = right;
    Say();
    Refresh();
}

std::u16string ChoiceRow::Remark() const {
    if (!right_) return {};
    if (chosen_) return WithSign(*right_ ? kRightSign : kWrongSign, u"你的答案");
    return *right_ ? WithSign(kRightSign, u"正确答案") : u"";
}

void ChoiceRow::Say() {
    std::u16string name = (letter_.empty() ? u"" : letter_ + u"，") + text_.Text().PlainText();
    if (chosen_) name += u"，已选";
    if (!Remark().empty()) name += u"，" + Remark().substr(2);
    SetSpokenName(*this, name, kind_ == Selection::Single ? Role::RadioButton : Role::CheckBox);
}

int ChoiceRow::RemarkWidth() const {
    return right_ ? GetTextExtent(ui::ToWx(WithSign(kRightSign, u"正确答案"))).x + FromDIP(ui::kMargin) : 0;
}

int ChoiceRow::HeightFor(int width) {
    const int around = FromDIP(ui::kMargin + kBadge + ui::kMargin + ui::kMargin) + RemarkWidth();
    return std::max(FromDIP(kLeastHeight), text_.Arrange(width - around) + FromDIP(2 * ui::kGap));
}

void ChoiceRow::Paint() {
    wxAutoBufferedPaintDC dc(this);
    dc.SetBackground(Colour(Tint::Card));
    dc.Clear();
    const wxSize size = GetClientSize();
    {
        const std::unique_ptr<wxGraphicsContext> graphics(wxGraphicsContext::Create(dc));
        const double radius = FromDIP(static_cast<int>(kRadius));
        const bool active = hovered_ && !locked_;
        wxColour edge = Colour(chosen_ || active ? Tint::Accent : Tint::Line);
        if (right_ && (chosen_ || *right_)) edge = Colour(*right_ ? Tint::Good : Tint::Bad);
        graphics->SetBrush(Colour(chosen_ ? Tint::Chosen : active ? Tint::Hover : Tint::Card));
        graphics->SetPen(graphics->CreatePen(wxGraphicsPenInfo(edge).Width(1)));
        graphics->DrawRoundedRectangle(2.5, 2.5, size.x - 5, size.y - 5, radius);
        if (HasFocus()) {
            graphics->SetBrush(*wxTRANSPARENT_BRUSH);
            graphics->SetPen(graphics->CreatePen(wxGraphicsPenInfo(Colour(Tint::Accent)).Width(2)));
            graphics->DrawRoundedRectangle(1, 1, size.x - 2, size.y - 2, radius + 1);
        }
    }
    PaintBadge(dc, wxPoint(FromDIP(ui::kMargin + kBadge / 2), size.y / 2));
    const int left = FromDIP(ui::kMargin + kBadge + ui::kMargin);
    const int height = text_.Arrange(size.x - left - FromDIP(ui::kMargin) - RemarkWidth());
    text_.Paint(dc, wxPoint(left, (size.y - height) / 2));
    PaintRemark(dc);
}

// Round where one can be chosen, square where several can; filled and ticked when it is.
void ChoiceRow::PaintBadge(wxDC& dc, wxPoint centre) {
    const int size = FromDIP(kBadge);
    {
        const std::unique_ptr<wxGraphicsContext> graphics(wxGraphicsContext::CreateFromUnknownDC(dc));
        graphics->SetBrush(chosen_ ? wxBrush(Colour(Tint::Accent)) : *wxTRANSPARENT_BRUSH);
        graphics->SetPen(
            graphics->CreatePen(wxGraphicsPenInfo(Colour(chosen_ ? Tint::Accent : Tint::Quiet)).Width(1.5)));
        const double radius = kind_ == Selection::Single ? size / 2.0 : FromDIP(ui::kTiny);
        graphics->DrawRoundedRectangle(centre.x - size / 2.0, centre.y - size / 2.0, size, size, radius);
    }
    const wxString text = ui::ToWx(letter_.empty() ? std::u16string(chosen_ ? kRightSign : u"") : letter_);
    dc.SetFont(FontOf(TextSize::Body, true));
    dc.SetTextForeground(Colour(chosen_ ? Tint::OnAccent : Tint::Text));
    const wxSize extent = dc.GetTextExtent(text);
    dc.DrawText(text, centre.x - extent.x / 2, centre.y - extent.y / 2);
}

void ChoiceRow::PaintRemark(wxDC& dc) {
    const std::u16string remark = Remark();
    if (remark.empty()) return;
    dc.SetFont(GetFont());
    dc.SetTextForeground(Colour(*right_ ? Tint::Good : Tint::Bad));
    const wxSize extent = dc.GetTextExtent(ui::ToWx(remark));
    dc.DrawText(ui::ToWx(remark), GetClientSize().x - extent.x - FromDIP(ui::kMargin),
                (GetClientSize().y - extent.y) / 2);
}

}  // namespace qmtrain::host
