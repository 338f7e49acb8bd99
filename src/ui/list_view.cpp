#include "ui/list_view.h"

#include <algorithm>

#include <wx/settings.h>
#include <wx/wupdlock.h>

#include "ui/wx_text.h"

namespace qmtrain::ui {
namespace {

// Red; a lighter one on a dark background.
wxColour WarningColour() {
    return wxSystemSettings::GetAppearance().IsUsingDarkBackground() ? wxColour(255, 110, 100) : wxColour(255, 0, 0);
}

// A list that draws its own header sends nothing for the second of two quick clicks on it.
void CountEveryClick(wxListCtrl& list) {
    wxWindow* header = wxWindow::FindWindowByName("wxlistctrlcolumntitles", &list);
    if (header == nullptr) return;
    header->Bind(wxEVT_LEFT_DCLICK, [header](const wxMouseEvent& event) {
        wxMouseEvent click(event);
        click.SetEventType(wxEVT_LEFT_DOWN);
        header->ProcessWindowEvent(click);
    });
}

}  // namespace

ListView::ListView(wxWindow* parent, const std::vector<Icon>& icons)
    : wxListCtrl(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                 wxLC_REPORT | wxLC_VIRTUAL | wxLC_SINGLE_SEL | wxBORDER_NONE) {
    wxVector<wxBitmapBundle> images;
    for (const Icon icon : icons) images.push_back(GetIcon(icon));
    SetSmallImages(images);
    warning_.SetTextColour(WarningColour());
    warning_.SetFont(GetFont().Bold());
    empty_text_ = new wxStaticText(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                                   wxALIGN_CENTRE_HORIZONTAL | wxST_NO_AUTORESIZE);
    empty_text_->SetForegroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
    empty_text_->Hide();
    CountEveryClick(*this);
    Bind(wxEVT_LIST_COL_END_DRAG, [this](wxListEvent& event) {
        event.Skip();
        dragged_ = true;
    });
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        StretchColumns();
        PlaceEmptyText();
    });
}

void ListView::AddColumn(std::u16string_view title, int width, std::size_t cell, wxListColumnFormat format) {
    wxListItem column;
    column.SetText(ToWx(title));
    column.SetAlign(format);
    column.SetWidth(width);
    column.SetImage(-1);
    InsertColumn(GetColumnCount(), column);
    columns_.push_back({cell, width});
}

void ListView::AddColumn(std::u16string_view title, std::size_t cell) {
    InsertColumn(GetColumnCount(), ToWx(title));
    columns_.push_back({cell, 0});
}

void ListView::ClearColumns() {
    DeleteAllColumns();
    columns_.clear();
    dragged_ = false;
}

void ListView::SetHeaderIcon(int column, int icon) {
    wxListItem item;
    item.SetMask(wxLIST_MASK_IMAGE);
    item.SetImage(icon - 1);
    SetColumn(column, item);
}

void ListView::Show(ListModel& model) {
    const wxWindowUpdateLocker locker(this);
    model_ = &model;
    SetItemCount(static_cast<long>(model.Size()));
    StretchColumns();
    PlaceEmptyText();
    Refresh();
}

void ListView::SortBy(std::size_t cell, bool ascending) {
    if (model_ == nullptr) return;
    const ListRow* selected = SelectedRow();
    const std::u16string key = selected != nullptr ? selected->key : std::u16string();
    model_->Sort(cell, ascending);
    Show(*model_);
    if (const auto place = model_->Find(key)) SelectRow(static_cast<long>(*place));
}

void ListView::SetEmptyText(std::u16string_view text) {
    empty_text_->SetLabel(ToWx(text));
    empty_text_->InvalidateBestSize();
    PlaceEmptyText();
}

void ListView::PlaceEmptyText() {
    const bool empty = GetItemCount() == 0 && !empty_text_->GetLabel().empty();
    empty_text_->Show(empty);
    if (!empty) return;
    const wxSize area = GetClientSize();
    const int height = empty_text_->GetBestSize().y;
    empty_text_->SetSize(0, area.y / 2 - height, area.x, height);
}

void ListView::StretchColumns() {
    if (dragged_) return;
    int least = 0;
    for (const ShownColumn& column : columns_) least += column.least_width;
    const bool scrolls = GetItemCount() > GetCountPerPage();
    const int scroll_bar = scrolls ? std::max(0, wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, this)) : 0;
    const double room = std::max(least, GetClientSize().x - scroll_bar);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (columns_[i].least_width == 0) continue;
        SetColumnWidth(static_cast<int>(i), static_cast<int>(columns_[i].least_width * room / std::max(1, least)));
    }
}

const ListRow& ListView::RowAt(long index) const {
    return model_->Row(static_cast<std::size_t>(index));
}

const ListRow* ListView::SelectedRow() const {
    const long index = SelectedIndex();
    if (model_ == nullptr || index < 0 || index >= static_cast<long>(model_->Size())) return nullptr;
    return &RowAt(index);
}

void ListView::SelectRow(long index) {
    constexpr long kState = wxLIST_STATE_SELECTED | wxLIST_STATE_FOCUSED;
    SetItemState(index, kState, kState);
    EnsureVisible(index);
}

wxString ListView::OnGetItemText(long item, long column) const {
    const ListRow& row = RowAt(item);
    return ToWx(CellText(row.cells[columns_[column].cell]));
}

int ListView::OnGetItemImage(long item) const {
    return RowAt(item).icon - 1;
}

wxListItemAttr* ListView::OnGetItemAttr(long item) const {
    return RowAt(item).warning ? &warning_ : nullptr;
}

void ListView::DoSetSize(int x, int y, int width, int height, int flags) {
#ifndef __WXMSW__  // whose own list has room for nothing, too
    scrollbars_.Fit(*this, width, height);
#endif
    wxListCtrl::DoSetSize(x, y, width, height, flags);
}

}  // namespace qmtrain::ui
