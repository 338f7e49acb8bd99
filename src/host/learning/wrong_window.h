// The window of wrong questions: the list, the selected one in full, and what can be done with them.
#pragma once

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/dialog.h>
#include <wx/sizer.h>
#include <wx/splitter.h>
#include <wx/srchctrl.h>
#include <wx/stattext.h>

#include "host/data/settings.h"
#include "host/learning/wrong_book.h"
#include "ui/list_view.h"
#include "ui/rich_text_view.h"

namespace qmtrain::host {

class WrongWindow : public wxDialog {
public:
    WrongWindow(wxWindow* parent, const DataFolder& folder, Edition edition, std::int32_t user, std::int32_t subject,
                bool read_only);

    int ShowModal() override;
    void SetFilter(const WrongFilter& filter);
    const WrongEntry* Selected() const;

    wxChoice* CboBank = nullptr;
    wxChoice* CboType = nullptr;
    wxChoice* CboPeriod = nullptr;
    wxCheckBox* ChkTwice = nullptr;
    wxCheckBox* ChkOpen = nullptr;
    wxSearchCtrl* TxtSearch = nullptr;
    wxStaticText* LblCount = nullptr;
    ui::ListView* LvWrong = nullptr;
    ui::RichTextView* RtfQuestion = nullptr;
    wxButton* BtnDrill = nullptr;
    wxButton* BtnReview = nullptr;
    wxButton* BtnNote = nullptr;
    wxButton* BtnRemove = nullptr;
    wxButton* BtnRestore = nullptr;
    wxButton* BtnExport = nullptr;

private:
    wxSizer* BuildFilter();
    wxSizer* BuildButtons();
    void BindEvents();
    void Reload();
    void FillFilter();
    void Fill();
    void ShowSelected();
    void Drill();
    void ReviewPaper();
    void WriteNote();
    void Remove();
    void PutBack();
    void SortBy(int column);

    template <class Body>
    void Guarded(Body body);

    DataFolder folder_;
    Edition edition_;
    bool read_only_;
    Settings settings_;
    WrongBook book_;
    WrongFilter filter_;
    std::vector<const WrongEntry*> shown_;
    std::vector<std::pair<std::u16string, std::u16string>> banks_;
    std::vector<std::pair<std::int32_t, std::u16string>> types_;
    std::vector<WrongEntry> removed_;  // in this window, the last one last
    ui::ListModel rows_;
    wxSplitterWindow* split_ = nullptr;
    int sorted_by_ = -1;
    bool ascending_ = true;
};

}  // namespace qmtrain::host
