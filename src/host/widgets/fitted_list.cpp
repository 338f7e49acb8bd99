#include "host/widgets/fitted_list.h"

#include <algorithm>

#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

class Columns {
public:
    Columns(wxDataViewListCtrl& list, const std::vector<ListColumn>& all, std::size_t flexible)
        : list_(list), columns_(all), flexible_(flexible) {
        for (const ListColumn& one : columns_) {
            wxDataViewColumn* column =
                list_.AppendTextColumn(ui::ToWx(one.title), wxDATAVIEW_CELL_INERT, list_.FromDIP(one.width),
                                       one.alignment, wxDATAVIEW_COL_RESIZABLE);
            column->GetRenderer()->EnableEllipsize(wxELLIPSIZE_END);
        }
    }
    void Fit() const {
        const int width = list_.GetClientSize().x;
        int all = 0;
        for (const ListColumn& one : columns_) all += list_.FromDIP(one.width);
        for (std::size_t i = columns_.size(); i-- > 0;) {
            const bool left_out = columns_[i].spare && all > width;
            if (left_out) all -= list_.FromDIP(columns_[i].width);
            wxDataViewColumn& column = *list_.GetColumn(static_cast<unsigned>(i));
            if (column.IsHidden() != left_out) column.SetHidden(left_out);
        }
        const int least = list_.FromDIP(columns_[flexible_].width);
        const int room = std::max(least, width - (all - least) - list_.FromDIP(ui::kWide));
        list_.GetColumn(static_cast<unsigned>(flexible_))->SetWidth(room);
    }

private:
    wxDataViewListCtrl& list_;
    std::vector<ListColumn> columns_;
    std::size_t flexible_;
};

}  // namespace

wxDataViewListCtrl* MakeFittedList(wxWindow* parent, std::u16string_view name, const std::vector<ListColumn>& columns,
                                   std::size_t flexible) {
    auto* list = new wxDataViewListCtrl(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                        wxDV_SINGLE | wxDV_ROW_LINES | wxBORDER_THEME);
    SetSpokenName(*list, name);
    const Columns fitted(*list, columns, flexible);
    list->SetMinSize(parent->FromDIP(wxSize(200, 60)));
    list->Bind(wxEVT_SIZE, [fitted](wxSizeEvent& event) {
        event.Skip();
        fitted.Fit();
    });
    return list;
}

}  // namespace qmtrain::host
