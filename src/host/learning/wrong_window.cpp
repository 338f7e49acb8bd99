#include "host/learning/wrong_window.h"

#include <algorithm>

#include <wx/wrapsizer.h>

#include "core/date.h"
#include "core/error.h"
#include "core/text.h"
#include "host/data/people.h"
#include "host/learning/start_drill.h"
#include "host/widgets/look.h"
#include "host/widgets/note_dialog.h"
#include "host/widgets/window_place.h"
#include "report/printing.h"
#include "review/frm_view_paper.h"
#include "ui/layout.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kTitle = u"错题本";
constexpr std::u16string_view kPlace = u"WrongWindow";
constexpr std::u16string_view kFilterSetting = u"WrongFilter";
constexpr int kTimesColumn = 4;
constexpr std::size_t kTimesSortCell = 7;

constexpr int kWidths[] = {84, 220, 80, 110, 56, 84, 92};

}  // namespace

template <class Body>
void WrongWindow::Guarded(Body body) {
    try {
        body();
    } catch (const AutomationError& error) {
        ui::Inform(this, error.Description(), kTitle);
    }
}

WrongWindow::WrongWindow(wxWindow* parent, const DataFolder& folder, Edition edition, std::int32_t user,
                         std::int32_t subject, bool read_only)
    : wxDialog(parent, wxID_ANY, ui::ToWx(kTitle), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      folder_(folder),
      edition_(edition),
      read_only_(read_only),
      settings_(folder),
      book_(folder, edition, user, subject) {
    SetIcons(ProgramIcon());
    const int margin = FromDIP(ui::kMargin);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(BuildFilter(), 0, wxEXPAND | wxALL, margin);
    split_ = new wxSplitterWindow(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxSP_LIVE_UPDATE | wxSP_3DSASH);
    LvWrong = new ui::ListView(split_, {});
    SetSpokenName(*LvWrong, u"错题");
    LvWrong->SetEmptyText(u"没有错题。\n答错或没有全对的试题会自动收进来。");
    for (std::size_t i = 0; i < std::size(kWrongHeaders); ++i) {
        LvWrong->AddColumn(kWrongHeaders[i], FromDIP(kWidths[i]), i,
                           static_cast<int>(i) == kTimesColumn ? wxLIST_FORMAT_RIGHT : wxLIST_FORMAT_LEFT);
    }
    RtfQuestion = new ui::RichTextView(split_);
    SetSpokenName(*RtfQuestion, u"试题");
    split_->SetMinimumPaneSize(FromDIP(120));
    split_->SplitHorizontally(LvWrong, RtfQuestion);
    split_->SetSashGravity(0.5);
    sizer->Add(split_, 1, wxEXPAND | wxLEFT | wxRIGHT, margin);
    sizer->Add(BuildButtons(), 0, wxEXPAND | wxALL, margin);
    SetSizer(sizer);
    Place(*this, settings_.Text(kPlace), ui::kLargeWindow);
    BindEvents();
    SetEscapeId(wxID_CANCEL);
}

wxSizer* WrongWindow::BuildFilter() {
    auto* row = new wxWrapSizer(wxHORIZONTAL);
    const auto add = [&](wxWindow* control) {
        row->Add(control, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT | wxBOTTOM, FromDIP(ui::kGap));
    };
    CboBank = new wxChoice(this, wxID_ANY);
    SetSpokenName(*CboBank, u"题库");
    CboType = new wxChoice(this, wxID_ANY);
    SetSpokenName(*CboType, u"题型");
    CboPeriod = new wxChoice(this, wxID_ANY);
    SetSpokenName(*CboPeriod, u"时间");
    for (const std::u16string_view period : {u"全部时间", u"最近 7 天", u"最近 30 天", u"最近 90 天"}) {
        CboPeriod->Append(ui::ToWx(period));
    }
    CboPeriod->SetSelection(0);
    for (wxChoice* one : {CboBank, CboType, CboPeriod}) {
        one->SetMinSize(FromDIP(wxSize(110, -1)));
        add(one);
    }
    ChkTwice = new wxCheckBox(this, wxID_ANY, ui::ToWx(u"错两次以上(&T)"));
    ChkOpen = new wxCheckBox(this, wxID_ANY, ui::ToWx(u"还没做对的(&U)"));
    add(ChkTwice);
    add(ChkOpen);
    TxtSearch = new wxSearchCtrl(this, wxID_ANY);
    TxtSearch->SetDescriptiveText(ui::ToWx(u"查找题干、题号"));
    TxtSearch->ShowCancelButton(true);
    TxtSearch->SetMinSize(FromDIP(wxSize(160, -1)));
    SetSpokenName(*TxtSearch, u"查找题干、题号");
    add(TxtSearch);
    LblCount = MakeLabel(this, u"", TextSize::Small, false, Tint::Quiet);
    add(LblCount);
    const std::vector<std::int32_t> kept = [&] {
        std::vector<std::int32_t> numbers;
        const std::u16string text = settings_.Text(kFilterSetting);  // "2 1 0": period, twice, open
        for (const char16_t unit : text) {
            if (unit >= u'0' && unit <= u'9') numbers.push_back(unit - u'0');
        }
        numbers.resize(3);
        return numbers;
    }();
    filter_.period = static_cast<WrongPeriod>(std::min(kept[0], 3));
    filter_.least_times = kept[1] == 1 ? 2 : 1;
    filter_.only_open = kept[2] == 1;
    return row;
}

wxSizer* WrongWindow::BuildButtons() {
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    const auto add = [&](std::u16string_view text, std::u16string_view tip) {
        auto* button = new wxButton(this, wxID_ANY, ui::ToWx(text));
        if (!tip.empty()) button->SetToolTip(ui::ToWx(tip));
        row->Add(button, 0, wxRIGHT, FromDIP(ui::kGap));
        return button;
    };
    BtnDrill = add(u"再练一遍(&P)", u"用列出的题组成一份试卷来练习，最多 50 题");
    BtnReview = add(u"查看试卷(&V)", u"最近一次答错的那份试卷");
    BtnNote = add(u"笔记(&N)", u"");
    BtnRemove = add(u"移出(&R)", u"从错题本中拿掉；再错时会回来");
    BtnRestore = add(u"撤销移出(&Z)", u"把刚才移出的题放回来");
    row->AddStretchSpacer();
    BtnExport = add(u"导出和打印(&E)…", u"");
    row->Add(new wxButton(this, wxID_CANCEL, ui::ToWx(u"关闭(&C)")));
    return row;
}

void WrongWindow::BindEvents() {
    const auto choose = [this](wxCommandEvent&) {
        const int bank = CboBank->GetSelection();
        const int type = CboType->GetSelection();
        filter_.data_code = bank > 0 ? banks_[bank - 1].first : std::u16string();
        filter_.type = type > 0 ? types_[type - 1].first : -1;
        filter_.period = static_cast<WrongPeriod>(std::max(0, CboPeriod->GetSelection()));
        filter_.least_times = ChkTwice->GetValue() ? 2 : 1;
        filter_.only_open = ChkOpen->GetValue();
        filter_.search = ui::FromWx(TxtSearch->GetValue());
        Fill();
    };
    for (wxChoice* one : {CboBank, CboType, CboPeriod}) one->Bind(wxEVT_CHOICE, choose);
    for (wxCheckBox* one : {ChkTwice, ChkOpen}) one->Bind(wxEVT_CHECKBOX, choose);
    TxtSearch->Bind(wxEVT_TEXT, choose);
    TxtSearch->Bind(wxEVT_SEARCH_CANCEL, [this](wxCommandEvent&) { TxtSearch->Clear(); });
    LvWrong->Bind(wxEVT_LIST_ITEM_SELECTED, [this](wxListEvent&) { ShowSelected(); });
    LvWrong->Bind(wxEVT_LIST_ITEM_ACTIVATED, [this](wxListEvent&) { ReviewPaper(); });
    LvWrong->Bind(wxEVT_LIST_COL_CLICK, [this](wxListEvent& event) { SortBy(event.GetColumn()); });
    LvWrong->Bind(wxEVT_LIST_KEY_DOWN, [this](wxListEvent& event) {
        if (event.GetKeyCode() == WXK_DELETE) return Remove();
        event.Skip();
    });
    BtnDrill->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Drill(); });
    BtnReview->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ReviewPaper(); });
    BtnNote->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { WriteNote(); });
    BtnRemove->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Remove(); });
    BtnRestore->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { PutBack(); });
    BtnExport->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        report::ShowExportMenu(this, [this] {
            std::u16string whose = u"所有考生";
            for (const Candidate& one : CandidatesOf(folder_)) {
                if (one.id == book_.User()) whose = one.name;
            }
            return WrongReport(book_, shown_, whose);
        });
    });
}

