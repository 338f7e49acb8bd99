// A report list over a ListModel: it asks for the rows that it shows, so that thousands cost nothing.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <wx/listctrl.h>
#include <wx/stattext.h>

#include "ui/icons.h"
#include "ui/list_model.h"

namespace qmtrain::ui {

class ListView : public wxListCtrl {
public:
    // `icons` are those of rows and headers, numbered from 1.
    ListView(wxWindow* parent, const std::vector<Icon>& icons);

    // `width` in pixels is the least one: columns share what the list is wider. The cell of the rows that the column
    // shows. Columns without one exist in the model alone.
    void AddColumn(std::u16string_view title, int width, std::size_t cell,
                   wxListColumnFormat format = wxLIST_FORMAT_LEFT);
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

private:
    struct Column {
        std::size_t cell;
        int least_width;
    };

    void PlaceEmptyText();
    void StretchColumns();

    ListModel* model_ = nullptr;
    std::vector<Column> columns_;
    mutable wxListItemAttr warning_;
    wxStaticText* empty_text_;
};

}  // namespace qmtrain::ui
