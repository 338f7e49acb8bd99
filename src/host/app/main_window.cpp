#include "host/app/main_window.h"

#include <algorithm>
#include <span>

#include <wx/wupdlock.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "host/data/host_tables.h"
#include "host/data/server_away.h"
#include "host/learning/review_schedule.h"
#include "host/widgets/look.h"
#include "host/widgets/signs.h"
#include "host/widgets/window_place.h"
#include "ui/layout.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr std::size_t kLastShown = 100;  // the history window has all of them
constexpr int kBandRows = 2;             // more of them scroll
constexpr int kUploadInterval = 60'000;  // milliseconds
const std::u16string kServerAway = u"数据库服务器现在不能使用。\n";

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

std::u16string Percent(float rate) {
    return Format(rate, u"0.0") + u"%";
}

}  // namespace

void MainWindow::Guarded(const std::function<void()>& body) {
    try {
        body();
    } catch (const AutomationError& error) {
        const bool away = IsServerAway(error);
        ui::Inform(this, (away ? kServerAway + error.Description() : error.Description()), kMainTitle);
    }
}

void MainWindow::AtServer(const std::function<void()>& body) {
    Guarded([&] {
        try {
            body();
        } catch (const AutomationError& error) {
            if (!IsServerAway(error)) throw;
            server_away_ = error.Description();
        }
    });
}

MainWindow::MainWindow(DataFolder folder, const Choices& choices)
    : wxFrame(nullptr, wxID_ANY, ui::ToWx(kMainTitle)),
      folder_(std::move(folder)),
      read_only_(Examine(folder_).read_only),
      settings_(folder_) {
    SetIcons(ProgramIcon());
    Build();
    BuildMenu();
    Place(*this, settings_.Text(kPlace), ui::kLargeWindow);
    BindEvents();
    if (!read_only_) {
        AtServer([this] {
            UpgradeHostDatabase(folder_.path);
            UploadWaiting(folder_);
            SettleHandedIn(folder_);
            DiscardEmpty(folder_);
        });
    }
    Choose(choices);
    Fill();
}

void MainWindow::Choose(const Choices& choices) {
    AtServer([this] {
        users_ = CandidatesOf(folder_);
        subjects_ = SubjectsOf(folder_);
    });
    const auto require = [this](const auto& people, std::optional<std::int32_t> wanted, auto number,
                                std::u16string_view what) {
        if (!wanted || !server_away_.empty() || PlaceOf(people, *wanted, number) >= 0) return;
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
    return chosen < 0 ? -1 : users_[chosen].id;
}

std::int32_t MainWindow::SubjectCode() const {
    const int chosen = CboSubject->GetSelection();
    return chosen < 0 ? -1 : subjects_[chosen].code;
}

void MainWindow::Fill() {
    const wxWindowUpdateLocker locker(this);
    // Their places may be others' afterwards.
    const std::int32_t user = users_.empty() ? settings_.Number(kUserSetting, -1) : UserId();
    const std::int32_t subject = subjects_.empty() ? settings_.Number(kSubjectSetting, -1) : SubjectCode();
    const int row = LvPapers->GetSelectedRow();
    const bool selected = row >= 0 && static_cast<std::size_t>(row) < overview_.papers.size();
    const std::int32_t paper = selected ? overview_.papers[row].paper.number : -1;
    overview_ = {};
    server_away_.clear();
    AtServer([&] {
        users_ = CandidatesOf(folder_);
        subjects_ = SubjectsOf(folder_);
        FillPeople(user, subject);
        if (SubjectCode() != -1) overview_ = ReadOverview(folder_, UserId(), SubjectCode());
    });
    const int chosen = CboUser->GetSelection();
    LblUser->SetLabelText(chosen < 0 ? wxString() : ui::ToWx(users_[chosen].exam_number));
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
    if (!read_only_ && (UserId() != -1 || !server_away_.empty())) {
        Guarded([&] { all = UnfinishedOf(folder_, UserId(), SubjectCode()); });
    }
    bool waits = false;
    auto* rows = new wxBoxSizer(wxVERTICAL);
    for (const UnfinishedPractice& one : all) {
        auto* row = new wxBoxSizer(wxHORIZONTAL);
        row->Add(MakeLabel(Band, one.Text()), 1, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kGap));
        if (one.waiting) {
            auto* upload = new wxButton(Band, wxID_ANY, ui::ToWx(u"上传"));
            SetSpokenName(*upload, u"上传：" + one.Text());
            upload->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { CallAfter([this] { Upload(true); }); });
            row->Add(upload, 0, wxALIGN_CENTRE_VERTICAL);
            rows->Add(row, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, FromDIP(ui::kGap));
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
        row->Add(resume, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kGap));
        row->Add(discard, 0, wxALIGN_CENTRE_VERTICAL);
        rows->Add(row, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, FromDIP(ui::kGap));
        BtnResume.push_back(resume);
        BtnDiscard.push_back(discard);
    }
    rows->AddSpacer(FromDIP(ui::kGap));
    Band->SetSizer(rows);
    const int shown = std::min(kBandRows, static_cast<int>(all.size()));
    Band->SetMinSize(wxSize(-1, FromDIP(shown * kBandRow + ui::kGap)));
    Band->FitInside();
    Band->Show(!all.empty());
    if ((waits || !server_away_.empty()) && !upload_timer_.IsRunning()) upload_timer_.Start(kUploadInterval);
}

