#include "host/main_window.h"

#include <algorithm>
#include <span>

#include <wx/menu.h>
#include <wx/wupdlock.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "host/about_dialog.h"
#include "host/analysis_window.h"
#include "host/ask.h"
#include "host/bank_menu.h"
#include "host/form_dialog.h"
#include "host/look.h"
#include "host/practice_window.h"
#include "host/review_schedule.h"
#include "host/review_window.h"
#include "host/sample_data.h"
#include "host/schema.h"
#include "host/window_place.h"
#include "host/wrong_window.h"
#include "notes/ui_manage_notes.h"
#include "review/frm_view_paper.h"
#include "review/ui_train.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// Pixels of an unscaled screen.
const wxSize kFirstSize(980, 640);
const wxSize kLeastSize(680, 460);
constexpr int kLeastPapers = 280;
constexpr int kBandRow = 44;
constexpr std::size_t kLastShown = 100;  // the history window has all of them
constexpr int kBandRows = 2;             // more of them scroll
constexpr int kUploadInterval = 60'000;  // milliseconds

constexpr std::u16string_view kTitle = u"全国计算机等级考试模拟练习";
constexpr std::u16string_view kPlace = u"MainWindow";
constexpr std::u16string_view kUserSetting = u"User";
constexpr std::u16string_view kSubjectSetting = u"Subject";
constexpr std::u16string_view kEditionSetting = u"Edition";

template <class People, class Number>
int PlaceOf(const People& people, std::int32_t wanted, Number number) {
    const auto found =
        std::find_if(people.begin(), people.end(), [&](const auto& one) { return number(one) == wanted; });
    return found == people.end() ? -1 : static_cast<int>(found - people.begin());
}

struct ListColumn {
    std::u16string_view title;
    int width;  // the least one
    wxAlignment alignment;
    bool spare = false;
};

// The column of names takes what the others leave, and ends with an ellipsis. Where there is no room for all, spare
// columns are left out, the last one first.
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
        const int room = std::max(least, width - (all - least) - list_.FromDIP(kWide));
        list_.GetColumn(static_cast<unsigned>(flexible_))->SetWidth(room);
    }

private:
    wxDataViewListCtrl& list_;
    std::vector<ListColumn> columns_;
    std::size_t flexible_;
};

wxDataViewListCtrl* MakeList(wxWindow* parent, std::u16string_view name, const std::vector<ListColumn>& all,
                             std::size_t flexible) {
    auto* list = new wxDataViewListCtrl(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                        wxDV_SINGLE | wxDV_ROW_LINES | wxBORDER_THEME);
    SetSpokenName(*list, name);
    const Columns columns(*list, all, flexible);
    list->SetMinSize(parent->FromDIP(wxSize(200, 60)));
    list->Bind(wxEVT_SIZE, [columns](wxSizeEvent& event) {
        event.Skip();
        columns.Fit();
    });
    return list;
}

std::u16string Percent(float rate) {
    return Format(rate, u"0.0") + u"%";
}

}  // namespace

template <class Body>
void MainWindow::Guarded(Body body) {
    try {
        body();
    } catch (const AutomationError& error) {
        ui::Inform(this, error.Description(), kTitle);
    }
}

MainWindow::MainWindow(DataFolder folder, const Choices& choices)
    : wxFrame(nullptr, wxID_ANY, ui::ToWx(kTitle)),
      folder_(std::move(folder)),
      read_only_(Examine(folder_).read_only),
      settings_(folder_) {
    SetIcons(ProgramIcon());
    Build();
    BuildMenu();
    SetMinClientSize(FromDIP(kLeastSize));
    Place(*this, settings_.Text(kPlace), kFirstSize);
    BindEvents();
    if (!read_only_) {
        Guarded([this] {
            UpgradeHostDatabase(folder_.path);
            UploadWaiting(folder_);
            SettleHandedIn(folder_);
            DiscardEmpty(folder_);
        });
    }
    Choose(choices);
    Fill();
}

