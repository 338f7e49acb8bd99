// The controls of the main window, and what they call.

#include <wx/menu.h>

#include "host/app/about_dialog.h"
#include "host/app/main_window.h"
#include "host/banks/bank_menu.h"
#include "host/widgets/fitted_list.h"
#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr int kLeastPapers = 280;  // pixels of an unscaled screen

}  // namespace

void MainWindow::Build() {
    const int margin = FromDIP(ui::kMargin);
    auto* page = new wxPanel(this);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(BuildChoices(page), 0, wxEXPAND | wxALL, margin);
    Band = new wxScrolledWindow(page, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                wxVSCROLL | wxTAB_TRAVERSAL | wxBORDER_THEME);
    Band->SetScrollRate(0, FromDIP(ui::kWide));
    Band->SetBackgroundColour(Mixed(Colour(Tint::Caution), Colour(Tint::Card), 0.12));
    SetSpokenName(*Band, u"还没有交卷的练习");
    sizer->Add(Band, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, margin);
    auto* middle = new wxBoxSizer(wxHORIZONTAL);
    wxSizer* papers = BuildPapers(page);
    papers->SetMinSize(FromDIP(wxSize(kLeastPapers, -1)));
    middle->Add(papers, 5, wxEXPAND | wxRIGHT, FromDIP(ui::kWide));
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
        row->Add(new wxStaticText(page, wxID_ANY, ui::ToWx(text)), 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT,
                 FromDIP(ui::kGap));
    };
    caption(u"考生(&U)");
    CboUser = new wxChoice(page, wxID_ANY);
    SetSpokenName(*CboUser, u"考生");
    CboUser->SetMinSize(FromDIP(wxSize(90, -1)));
    row->Add(CboUser, 2, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kGap));
    LblUser = MakeLabel(page, u"", TextSize::Small, false, Tint::Quiet);
    row->Add(LblUser, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kWide));
    caption(u"科目(&S)");
    CboSubject = new wxChoice(page, wxID_ANY);
    SetSpokenName(*CboSubject, u"科目");
    CboSubject->SetMinSize(FromDIP(wxSize(110, -1)));
    row->Add(CboSubject, 3, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kGap));
    BtnRules = new wxButton(page, wxID_ANY, ui::ToWx(u"须知(&I)"), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
    ui::FitToCaption(*BtnRules);
    BtnRules->SetToolTip(ui::ToWx(u"这个科目的考生须知"));
    row->Add(BtnRules, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kWide));
    OptStandAlone =
        new wxRadioButton(page, wxID_ANY, ui::ToWx(u"单机版"), wxDefaultPosition, wxDefaultSize, wxRB_GROUP);
    OptNet = new wxRadioButton(page, wxID_ANY, ui::ToWx(u"网络版"));
    row->Add(OptStandAlone, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kGap));
    row->Add(OptNet, 0, wxALIGN_CENTRE_VERTICAL);
    return row;
}

wxSizer* MainWindow::BuildPapers(wxWindow* page) {
    auto* box = new wxBoxSizer(wxVERTICAL);
    box->Add(MakeLabel(page, u"试卷", TextSize::Body, true), 0, wxBOTTOM, FromDIP(ui::kGap));
    LvPapers = MakeFittedList(page, u"试卷",
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
    inside->Add(LblNothing, 0, wxALIGN_CENTRE_HORIZONTAL | wxALL, FromDIP(ui::kGap));
    inside->Add(BtnNothing, 0, wxALIGN_CENTRE_HORIZONTAL | wxALL, FromDIP(ui::kGap));
    inside->AddStretchSpacer();
    Nothing->SetSizer(inside);
    box->Add(Nothing, 1, wxEXPAND);
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    BtnExam = new wxButton(page, wxID_ANY, ui::ToWx(u"开始考试(&E)"));
    BtnExam->SetToolTip(ui::ToWx(u"计时，交卷以后看答案"));
    BtnExercise = new wxButton(page, wxID_ANY, ui::ToWx(u"开始练习(&P)"));
    BtnExercise->SetToolTip(ui::ToWx(u"不计时，每题作答以后就可以看答案"));
    buttons->Add(BtnExam, 1, wxRIGHT, FromDIP(ui::kGap));
    buttons->Add(BtnExercise, 1);
    box->Add(buttons, 0, wxEXPAND | wxTOP, FromDIP(ui::kGap));
    return box;
}

wxSizer* MainWindow::BuildPast(wxWindow* page) {
    auto* box = new wxBoxSizer(wxVERTICAL);
    auto* figures = new wxBoxSizer(wxHORIZONTAL);
    auto* words = new wxBoxSizer(wxVERTICAL);
    words->Add(MakeLabel(page, u"我的成绩", TextSize::Body, true), 0, wxBOTTOM, FromDIP(ui::kGap));
    LblFigures = MakeLabel(page, u"");
    LblFigures->SetMinSize(FromDIP(wxSize(kBandRow, -1)));
    words->Add(LblFigures, 0, wxEXPAND);
    figures->Add(words, 1, wxRIGHT, FromDIP(ui::kMargin));
    PicCurve = new Curve(page);
    figures->Add(PicCurve, 0, wxALIGN_CENTRE_VERTICAL);
    box->Add(figures, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kMargin));
    box->Add(MakeLabel(page, u"最近的练习", TextSize::Body, true), 0, wxBOTTOM, FromDIP(ui::kGap));
    LvLast = MakeFittedList(page, u"最近的练习",
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
    box->Add(LblNoLast, 0, wxEXPAND | wxTOP, FromDIP(ui::kGap));
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    BtnReview = new wxButton(page, wxID_ANY, ui::ToWx(u"查看试卷(&R)"));
    BtnHistory = new wxButton(page, wxID_ANY, ui::ToWx(u"练习历史(&H)"));
    BtnNotes = new wxButton(page, wxID_ANY, ui::ToWx(u"笔记管理(&N)"));
    buttons->Add(BtnReview, 1, wxRIGHT, FromDIP(ui::kGap));
    buttons->Add(BtnHistory, 1, wxRIGHT, FromDIP(ui::kGap));
    buttons->Add(BtnNotes, 1);
    box->Add(buttons, 0, wxEXPAND | wxTOP, FromDIP(ui::kGap));
    auto* learning = new wxBoxSizer(wxHORIZONTAL);
    BtnWrong = new wxButton(page, wxID_ANY, ui::ToWx(u"错题本(&W)"));
    BtnToday = new wxButton(page, wxID_ANY, ui::ToWx(u"今日复习(&Y)"));
    BtnToday->SetToolTip(ui::ToWx(u"快要忘记的题"));
    BtnAnalysis = new wxButton(page, wxID_ANY, ui::ToWx(u"学习分析(&A)"));
    learning->Add(BtnWrong, 1, wxRIGHT, FromDIP(ui::kGap));
    learning->Add(BtnToday, 1, wxRIGHT, FromDIP(ui::kGap));
    learning->Add(BtnAnalysis, 1);
    box->Add(learning, 0, wxEXPAND | wxTOP, FromDIP(ui::kGap));
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
        return overview_.papers[row].paper;
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
    // A user who is working in another window should not have to wait for a server that does not answer.
    upload_timer_.SetOwner(this);
    Bind(wxEVT_TIMER, [this](wxTimerEvent&) {
        if (IsEnabled()) Upload(false);
    });
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) {
        Remember();
        event.Skip();
    });
}

}  // namespace qmtrain::host