int WrongWindow::ShowModal() {
    Layout();
    split_->SetSashPosition(split_->GetClientSize().y / 2);
    Reload();
    LvWrong->SetFocus();
    const int result = wxDialog::ShowModal();
    if (!read_only_) {
        settings_.Set(kPlace, PlaceOf(*this));
        settings_.Set(kFilterSetting, ToText(static_cast<std::int64_t>(filter_.period)) +
                                          (filter_.least_times > 1 ? u" 1" : u" 0") +
                                          (filter_.only_open ? u" 1" : u" 0"));
    }
    return result;
}

void WrongWindow::SetFilter(const WrongFilter& filter) {
    filter_ = filter;
}

void WrongWindow::Reload() {
    Guarded([this] { book_.Load(); });
    FillFilter();
    Fill();
}

void WrongWindow::FillFilter() {
    banks_ = book_.Banks();
    types_ = book_.Types();
    CboBank->Clear();
    CboBank->Append(ui::ToWx(u"所有题库"));
    CboBank->SetSelection(0);
    for (const auto& [code, name] : banks_) {
        const int place = CboBank->Append(ui::ToWx(name));
        if (code == filter_.data_code) CboBank->SetSelection(place);
    }
    CboType->Clear();
    CboType->Append(ui::ToWx(u"所有题型"));
    CboType->SetSelection(0);
    for (const auto& [type, name] : types_) {
        const int place = CboType->Append(ui::ToWx(name));
        if (type == filter_.type) CboType->SetSelection(place);
    }
    if (CboBank->GetSelection() == 0) filter_.data_code.clear();
    if (CboType->GetSelection() == 0) filter_.type = -1;
    CboPeriod->SetSelection(static_cast<int>(filter_.period));
    ChkTwice->SetValue(filter_.least_times > 1);
    ChkOpen->SetValue(filter_.only_open);
}