void MainWindow::Build() {
    const int margin = FromDIP(kMargin);
    auto* page = new wxPanel(this);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(BuildChoices(page), 0, wxEXPAND | wxALL, margin);
    Band = new wxScrolledWindow(page, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                wxVSCROLL | wxTAB_TRAVERSAL | wxBORDER_THEME);
    Band->SetScrollRate(0, FromDIP(kWide));
    Band->SetBackgroundColour(Mixed(Colour(Tint::Caution), Colour(Tint::Card), 0.12));
    SetSpokenName(*Band, u"还没有交卷的练习");
    sizer->Add(Band, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, margin);
    auto* middle = new wxBoxSizer(wxHORIZONTAL);
    wxSizer* papers = BuildPapers(page);
    papers->SetMinSize(FromDIP(wxSize(kLeastPapers, -1)));
    middle->Add(papers, 5, wxEXPAND | wxRIGHT, FromDIP(kWide));
    middle->Add(BuildPast(page), 6, wxEXPAND);
    sizer->Add(middle, 1, wxEXPAND | wxLEFT | wxRIGHT, margin);
    LblFolder = new wxStaticText(
        page, wxID_ANY, ui::ToWx(u"数据文件夹：" + folder_.path + (read_only_ ? u"（只读：可以查看，不能练习）" : u"")),
        wxDefaultPosition, wxDefaultSize, wxST_ELLIPSIZE_MIDDLE);
    LblFolder->SetForegroundColour(Colour(Tint::Quiet));
    LblFolder->SetFont(FontOf(TextSize::Small));
    sizer->Add(LblFolder, 0, wxEXPAND | wxALL, margin);
    page->SetSizer(sizer);
}

wxSizer* MainWindow::BuildChoices(wxWindow* page) {
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    const auto caption = [&](std::u16string_view text) {
        row->Add(new wxStaticText(page, wxID_ANY, ui::ToWx(text)), 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kGap));
    };
    caption(u"考生(&U)");
    CboUser = new wxChoice(page, wxID_ANY);
    SetSpokenName(*CboUser, u"考生");
    CboUser->SetMinSize(FromDIP(wxSize(90, -1)));
    row->Add(CboUser, 2, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kGap));
    LblUser = MakeLabel(page, u"", TextSize::Small, false, Tint::Quiet);
    row->Add(LblUser, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kWide));
    caption(u"科目(&S)");
    CboSubject = new wxChoice(page, wxID_ANY);
    SetSpokenName(*CboSubject, u"科目");
    CboSubject->SetMinSize(FromDIP(wxSize(110, -1)));
    row->Add(CboSubject, 3, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kGap));
    BtnRules = new wxButton(page, wxID_ANY, ui::ToWx(u"须知(&I)"), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
    BtnRules->SetMinSize(wxSize(BtnRules->GetTextExtent(BtnRules->GetLabelText()).x + FromDIP(2 * kMargin), -1));
    BtnRules->SetToolTip(ui::ToWx(u"这个科目的考生须知"));
    row->Add(BtnRules, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kWide));
    OptStandAlone =
        new wxRadioButton(page, wxID_ANY, ui::ToWx(u"单机版"), wxDefaultPosition, wxDefaultSize, wxRB_GROUP);
    OptNet = new wxRadioButton(page, wxID_ANY, ui::ToWx(u"网络版"));
    row->Add(OptStandAlone, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kGap));
    row->Add(OptNet, 0, wxALIGN_CENTRE_VERTICAL);
    return row;
}

wxSizer* MainWindow::BuildPapers(wxWindow* page) {
    auto* box = new wxBoxSizer(wxVERTICAL);
    box->Add(MakeLabel(page, u"试卷", TextSize::Body, true), 0, wxBOTTOM, FromDIP(kGap));
    LvPapers = MakeList(page, u"试卷",
                        {{u"试卷号", 56, wxALIGN_RIGHT},
                         {u"名称", 96, wxALIGN_LEFT},
                         {u"题数", 44, wxALIGN_RIGHT},
                         {u"分钟", 44, wxALIGN_RIGHT, true},
                         {u"最好", 60, wxALIGN_RIGHT},
                         {u"次数", 48, wxALIGN_CENTRE, true}},
                        1);
    box->Add(LvPapers, 1, wxEXPAND);
    Nothing = new wxPanel(page, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME);
    LblNothing =
        new wxStaticText(Nothing, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxALIGN_CENTRE_HORIZONTAL);
    BtnNothing = new wxButton(Nothing, wxID_ANY, wxString());
    auto* inside = new wxBoxSizer(wxVERTICAL);
    inside->AddStretchSpacer();
    inside->Add(LblNothing, 0, wxALIGN_CENTRE_HORIZONTAL | wxALL, FromDIP(kGap));
    inside->Add(BtnNothing, 0, wxALIGN_CENTRE_HORIZONTAL | wxALL, FromDIP(kGap));
    inside->AddStretchSpacer();
    Nothing->SetSizer(inside);
    box->Add(Nothing, 1, wxEXPAND);
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    BtnExam = new wxButton(page, wxID_ANY, ui::ToWx(u"开始考试(&E)"));
    BtnExam->SetToolTip(ui::ToWx(u"计时，交卷以后看答案"));
    BtnExercise = new wxButton(page, wxID_ANY, ui::ToWx(u"开始练习(&P)"));
    BtnExercise->SetToolTip(ui::ToWx(u"不计时，每题作答以后就可以看答案"));
    buttons->Add(BtnExam, 1, wxRIGHT, FromDIP(kGap));
    buttons->Add(BtnExercise, 1);
    box->Add(buttons, 0, wxEXPAND | wxTOP, FromDIP(kGap));
    return box;
}

