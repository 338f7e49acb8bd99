#include "host/practice/result_view.h"

#include <algorithm>
#include <initializer_list>
#include <memory>

#include <wx/dcclient.h>
#include <wx/graphics.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>

#include "core/convert.h"
#include "core/format.h"
#include "core/text.h"
#include "host/widgets/signs.h"
#include "records/score.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr int kBarHeight = 12;  // pixels of an unscaled screen

std::u16string Points(double score) {
    return ToText(Value(static_cast<float>(score)));
}

}  // namespace

ShareBar::ShareBar(wxWindow* parent, double share, Tint tint, std::u16string_view name, int height)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxSize(parent->FromDIP(60), parent->FromDIP(height)),
               wxBORDER_NONE | wxFULL_REPAINT_ON_RESIZE),
      share_(share),
      tint_(tint) {
    SetMinSize(wxSize(FromDIP(60), FromDIP(height)));
    DisableFocusFromKeyboard();
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) { Paint(); });
    SetSpokenName(*this, name, Role::Bar);
}

void ShareBar::SetShare(double share, std::u16string_view name) {
    share_ = share;
    SetSpokenName(*this, name, Role::Bar);
    Refresh();
}

void ShareBar::Paint() {
    wxPaintDC dc(this);
    const wxSize size = GetClientSize();
    const std::unique_ptr<wxGraphicsContext> graphics(wxGraphicsContext::Create(dc));
    graphics->SetPen(*wxTRANSPARENT_PEN);
    graphics->SetBrush(Colour(Tint::Line));
    graphics->DrawRoundedRectangle(0, 0, size.x, size.y, size.y / 2.0);
    if (share_ <= 0) return;
    graphics->SetBrush(Colour(tint_));
    graphics->DrawRoundedRectangle(0, 0, std::max<double>(size.y, size.x * std::min(1.0, share_)), size.y,
                                   size.y / 2.0);
}

ResultView::ResultView(wxWindow* parent, const Outcome& outcome, std::u16string_view title)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME) {
    auto* page = new wxScrolledWindow(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxVSCROLL | wxTAB_TRAVERSAL);
    for (wxWindow* window : std::initializer_list<wxWindow*>{this, page}) {
        window->SetBackgroundColour(Colour(Tint::Card));
    }
    page->SetScrollRate(0, FromDIP(ui::kWide));
    const bool passed = outcome.Passed();
    const std::u16string verdict = passed ? WithSign(kRightSign, u"及格") : WithSign(kWrongSign, u"不及格");
    const std::u16string score = Points(outcome.Score()) + u" / " + Points(outcome.FullScore()) + u" 分";
    const std::u16string rate = u"得分率 " + Format(outcome.Rate(), u"0.0") + u"%（60% 及格）";
    std::u16string time = u"用时 " + DurationText(outcome.seconds_used);
    if (const std::u16string change = ChangeText(outcome); !change.empty()) time += u"　·　" + change;

    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(MakeLabel(page, title, TextSize::Body, false, Tint::Quiet), 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kTiny));
    auto* head = new wxBoxSizer(wxHORIZONTAL);
    head->Add(MakeLabel(page, score, TextSize::Large, true), 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kWide));
    head->Add(MakeLabel(page, verdict, TextSize::Large, true, passed ? Tint::Good : Tint::Bad), 0,
              wxALIGN_CENTRE_VERTICAL);
    sizer->Add(head, 0, wxBOTTOM, FromDIP(ui::kGap));
    sizer->Add(MakeLabel(page, rate), 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kTiny));
    sizer->Add(MakeLabel(page, time), 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kWide));
    sizer->Add(MakeLabel(page, u"各题型得分", TextSize::Body, true), 0, wxBOTTOM, FromDIP(ui::kGap));
    auto* grid = new wxFlexGridSizer(3, FromDIP(wxSize(ui::kMargin, ui::kMargin)));
    grid->AddGrowableCol(1);
    text_ = u"总分 " + Points(outcome.FullScore()) + u"，得分 " + Points(outcome.Score()) + u"，" +
            (passed ? u"及格" : u"不及格") + u"。" + time + u"。";
    for (const KindOutcome& kind : outcome.ByKind()) {
        const double rate_of_kind = Rate(kind.full_score, kind.score);
        const std::u16string points = Points(kind.score) + u" / " + Points(kind.full_score) + u" 分　对 " +
                                      ToText(kind.right) + u" / " + ToText(kind.questions) + u" 题";
        grid->Add(MakeLabel(page, KindName(kind.kind)), 0, wxALIGN_CENTRE_VERTICAL);
        grid->Add(new ShareBar(page, rate_of_kind / 100, IsPassRate(rate_of_kind) ? Tint::Good : Tint::Bad,
                               std::u16string(KindName(kind.kind)) + u"，" + points, kBarHeight),
                  1, wxEXPAND | wxALIGN_CENTRE_VERTICAL);
        grid->Add(MakeLabel(page, points), 0, wxALIGN_CENTRE_VERTICAL);
        text_.append(KindName(kind.kind)).append(u" ").append(points).append(u"。");
    }
    sizer->Add(grid, 0, wxEXPAND);
    auto* column = new wxBoxSizer(wxVERTICAL);
    column->Add(sizer, 0, wxEXPAND | wxALL, FromDIP(ui::kWide));
    sizer->SetMinSize(FromDIP(wxSize(300, -1)));
    page->SetSizer(column);
    page->FitInside();
    auto* whole = new wxBoxSizer(wxVERTICAL);
    whole->Add(page, 1, wxEXPAND);
    SetSizer(whole);
    SetSpokenName(*page, text_);
}

}  // namespace qmtrain::host