void WrongWindow::Fill() {
    shown_.clear();
    Guarded([this] { shown_ = book_.Filtered(filter_, Now()); });
    rows_.Clear();
    for (const WrongEntry* entry : shown_) rows_.Add(ToListRow(*entry));
    if (sorted_by_ >= 0) {
        rows_.Sort(sorted_by_ == kTimesColumn ? kTimesSortCell : static_cast<std::size_t>(sorted_by_), ascending_);
    }
    LvWrong->SetEmptyText(book_.All().empty()
                              ? std::u16string_view(u"没有错题。\n答错或没有全对的试题会自动收进来。")
                              : std::u16string_view(u"没有符合条件的错题。\n放宽上面的条件，可以看到其他错题。"));
    LvWrong->Show(rows_);
    if (rows_.Size() > 0 && LvWrong->SelectedIndex() < 0) LvWrong->SelectRow(0);
    LblCount->SetLabelText(
        ui::ToWx(u"列出 " + ToText(shown_.size()) + u" 题，共 " + ToText(book_.All().size()) + u" 题"));
    ShowSelected();
    Layout();
}

const WrongEntry* WrongWindow::Selected() const {
    const ui::ListRow* row = LvWrong->SelectedRow();
    if (row == nullptr) return nullptr;
    for (const WrongEntry* entry : shown_) {
        if (ToListRow(*entry).key == row->key) return entry;
    }
    return nullptr;
}

void WrongWindow::ShowSelected() {
    const WrongEntry* entry = Selected();
    RtfQuestion->SetText(entry == nullptr ? document::RichText() : WrongText(book_, *entry));
    for (wxButton* button : {BtnReview, BtnNote}) button->Enable(entry != nullptr);
    const bool can = !read_only_ && book_.User() != -1;
    BtnNote->Enable(entry != nullptr && book_.User() != -1);
    BtnRemove->Enable(entry != nullptr && can);
    BtnRestore->Enable(!removed_.empty() && can);
    BtnDrill->Enable(!shown_.empty() && can && book_.Subject() != -1);
    BtnExport->Enable(!shown_.empty());
}

void WrongWindow::Drill() {
    if (StartDrill(this, folder_, edition_, book_.User(), book_.Subject(), u"错题练习", ToDrill(shown_))) Reload();
    LvWrong->SetFocus();
}

void WrongWindow::ReviewPaper() {
    const WrongEntry* entry = Selected();
    if (entry == nullptr) return;
    const WrongQuestion& item = entry->item;
    review::FrmViewPaper window({SourceIn(folder_, edition_, book_.User(), item.question.subject), item.last_train_id});
    window.SetIcons(ProgramIcon());
    window.ShowModal();
    LvWrong->SetFocus();
}

void WrongWindow::WriteNote() {
    const WrongEntry* entry = Selected();
    if (entry == nullptr) return;
    Guarded([&] {
        NoteDialog dialog(this, folder_, entry->item.question.subject, book_.User(), entry->item.question.data_code,
                          entry->item.question.rec_no);
        dialog.ShowModal();
    });
    ShowSelected();
}

void WrongWindow::Remove() {
    const WrongEntry* entry = Selected();
    if (entry == nullptr || !BtnRemove->IsEnabled()) return;
    const long row = LvWrong->SelectedIndex();
    if (!book_.Remove(*entry)) return ui::Inform(this, u"无法移出这道题：数据文件夹可能不能写入。", kTitle);
    removed_.push_back(*entry);
    Reload();
    if (rows_.Size() > 0) LvWrong->SelectRow(std::min(row, static_cast<long>(rows_.Size()) - 1));
    LvWrong->SetFocus();
}

void WrongWindow::PutBack() {
    if (removed_.empty()) return;
    book_.Restore(removed_.back());
    removed_.pop_back();
    Reload();
    LvWrong->SetFocus();
}

void WrongWindow::SortBy(int column) {
    if (column < 0) return;
    ascending_ = sorted_by_ == column ? !ascending_ : true;
    sorted_by_ = column;
    LvWrong->SortBy(column == kTimesColumn ? kTimesSortCell : static_cast<std::size_t>(column), ascending_);
}

}  // namespace qmtrain::host