wxSizer* MainWindow::BuildPast(wxWindow* page) {
    auto* box = new wxBoxSizer(wxVERTICAL);
    auto* figures = new wxBoxSizer(wxHORIZONTAL);
    auto* words = new wxBoxSizer(wxVERTICAL);
    words->Add(MakeLabel(page, u"我的成绩", TextSize::Body, true), 0, wxBOTTOM, FromDIP(kGap));
    LblFigures = MakeLabel(page, u"");
    LblFigures->SetMinSize(FromDIP(wxSize(kBandRow, -1)));
    words->Add(LblFigures, 0, wxEXPAND);
    figures->Add(words, 1, wxRIGHT, FromDIP(kMargin));
    PicCurve = new Curve(page);
    figures->Add(PicCurve, 0, wxALIGN_CENTRE_VERTICAL);
    box->Add(figures, 0, wxEXPAND | wxBOTTOM, FromDIP(kMargin));
    box->Add(MakeLabel(page, u"最近的练习", TextSize::Body, true), 0, wxBOTTOM, FromDIP(kGap));
    LvLast = MakeList(page, u"最近的练习",
                      {{u"日期", 112, wxALIGN_LEFT},
                       {u"试卷", 72, wxALIGN_LEFT},
                       {u"方式", 56, wxALIGN_LEFT, true},
                       {u"用时", 64, wxALIGN_RIGHT, true},
                       {u"得分", 88, wxALIGN_RIGHT},
                       {u"结果", 72, wxALIGN_LEFT}},
                      1);
    box->Add(LvLast, 1, wxEXPAND);
    LblNoLast =
        MakeLabel(page, u"还没有练习记录。选一份试卷，按“开始考试”或“开始练习”。", TextSize::Small, false, Tint::Quiet);
    box->Add(LblNoLast, 0, wxEXPAND | wxTOP, FromDIP(kGap));
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    BtnReview = new wxButton(page, wxID_ANY, ui::ToWx(u"查看试卷(&R)"));
    BtnHistory = new wxButton(page, wxID_ANY, ui::ToWx(u"练习历史(&H)"));
    BtnNotes = new wxButton(page, wxID_ANY, ui::ToWx(u"笔记管理(&N)"));
    buttons->Add(BtnReview, 1, wxRIGHT, FromDIP(kGap));
    buttons->Add(BtnHistory, 1, wxRIGHT, FromDIP(kGap));
    buttons->Add(BtnNotes, 1);
    box->Add(buttons, 0, wxEXPAND | wxTOP, FromDIP(kGap));
    auto* learning = new wxBoxSizer(wxHORIZONTAL);
    BtnWrong = new wxButton(page, wxID_ANY, ui::ToWx(u"错题本(&W)"));
    BtnToday = new wxButton(page, wxID_ANY, ui::ToWx(u"今日复习(&Y)"));
    BtnToday->SetToolTip(ui::ToWx(u"快要忘记的题"));
    BtnAnalysis = new wxButton(page, wxID_ANY, ui::ToWx(u"学习分析(&A)"));
    learning->Add(BtnWrong, 1, wxRIGHT, FromDIP(kGap));
    learning->Add(BtnToday, 1, wxRIGHT, FromDIP(kGap));
    learning->Add(BtnAnalysis, 1);
    box->Add(learning, 0, wxEXPAND | wxTOP, FromDIP(kGap));
    return box;
}

