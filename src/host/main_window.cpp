#include "host/main_window.h"

#include <algorithm>

#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/statbox.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/format.h"
#include "core/text.h"
#include "dao/dao.h"
#include "host/practice.h"
#include "host/practice_window.h"
#include "notes/ui_manage_notes.h"
#include "records/train_info.h"
#include "review/training_row.h"
#include "review/ui_train.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// Pixels of an unscaled screen.
constexpr int kMargin = 12;
constexpr int kGap = 8;
const wxSize kFirstSize(820, 560);
const wxSize kLeastSize(680, 460);

constexpr std::u16string_view kTitle = u"全国计算机等级考试模拟练习";
constexpr std::size_t kLastShown = 8;  // trainings at a glance

int IndexOf(std::int32_t number, const auto& named) {
    const auto found = std::find_if(named.begin(), named.end(), [&](const auto& one) { return one.number == number; });
    return found == named.end() ? 0 : static_cast<int>(found - named.begin());
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

MainWindow::MainWindow(DataFolder folder, std::int32_t user, std::int32_t subject)
    : wxFrame(nullptr, wxID_ANY, ui::ToWx(kTitle)), folder_(std::move(folder)), read_only_(Examine(folder_).read_only) {
    Build();
    SetMinClientSize(FromDIP(kLeastSize));
    SetClientSize(FromDIP(kFirstSize));
    BindEvents();
    Guarded([&] {
        FillChoices(user, subject);
        FillPapers();
        FillLast();
    });
    CentreOnScreen();
}

void MainWindow::Build() {
    auto* page = new wxPanel(this);
    CboUser = new wxChoice(page, wxID_ANY);
    CboSubject = new wxChoice(page, wxID_ANY);
    OptStandAlone =
        new wxRadioButton(page, wxID_ANY, ui::ToWx(u"单机版"), wxDefaultPosition, wxDefaultSize, wxRB_GROUP);
    OptNet = new wxRadioButton(page, wxID_ANY, ui::ToWx(u"网络版"));
    LstPapers = new wxListBox(page, wxID_ANY);
    BtnPractise = new wxButton(page, wxID_ANY, ui::ToWx(u"开始练习"));
    BtnHistory = new wxButton(page, wxID_ANY, ui::ToWx(u"练习历史"));
    BtnNotes = new wxButton(page, wxID_ANY, ui::ToWx(u"笔记管理"));
    LvLast = new ui::ListView(page, {ui::Icon::Pass, ui::Icon::Fail});
    LvLast->SetEmptyText(u"还没有练习记录。");
    const std::pair<const char16_t*, int> columns[] = {{u"日期", 150}, {u"类型", 56}, {u"练习时间", 80},
                                                       {u"总分", 56},  {u"得分", 56}, {u"得分率(%)", 80}};
    for (const auto& [title, width] : columns) {
        const auto cell = static_cast<std::size_t>(LvLast->GetColumnCount());
        LvLast->AddColumn(title, FromDIP(width), cell, cell > 2 ? wxLIST_FORMAT_RIGHT : wxLIST_FORMAT_LEFT);
    }
    LblFolder = new wxStaticText(
        page, wxID_ANY, ui::ToWx(u"数据文件夹：" + folder_.path + (read_only_ ? u"（只读：可以查看，不能练习）" : u"")),
        wxDefaultPosition, wxDefaultSize, wxST_ELLIPSIZE_MIDDLE);
    LblFolder->SetForegroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));

    const int margin = FromDIP(kMargin);
    auto* left = new wxBoxSizer(wxVERTICAL);
    left->Add(BuildChoices(), 0, wxEXPAND | wxBOTTOM, margin);
    left->Add(BuildPapers(), 1, wxEXPAND);
    auto* last = new wxStaticText(page, wxID_ANY, ui::ToWx(u"最近的练习"));
    last->SetFont(last->GetFont().Bold());
    auto* right = new wxBoxSizer(wxVERTICAL);
    right->Add(last, 0, wxBOTTOM, FromDIP(kGap));
    right->Add(LvLast, 1, wxEXPAND | wxBOTTOM, FromDIP(kGap));
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->Add(BtnHistory, 0, wxRIGHT, FromDIP(kGap));
    buttons->Add(BtnNotes);
    right->Add(buttons);
    auto* middle = new wxBoxSizer(wxHORIZONTAL);
    middle->Add(left, 2, wxEXPAND | wxRIGHT, margin);
    middle->Add(right, 3, wxEXPAND);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(middle, 1, wxEXPAND | wxALL, margin);
    sizer->Add(LblFolder, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, margin);
    page->SetSizer(sizer);
}

