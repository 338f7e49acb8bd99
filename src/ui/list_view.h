// A report list over a ListModel: it asks for the rows that it shows, so that thousands cost nothing.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <wx/listctrl.h>
#include <wx/stattext.h>

#include "ui/icons.h"
#include "ui/list_model.h"
#include "ui/scrollbar_room.h"

namespace qmtrain::ui {

class ListView : public wxListCtrl {
public:
    // `icons` are those of rows and headers, numbered from 1.
    ListView(wxWindow* parent, const std::vector<Icon>& icons);

    // `width` in pixels is the least one: columns share what the list is wider, until the user drags one; from then on
    // all stay as they are. The cell of the rows that the column shows: cells without a column exist in the model
    // alone.
    void AddColumn(std::u16string_view title, int width, std::size_t cell,
                   wxListColumnFormat format = wxLIST_FORMAT_LEFT);
    // A column of the toolkit's own width.
    void AddColumn(std::u16string_view title, std::size_t cell);
    void ClearColumns();

    using wxListCtrl::Show;

    // The rows have changed; the selection stays with its row. The model must outlive the list.
    void Show(ListModel& model);

    // Sorts the model by one of its cells.
    void SortBy(std::size_t cell, bool ascending);

    // 0 takes the icon away.
    void SetHeaderIcon(int column, int icon);

    // What stands in the place of rows when there are none.
    void SetEmptyText(std::u16string_view text);

    // -1: none.
    long SelectedIndex() const { return GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED); }
    const ListRow* SelectedRow() const;
    void SelectRow(long index);

protected:
    wxString OnGetItemText(long item, long column) const override;
    int OnGetItemImage(long item) const override;
    wxListItemAttr* OnGetItemAttr(long item) const override;
    void DoSetSize(int x, int y, int width, int height, int flags) override;

private:
    struct ShownColumn {
        std::size_t cell;
        int least_width;  // 0: the toolkit's, which stays
    };

    const ListRow& RowAt(long index) const;
    void PlaceEmptyText();
    void StretchColumns();

    ListModel* model_ = nullptr;
    std::vector<ShownColumn> columns_;
    bool dragged_ = false;
    mutable wxListItemAttr warning_;
    wxStaticText* empty_text_;
    [[maybe_unused]] ScrollbarRoom scrollbars_;
};

}  // namespace qmtrain::ui