void MainWindow::BuildMenu() {
    auto* bar = new wxMenuBar;
    const auto add = [this](wxMenu* menu, std::u16string_view text, auto action, bool writes = false) {
        wxMenuItem* item = menu->Append(wxID_ANY, ui::ToWx(text));
        if (writes && read_only_) item->Enable(false);
        Bind(
            wxEVT_MENU, [action](wxCommandEvent&) { action(); }, item->GetId());
    };
    auto* file = new wxMenu;
    add(
        file, u"新建考生(&C)…", [this] { EditCandidate(true); }, true);
    add(
        file, u"修改考生(&M)…", [this] { EditCandidate(false); }, true);
    add(
        file, u"新建科目(&S)…", [this] { EditSubject(true); }, true);
    add(
        file, u"修改科目(&D)…", [this] { EditSubject(false); }, true);
    file->AppendSeparator();
    add(
        file, u"从题库组卷(&B)…", [this] { ComposeFromBank(); }, true);
    file->AppendSeparator();
    add(file, u"刷新(&R)\tF5", [this] { Fill(); });
    add(file, u"退出(&X)\tCtrl+Q", [this] { Close(); });
    bar->Append(file, ui::ToWx(u"文件(&F)"));
    auto* practice = new wxMenu;
    add(
        practice, u"开始考试(&E)\tCtrl+E", [this] { PractiseSelected(Mode::Exam); }, true);
    add(
        practice, u"开始练习(&P)\tCtrl+P", [this] { PractiseSelected(Mode::Exercise); }, true);
    practice->AppendSeparator();
    add(practice, u"练习历史(&H)…\tCtrl+H", [this] { ShowHistory(); });
    add(practice, u"笔记管理(&N)…\tCtrl+N", [this] { ShowNotes(); });
    practice->AppendSeparator();
    add(practice, u"错题本(&W)…\tCtrl+W", [this] { ShowWrongQuestions(); });
    add(practice, u"今日复习(&Y)…\tCtrl+Y", [this] { ShowReview(); });
    add(practice, u"学习分析(&A)…\tCtrl+L", [this] { ShowAnalysis(); });
    add(practice, u"所有考生的学习分析(&T)…", [this] { ShowAnalysis(true); });
    bar->Append(practice, ui::ToWx(u"练习(&T)"));
    const auto selected = [this]() -> std::optional<Paper> {
        const int row = LvPapers->GetSelectedRow();
        if (row == wxNOT_FOUND) return std::nullopt;
        return overview_.papers[static_cast<std::size_t>(row)].paper;
    };
    bar->Append(
        MakeBankMenu(*this, folder_, read_only_, {selected, [this] { return GetEdition(); }, [this] { Fill(); }}),
        ui::ToWx(u"题库(&B)"));
    auto* help = new wxMenu;
    add(help, u"考生须知(&I)\tF1", [this] { ShowRules(); });
    add(help, u"关于(&A)…", [this] { AboutDialog(this).ShowModal(); });
    bar->Append(help, ui::ToWx(u"帮助(&L)"));
    SetMenuBar(bar);
}

void MainWindow::BindEvents() {
    const auto refill = [this](wxCommandEvent&) { Fill(); };
    CboUser->Bind(wxEVT_CHOICE, refill);
    CboSubject->Bind(wxEVT_CHOICE, refill);
    BtnRules->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ShowRules(); });
    BtnExam->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { PractiseSelected(Mode::Exam); });
    BtnExercise->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { PractiseSelected(Mode::Exercise); });
    BtnNothing->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        if (when_nothing_) when_nothing_();
    });
    LvPapers->Bind(wxEVT_DATAVIEW_ITEM_ACTIVATED, [this](wxDataViewEvent&) { PractiseSelected(Mode::Exam); });
    BtnReview->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ReviewSelected(); });
    BtnHistory->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ShowHistory(); });
    BtnNotes->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ShowNotes(); });
    BtnWrong->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ShowWrongQuestions(); });
    BtnToday->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ShowReview(); });
    BtnAnalysis->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ShowAnalysis(); });
    LvLast->Bind(wxEVT_DATAVIEW_ITEM_ACTIVATED, [this](wxDataViewEvent&) { ReviewSelected(); });
    LvLast->Bind(wxEVT_DATAVIEW_ITEM_CONTEXT_MENU, [this](wxDataViewEvent&) { ShowPastMenu(); });
    LvLast->Bind(wxEVT_DATAVIEW_SELECTION_CHANGED,
                 [this](wxDataViewEvent&) { BtnReview->Enable(SelectedPast() != nullptr); });
    // Nobody who is working in another window should have to wait for a server that does not answer.
    upload_timer_.SetOwner(this);
    Bind(wxEVT_TIMER, [this](wxTimerEvent&) {
        if (IsEnabled()) Upload(false);
    });
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) {
        Remember();
        event.Skip();
    });
}

void MainWindow::Choose(const Choices& choices) {
    Guarded([this] {
        users_ = CandidatesOf(folder_);
        subjects_ = SubjectsOf(folder_);
    });
    const auto require = [](const auto& people, std::optional<std::int32_t> wanted, auto number,
                            std::u16string_view what) {
        if (!wanted || PlaceOf(people, *wanted, number) >= 0) return;
        RaiseComponentError(u"qmtrain", u"没有编号为 " + ToText(*wanted) + u" 的" + std::u16string(what) + u"。");
    };
    require(
        users_, choices.user, [](const Candidate& one) { return one.id; }, u"考生");
    require(
        subjects_, choices.subject, [](const Subject& one) { return one.code; }, u"科目");
    const Edition edition =
        choices.edition.value_or(settings_.Number(kEditionSetting, 0) == 1 ? Edition::Network : Edition::StandAlone);
    (edition == Edition::Network ? OptNet : OptStandAlone)->SetValue(true);
    FillPeople(choices.user.value_or(settings_.Number(kUserSetting, -1)),
               choices.subject.value_or(settings_.Number(kSubjectSetting, -1)));
}