wxSizer* MainWindow::BuildChoices() {
    wxWindow* page = CboUser->GetParent();
    auto* grid = new wxFlexGridSizer(2, FromDIP(kGap), FromDIP(kGap));
    grid->AddGrowableCol(1);
    const auto add = [&](std::u16string_view caption, auto* what) {
        grid->Add(new wxStaticText(page, wxID_ANY, ui::ToWx(caption)), 0, wxALIGN_CENTRE_VERTICAL);
        grid->Add(what, 1, wxEXPAND);
    };
    auto* editions = new wxBoxSizer(wxHORIZONTAL);
    editions->Add(OptStandAlone, 0, wxRIGHT, FromDIP(kGap));
    editions->Add(OptNet);
    add(u"考生：", CboUser);
    add(u"科目：", CboSubject);
    add(u"版本：", editions);
    return grid;
}

wxSizer* MainWindow::BuildPapers() {
    auto* box = new wxBoxSizer(wxVERTICAL);
    auto* caption = new wxStaticText(CboUser->GetParent(), wxID_ANY, ui::ToWx(u"试卷"));
    caption->SetFont(caption->GetFont().Bold());
    box->Add(caption, 0, wxBOTTOM, FromDIP(kGap));
    box->Add(LstPapers, 1, wxEXPAND | wxBOTTOM, FromDIP(kGap));
    box->Add(BtnPractise, 0, wxEXPAND);
    return box;
}

void MainWindow::BindEvents() {
    const auto refill = [this](wxCommandEvent&) {
        Guarded([this] {
            FillPapers();
            FillLast();
        });
    };
    CboUser->Bind(wxEVT_CHOICE, refill);
    CboSubject->Bind(wxEVT_CHOICE, refill);
    BtnPractise->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { PractiseSelected(); });
    LstPapers->Bind(wxEVT_LISTBOX_DCLICK, [this](wxCommandEvent&) { PractiseSelected(); });
    BtnHistory->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ShowHistory(); });
    BtnNotes->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ShowNotes(); });
    LvLast->Bind(wxEVT_LIST_ITEM_ACTIVATED, [this](wxListEvent&) { ShowHistory(); });
}

std::int32_t MainWindow::UserId() const {
    const int chosen = CboUser->GetSelection();
    return chosen < 0 ? -1 : users_[static_cast<std::size_t>(chosen)].number;
}

std::int32_t MainWindow::SubjectCode() const {
    const int chosen = CboSubject->GetSelection();
    return chosen < 0 ? -1 : subjects_[static_cast<std::size_t>(chosen)].number;
}

void MainWindow::FillChoices(std::int32_t user, std::int32_t subject) {
    const dao::Connection client(InFolder(folder_.path, u"Client.mdb"));
    const auto read = [&](std::u16string_view query, std::u16string_view number, std::u16string_view name,
                          wxChoice* choice) {
        std::vector<Named> all;
        const auto rows = client->OpenRecordset(query);
        for (; !rows->Eof(); rows->MoveNext()) {
            all.push_back({ToLong(rows->Fields(number).Value()), TextOr(rows->Fields(name).Value(), u"")});
            choice->Append(ui::ToWx(all.back().name));
        }
        return all;
    };
    users_ = read(u"Select * From Tbl_SetUser Order By UserID", u"UserID", u"姓名", CboUser);
    subjects_ = read(u"Select * From Tbl_SubjectBrief Order By SubjectCode", u"SubjectCode", u"ExameBrief", CboSubject);
    if (!users_.empty()) CboUser->SetSelection(IndexOf(user, users_));
    if (!subjects_.empty()) CboSubject->SetSelection(IndexOf(subject, subjects_));
}

