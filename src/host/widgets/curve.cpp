#include "host/widgets/curve.h"

#include <memory>

#include <wx/dcclient.h>
#include <wx/graphics.h>

#include "core/format.h"
#include "core/text.h"
#include "host/widgets/look.h"
#include "records/score.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr std::size_t kShown = 20;
const wxSize kSize(160, 56);  // pixels of an unscaled screen

}  // namespace

Curve::Curve(wxWindow* parent)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxBORDER_NONE | wxFULL_REPAINT_ON_RESIZE) {
    SetMinSize(FromDIP(kSize));
    DisableFocusFromKeyboard();
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) { Paint(); });
}

void Curve::SetRates(std::vector<float> rates) {
    if (rates.size() > kShown) rates.erase(rates.begin(), rates.end() - kShown);
    rates_ = std::move(rates);
    std::u16string name = u"得分率曲线，及格线 60%";
    for (const float rate : rates_) name += u"，" + Format(rate, u"0");
    SetSpokenName(*this, name, Role::Picture);
    SetToolTip(ui::ToWx(u"最近 " + ToText(rates_.size()) + u" 次的得分率；虚线是及格线 60%"));
    Refresh();
}

void Curve::Paint() {
    wxPaintDC dc(this);
    const double margin = FromDIP(ui::kTiny);
    const wxString label = "60%";
    dc.SetFont(FontOf(TextSize::Small));
    dc.SetTextForeground(Colour(Tint::Quiet));
    const wxSize extent = dc.GetTextExtent(label);
    const double left = margin + extent.x + margin;
    const double width = GetClientSize().x - left - margin;
    const double height = GetClientSize().y - 2 * margin;
    const auto y_of = [&](double rate) { return margin + height * (1 - rate / 100); };
    dc.DrawText(label, static_cast<int>(margin), static_cast<int>(y_of(kPassRate)) - extent.y / 2);
    const std::unique_ptr<wxGraphicsContext> graphics(wxGraphicsContext::Create(dc));
    graphics->SetPen(graphics->CreatePen(wxGraphicsPenInfo(Colour(Tint::Quiet)).Width(1).Style(wxPENSTYLE_SHORT_DASH)));
    graphics->StrokeLine(left, y_of(kPassRate), left + width, y_of(kPassRate));
    if (rates_.empty()) return;
    const auto x_of = [&](std::size_t i) {
        return rates_.size() < 2 ? left + width / 2
                                 : left + width * static_cast<double>(i) / static_cast<double>(rates_.size() - 1);
    };
    wxGraphicsPath path = graphics->CreatePath();
    for (std::size_t i = 0; i < rates_.size(); ++i) {
        if (i == 0) {
            path.MoveToPoint(x_of(i), y_of(rates_[i]));
        } else {
            path.AddLineToPoint(x_of(i), y_of(rates_[i]));
        }
    }
    graphics->SetPen(graphics->CreatePen(wxGraphicsPenInfo(Colour(Tint::Accent)).Width(2)));
    graphics->StrokePath(path);
    graphics->SetBrush(Colour(Tint::Accent));
    const double dot = FromDIP(ui::kTiny) * 0.75;
    const std::size_t last = rates_.size() - 1;
    graphics->DrawEllipse(x_of(last) - dot, y_of(rates_[last]) - dot, 2 * dot, 2 * dot);
}

}  // namespace qmtrain::host