void MainWindow::FillPeople(std::int32_t user, std::int32_t subject) {
    CboUser->Clear();
    CboSubject->Clear();
    for (const Candidate& one : users_) CboUser->Append(ui::ToWx(one.name));
    for (const Subject& one : subjects_) CboSubject->Append(ui::ToWx(one.name));
    if (!users_.empty()) {
        CboUser->SetSelection(std::max(0, PlaceOf(users_, user, [](const Candidate& one) { return one.id; })));
    }
    if (!subjects_.empty()) {
        CboSubject->SetSelection(std::max(0, PlaceOf(subjects_, subject, [](const Subject& one) { return one.code; })));
    }
}

std::int32_t MainWindow::UserId() const {
    const int chosen = CboUser->GetSelection();
    return chosen < 0 ? -1 : users_[static_cast<std::size_t>(chosen)].id;
}

std::int32_t MainWindow::SubjectCode() const {
    const int chosen = CboSubject->GetSelection();
    return chosen < 0 ? -1 : subjects_[static_cast<std::size_t>(chosen)].code;
}

void MainWindow::Fill() {
    const wxWindowUpdateLocker locker(this);
    const std::int32_t user = UserId();  // their places may be others' afterwards
    const std::int32_t subject = SubjectCode();
    const int row = LvPapers->GetSelectedRow();
    const bool selected = row >= 0 && static_cast<std::size_t>(row) < overview_.papers.size();
    const std::int32_t paper = selected ? overview_.papers[static_cast<std::size_t>(row)].paper.number : -1;
    overview_ = {};
    Guarded([&] {
        users_ = CandidatesOf(folder_);
        subjects_ = SubjectsOf(folder_);
        FillPeople(user, subject);
        if (SubjectCode() != -1) overview_ = ReadOverview(folder_, UserId(), SubjectCode());
    });
    const int chosen = CboUser->GetSelection();
    LblUser->SetLabelText(chosen < 0 ? wxString() : ui::ToWx(users_[static_cast<std::size_t>(chosen)].exam_number));
    BtnRules->Enable(SubjectCode() != -1);
    FillBand();
    FillPapers(paper);
    FillPast();
    CountDueQuestions();
    Layout();
    LblUser->GetParent()->Layout();
}

void MainWindow::FillBand() {
    Band->DestroyChildren();
    BtnResume.clear();
    BtnDiscard.clear();
    std::vector<UnfinishedPractice> all;
    if (!read_only_ && UserId() != -1) {
        Guarded([&] { all = UnfinishedOf(folder_, UserId(), SubjectCode()); });
    }
    bool waits = false;
    auto* rows = new wxBoxSizer(wxVERTICAL);
    for (const UnfinishedPractice& one : all) {
        auto* row = new wxBoxSizer(wxHORIZONTAL);
        row->Add(MakeLabel(Band, one.Text()), 1, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kGap));
        if (one.waiting) {
            auto* upload = new wxButton(Band, wxID_ANY, ui::ToWx(u"上传"));
            SetSpokenName(*upload, u"上传：" + one.Text());
            upload->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { CallAfter([this] { Upload(true); }); });
            row->Add(upload, 0, wxALIGN_CENTRE_VERTICAL);
            rows->Add(row, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, FromDIP(kGap));
            waits = true;
            continue;
        }
        auto* resume = new wxButton(Band, wxID_ANY, ui::ToWx(u"继续"));
        auto* discard = new wxButton(Band, wxID_ANY, ui::ToWx(u"放弃"));
        SetSpokenName(*resume, u"继续：" + one.Text());
        SetSpokenName(*discard, u"放弃：" + one.Text());
        resume->Enable(one.has_paper);
        // The row is gone when the practice or the question comes back.
        resume->Bind(wxEVT_BUTTON,
                     [this, id = one.train_id](wxCommandEvent&) { CallAfter([this, id] { Resume(id); }); });
        discard->Bind(wxEVT_BUTTON, [this, one](wxCommandEvent&) { CallAfter([this, one] { AskDiscard(one); }); });
        row->Add(resume, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kGap));
        row->Add(discard, 0, wxALIGN_CENTRE_VERTICAL);
        rows->Add(row, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, FromDIP(kGap));
        BtnResume.push_back(resume);
        BtnDiscard.push_back(discard);
    }
    rows->AddSpacer(FromDIP(kGap));
    Band->SetSizer(rows);
    const int shown = std::min(kBandRows, static_cast<int>(all.size()));
    Band->SetMinSize(wxSize(-1, FromDIP(shown * kBandRow + kGap)));
    Band->FitInside();
    Band->Show(!all.empty());
    if (waits && !upload_timer_.IsRunning()) upload_timer_.Start(kUploadInterval);
}