void MainWindow::FillPapers() {
    LstPapers->Clear();
    papers_ = PapersOf(folder_, SubjectCode());
    for (const Paper& paper : papers_) {
        LstPapers->Append(ui::ToWx(paper.title + u"（" + ToText(static_cast<std::int64_t>(paper.questions.size())) +
                                   u" 题，" + ToText(paper.minutes) + u" 分钟）"));
    }
    if (!papers_.empty()) LstPapers->SetSelection(0);
    BtnPractise->Enable(!papers_.empty() && !read_only_);
}

void MainWindow::FillLast() {
    last_.Clear();
    LvLast->Show(last_);
    TrainInfo train;
    train.ClientPath(folder_.path);
    std::u16string problem;
    if (!train.Init(problem)) return;
    const auto rows =
        train.GetRecordset(review::TrainingsQuery(UserId(), SubjectCode(), review::TrainingOrder::NewestFirst));
    for (; rows && !rows->Eof() && last_.Size() < kLastShown; rows->MoveNext()) {
        last_.Add(review::ToListRow(review::ReadTraining(*rows)));
    }
    LvLast->Show(last_);
}

void MainWindow::PractiseSelected() {
    const int chosen = LstPapers->GetSelection();
    if (chosen < 0 || read_only_) return;
    StartPaper(papers_[static_cast<std::size_t>(chosen)]);
}

void MainWindow::StartPaper(const Paper& paper) {
    Guarded([&] {
        Practice practice(folder_, paper, UserId(), GetEdition());
        Practise(practice);
    });
}

void MainWindow::Practise(Practice& practice) {
    PracticeWindow(folder_, practice).ShowModal();
    FillLast();
}

void MainWindow::OfferUnfinished() {
    if (read_only_) return;
    Guarded([this] {
        const auto train_id = Practice::Unfinished(folder_, UserId());
        if (!train_id) return;
        Practice practice(folder_, *train_id);
        const std::u16string question = u"练习“" + practice.GetPaper().title + u"”还没有交卷。\n要继续练习吗？";
        if (ui::AskYesNo(this, question, kTitle) == ui::Answer::Yes) Practise(practice);
    });
}

void MainWindow::ShowHistory() {
    UITrain history;
    history.ClientPath(folder_.path);
    history.DataMdbPath(folder_.Banks());
    history.LocalPaperMdbPath(folder_.LocalPaper());
    history.IsNet(GetEdition() == Edition::Network);
    history.UserId(UserId());
    history.SubjectCode(SubjectCode());
    history.ReDoQuestionPaper = [this](std::int32_t train_id, bool) {
        Guarded([&] {
            const auto paper = PaperOfTraining(folder_, train_id);
            if (!paper) return ui::Inform(this, u"找不到这次练习的试卷。", kTitle);
            if (read_only_) return ui::Inform(this, u"数据文件夹是只读的，不能练习。", kTitle);
            StartPaper(*paper);
        });
    };
    history.ShowUI();
}

void MainWindow::ShowNotes() {
    UIManageNotes notes;
    notes.ClientPath(folder_.path);
    notes.DataMdbPath(folder_.Banks());
    notes.TotalPath(folder_.Banks());
    notes.LocalPaperPath(folder_.LocalPaper());
    notes.IsNet(GetEdition() == Edition::Network);
    notes.SubjectCode(SubjectCode());
    notes.UserId(UserId());
    notes.ShowDlg();
}

}  // namespace qmtrain::host