void MainWindow::Upload(bool asked) {
    upload_timer_.Stop();
    Guarded([&] {
        const Uploaded uploaded = UploadWaiting(folder_);
        if (asked && !uploaded.problem.empty()) ui::Inform(this, u"尚未上传：" + uploaded.problem, kMainTitle);
    });
    Fill();
}

void MainWindow::FillPapers(std::int32_t selected) {
    LvPapers->DeleteAllItems();
    for (const PaperSummary& one : overview_.papers) {
        wxVector<wxVariant> cells;
        for (const std::u16string& cell :
             {ToText(one.paper.number), one.paper.title, ToText(one.paper.questions.size()), ToText(one.paper.minutes),
              one.best_rate ? Percent(*one.best_rate) : std::u16string(u"—"), ToText(one.times)}) {
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

// Names the first thing that is missing: without it the others are of no use.
void MainWindow::ShowNothing() {
    const bool away = !server_away_.empty();
    const bool nothing = away || overview_.papers.empty() || UserId() == -1;
    Nothing->Show(nothing);
    LvPapers->Show(!nothing);
    if (!nothing) return;
    const auto show = [this](std::u16string_view text, std::u16string_view button, std::function<void()> action) {
        LblNothing->SetLabelText(ui::ToWx(text));
        BtnNothing->SetLabel(ui::ToWx(button));
        when_nothing_ = std::move(action);
    };
    LblNothing->SetToolTip(ui::ToWx(server_away_));
    if (away) {
        show(kServerAway +
                 u"没有做完的练习可以继续做：答案保存在本机，\n服务器恢复后再上传。\n新的练习要等服务器恢复才能开始。",
             u"重新连接", [this] {
                 Upload(false);
                 if (!server_away_.empty()) ui::Inform(this, kServerAway + server_away_, kMainTitle);
             });
    } else if (users_.empty()) {
        show(u"还没有考生。", u"新建考生…", [this] { EditCandidate(true); });
    } else if (subjects_.empty()) {
        show(u"还没有科目和试卷。\n可以先用示例题库试一试。", u"建立示例题库和试卷", [this] { MakeExamples(); });
    } else {
        show(u"这个科目还没有试卷。", u"从题库组卷…", [this] { ComposeFromBank(); });
    }
    BtnNothing->Enable(!read_only_ || away);
    Nothing->Layout();
}

void MainWindow::FillPast() {
    LvLast->DeleteAllItems();
    for (const PastPractice& one : std::span(overview_.past).first(std::min(overview_.past.size(), kLastShown))) {
        const review::Training& training = one.training;
        const bool passed = training.Passed();
        const std::u16string kind = one.mode ? std::u16string(ModeText(*one.mode)).substr(0, 2) : u"—";
        wxVector<wxVariant> cells;
        for (const std::u16string& cell :
             {Format(training.start, u"yy-mm-dd hh:nn"), one.paper.empty() ? std::u16string(u"（未知）") : one.paper,
              kind, training.use_time < 0 ? std::u16string() : ClockText(training.use_time),
              ToText(Value(training.got_score)) + u" / " + ToText(Value(training.paper_score)),
              passed ? WithSign(kRightSign, u"及格") : WithSign(kWrongSign, u"不及格")}) {
            cells.push_back(wxVariant(ui::ToWx(cell)));
        }
        LvLast->AppendItem(cells);
    }
    if (!overview_.past.empty()) LvLast->SelectRow(0);
    BtnReview->Enable(!overview_.past.empty());
    const bool away = !server_away_.empty();
    LblNoLast->Show(overview_.past.empty() && !away);
    LblFigures->SetLabelText(away ? wxString() : ui::ToWx(overview_.FiguresText()));
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

const PastPractice* MainWindow::SelectedPast() const {
    const int row = LvLast->GetSelectedRow();
    return row == wxNOT_FOUND ? nullptr : &overview_.past[row];
}

void MainWindow::Remember() {
    if (read_only_) return;
    settings_.Set(kPlace, host::PlaceOf(*this));
    if (UserId() != -1) settings_.Set(kUserSetting, ToText(UserId()));
    if (SubjectCode() != -1) settings_.Set(kSubjectSetting, ToText(SubjectCode()));
    settings_.Set(kEditionSetting, OptNet->GetValue() ? u"1" : u"0");
}

}  // namespace qmtrain::host