void MainWindow::Upload(bool asked) {
    upload_timer_.Stop();
    Guarded([&] {
        const Uploaded uploaded = UploadWaiting(folder_);
        if (asked && !uploaded.problem.empty()) ui::Inform(this, u"尚未上传：" + uploaded.problem, kTitle);
    });
    Fill();
}

void MainWindow::FillPapers(std::int32_t selected) {
    LvPapers->DeleteAllItems();
    for (const PaperSummary& one : overview_.papers) {
        wxVector<wxVariant> cells;
        for (const std::u16string& cell :
             {ToText(one.paper.number), one.paper.title, ToText(static_cast<std::int64_t>(one.paper.questions.size())),
              ToText(one.paper.minutes), one.best_rate ? Percent(*one.best_rate) : std::u16string(u"—"),
              ToText(one.times)}) {
            cells.push_back(wxVariant(ui::ToWx(cell)));
        }
        LvPapers->AppendItem(cells);
    }
    const int place = PlaceOf(overview_.papers, selected, [](const PaperSummary& one) { return one.paper.number; });
    if (!overview_.papers.empty()) LvPapers->SelectRow(static_cast<unsigned>(std::max(0, place)));
    const bool can = !overview_.papers.empty() && UserId() != -1 && !read_only_;
    BtnExam->Enable(can);
    BtnExercise->Enable(can);
    ShowNothing();
}

// What is missing first stands in the way of everything else.
void MainWindow::ShowNothing() {
    const bool nothing = overview_.papers.empty() || UserId() == -1;
    Nothing->Show(nothing);
    LvPapers->Show(!nothing);
    if (!nothing) return;
    const auto tell = [this](std::u16string_view text, std::u16string_view button, std::function<void()> action) {
        LblNothing->SetLabelText(ui::ToWx(text));
        BtnNothing->SetLabel(ui::ToWx(button));
        when_nothing_ = std::move(action);
    };
    if (users_.empty()) {
        tell(u"还没有考生。", u"新建考生…", [this] { EditCandidate(true); });
    } else if (subjects_.empty()) {
        tell(u"还没有科目和试卷。\n可以先用示例题库试一试。", u"建立示例题库和试卷", [this] { MakeExamples(); });
    } else {
        tell(u"这个科目还没有试卷。", u"从题库组卷…", [this] { ComposeFromBank(); });
    }
    BtnNothing->Enable(!read_only_);
    Nothing->Layout();
}

void MainWindow::FillPast() {
    LvLast->DeleteAllItems();
    for (const PastPractice& one : std::span(overview_.past).first(std::min(overview_.past.size(), kLastShown))) {
        const review::Training& training = one.training;
        const bool passed = review::Passed(training.paper_score, training.got_score);
        const std::u16string kind = one.mode ? std::u16string(ModeText(*one.mode)).substr(0, 2) : u"—";
        wxVector<wxVariant> cells;
        for (const std::u16string& cell :
             {Format(training.start, u"yy-mm-dd hh:nn"), one.paper.empty() ? std::u16string(u"（未知）") : one.paper,
              kind, training.use_time < 0 ? std::u16string() : ClockText(training.use_time),
              ToText(Value(training.got_score)) + u" / " + ToText(Value(training.paper_score)),
              std::u16string(passed ? u"✓ 及格" : u"✗ 不及格")}) {
            cells.push_back(wxVariant(ui::ToWx(cell)));
        }
        LvLast->AppendItem(cells);
    }
    if (!overview_.past.empty()) LvLast->SelectRow(0);
    BtnReview->Enable(!overview_.past.empty());
    LblNoLast->Show(overview_.past.empty());
    LblFigures->SetLabelText(ui::ToWx(overview_.FiguresText()));
    LblFigures->SetToolTip(ui::ToWx(overview_.FiguresText()));
    PicCurve->SetRates(overview_.Rates());
    PicCurve->Show(!overview_.Rates().empty());
}

void MainWindow::CountDueQuestions() {
    int due = 0;
    const bool somebody = UserId() != -1 && SubjectCode() != -1;
    try {
        if (somebody && !read_only_) UpdateSchedule(folder_, UserId());
        if (somebody) due = CountDue(folder_, UserId(), SubjectCode(), Now());
    } catch (const AutomationError&) {
        due = 0;  // the window of reviews says why
    }
    const std::u16string count = due > 0 ? u" " + ToText(due) : std::u16string();
    BtnToday->SetLabel(ui::ToWx(u"今日复习" + count + u"(&Y)"));
    for (wxButton* button : {BtnWrong, BtnToday, BtnAnalysis}) button->Enable(somebody);
}

void MainWindow::ShowWrongQuestions(const WrongFilter* filter) {
    if (UserId() == -1) return;
    WrongWindow window(this, folder_, GetEdition(), UserId(), SubjectCode(), read_only_);
    if (filter != nullptr) window.SetFilter(*filter);
    window.ShowModal();
    Fill();
}

void MainWindow::ShowReview() {
    if (UserId() == -1) return;
    ReviewWindow(this, folder_, GetEdition(), UserId(), SubjectCode(), read_only_).ShowModal();
    Fill();
}

void MainWindow::ShowAnalysis(bool everybody) {
    AnalysisWindow window(this, folder_, GetEdition(), everybody ? -1 : UserId(), SubjectCode(), read_only_);
    window.ShowModal();
    if (!window.Chosen()) return;
    switch (window.Chosen()->action) {
        case Advice::Action::Review: return ShowReview();
        case Advice::Action::Drill: return ShowWrongQuestions(&window.Chosen()->filter);
        case Advice::Action::Exam: return LvPapers->SetFocus();
    }
}

const PastPractice* MainWindow::SelectedPast() const {
    const int row = LvLast->GetSelectedRow();
    return row == wxNOT_FOUND ? nullptr : &overview_.past[static_cast<std::size_t>(row)];
}

void MainWindow::PractiseSelected(Mode mode) {
    const int row = LvPapers->GetSelectedRow();
    if (row == wxNOT_FOUND || read_only_ || !BtnExam->IsEnabled()) return;
    StartPaper(overview_.papers[static_cast<std::size_t>(row)].paper, mode);
}

void MainWindow::StartPaper(const Paper& paper, Mode mode) {
    Guarded([&] {
        Practice practice(folder_, paper, {UserId(), GetEdition(), mode});
        Practise(this, folder_, practice);
    });
    Fill();
}

void MainWindow::Resume(std::int32_t train_id) {
    Guarded([&] {
        Practice practice(folder_, train_id);
        Practise(this, folder_, practice);
    });
    Fill();
    LvPapers->SetFocus();  // the button that was pressed is gone
}

void MainWindow::AskDiscard(const UnfinishedPractice& practice) {
    const std::u16string question = practice.Text() + u"\n放弃以后，答案就没有了。要放弃这次练习吗？";
    if (!Confirm(this, question, kTitle, u"放弃(&D)", u"保留(&K)")) return;
    Guarded([&] { Discard(folder_, practice.train_id); });
    Fill();
    if (BtnDiscard.empty()) return LvPapers->SetFocus();
    BtnDiscard.front()->SetFocus();  // the button that was pressed is gone
}

void MainWindow::ReviewSelected() {
    const PastPractice* past = SelectedPast();
    if (past == nullptr) return;
    review::FrmViewPaper window;
    window.SetIcons(ProgramIcon());
    window.ClientPath(folder_.path);
    window.DataMdbPath(folder_.Banks());
    window.LocalMdbPath(folder_.LocalPaper());
    window.IsNet(past->edition.value_or(GetEdition()) == Edition::Network);
    window.SubjectCode(SubjectCode());
    window.TrainID(past->training.id);
    window.ShowModal();
    LvLast->SetFocus();
}

void MainWindow::RedoSelected() {
    const PastPractice* past = SelectedPast();
    if (past == nullptr || read_only_) return;
    Guarded([&] {
        const auto paper = PaperOfTraining(folder_, past->training.id);
        if (!paper) RaiseComponentError(u"qmtrain", u"找不到这次练习的试卷。");
        const Mode mode = past->mode == Mode::Exercise ? Mode::Exercise : Mode::Exam;
        StartPaper(*paper, mode);
    });
}

void MainWindow::ShowPastMenu() {
    if (SelectedPast() == nullptr) return;
    wxMenu menu;
    const auto add = [&](std::u16string_view text, auto action, bool enabled = true) {
        wxMenuItem* item = menu.Append(wxID_ANY, ui::ToWx(text));
        item->Enable(enabled);
        menu.Bind(
            wxEVT_MENU, [this, action](wxCommandEvent&) { CallAfter(action); }, item->GetId());
    };
    add(u"查看试卷(&V)", [this] { ReviewSelected(); });
    add(
        u"重做试卷(&R)", [this] { RedoSelected(); }, !read_only_ && UserId() != -1);
    menu.AppendSeparator();
    add(u"练习历史(&H)…", [this] { ShowHistory(); });
    PopupMenu(&menu);
}

void MainWindow::ShowRules() {
    const int chosen = CboSubject->GetSelection();
    if (chosen < 0) return;
    const Subject& subject = subjects_[static_cast<std::size_t>(chosen)];
    ui::Inform(this, subject.instructions.empty() ? std::u16string(u"这个科目没有考生须知。") : subject.instructions,
               u"考生须知：" + subject.name);
}

void MainWindow::EditCandidate(bool is_new) {
    const int chosen = CboUser->GetSelection();
    if (!is_new && chosen < 0) return;
    CandidateDialog dialog(this, folder_, is_new ? Candidate{} : users_[static_cast<std::size_t>(chosen)]);
    if (dialog.ShowModal() != wxID_OK) return;
    Guarded([&] {
        users_ = CandidatesOf(folder_);
        FillPeople(dialog.Id(), SubjectCode());
    });
    Fill();
}

void MainWindow::EditSubject(bool is_new) {
    const int chosen = CboSubject->GetSelection();
    if (!is_new && chosen < 0) return;
    SubjectDialog dialog(this, folder_, is_new ? Subject{} : subjects_[static_cast<std::size_t>(chosen)]);
    if (dialog.ShowModal() != wxID_OK) return;
    Guarded([&] {
        const std::int32_t user = UserId();
        subjects_ = SubjectsOf(folder_);
        FillPeople(user, dialog.Code());
    });
    Fill();
}

void MainWindow::ComposeFromBank() {
    Guarded([this] {
        std::vector<Bank> banks = BanksOf(folder_, GetEdition());
        if (banks.empty()) {
            RaiseComponentError(u"qmtrain", std::u16string(u"题库目录中还没有题库：") +
                                                (GetEdition() == Edition::Network ? folder_.LocalPaper()
                                                                                  : folder_.Banks() + u"\\Total.mdb"));
        }
        ComposeDialog dialog(this, folder_, std::move(banks));
        if (dialog.ShowModal() != wxID_OK) return;
        const std::int32_t user = UserId();
        subjects_ = SubjectsOf(folder_);
        FillPeople(user, dialog.SubjectCode());
        Fill();
        const auto& papers = overview_.papers;
        const auto made = std::find_if(papers.begin(), papers.end(),
                                       [&](const PaperSummary& one) { return one.paper.number == dialog.PaperNo(); });
        if (made != papers.end()) LvPapers->SelectRow(static_cast<unsigned>(made - papers.begin()));
    });
}

void MainWindow::MakeExamples() {
    Guarded([this] {
        MakeSampleData(folder_.path);
        const std::int32_t user = UserId();
        subjects_ = SubjectsOf(folder_);
        FillPeople(user, -1);
    });
    Fill();
}

void MainWindow::Remember() {
    if (read_only_) return;
    settings_.Set(kPlace, host::PlaceOf(*this));
    if (UserId() != -1) settings_.Set(kUserSetting, ToText(UserId()));
    if (SubjectCode() != -1) settings_.Set(kSubjectSetting, ToText(SubjectCode()));
    settings_.Set(kEditionSetting, OptNet->GetValue() ? u"1" : u"0");
}

void MainWindow::ShowHistory() {
    ShowHistory(UserId(), SubjectCode());
}

void MainWindow::ShowHistory(std::int32_t user, std::int32_t subject) {
    UITrain history;
    history.ClientPath(folder_.path);
    history.DataMdbPath(folder_.Banks());
    history.LocalPaperMdbPath(folder_.LocalPaper());
    history.IsNet(GetEdition() == Edition::Network);
    history.UserId(user);
    history.SubjectCode(subject);
    history.ReDoQuestionPaper = [this](std::int32_t train_id, bool) {
        Guarded([&] {
            const auto paper = PaperOfTraining(folder_, train_id);
            if (!paper) return ui::Inform(this, u"找不到这次练习的试卷。", kTitle);
            if (read_only_) return ui::Inform(this, u"数据文件夹是只读的，不能练习。", kTitle);
            StartPaper(*paper, Mode::Exam);
        });
    };
    history.ShowUI();
}

void MainWindow::ShowNotes() {
    ShowNotes(UserId(), SubjectCode());
}

void MainWindow::ShowNotes(std::int32_t user, std::int32_t subject) {
    UIManageNotes notes;
    notes.ClientPath(folder_.path);
    notes.DataMdbPath(folder_.Banks());
    notes.TotalPath(folder_.Banks());
    notes.LocalPaperPath(folder_.LocalPaper());
    notes.IsNet(GetEdition() == Edition::Network);
    notes.SubjectCode(subject);
    notes.UserId(user);
    notes.ShowDlg();
}

}  // namespace qmtrain::host
