#include "host/practice/practice_window.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <wx/wupdlock.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "core/trap.h"
#include "host/data/server_away.h"
#include "host/practice/hand_in_dialog.h"
#include "host/widgets/ask.h"
#include "host/widgets/look.h"
#include "host/widgets/note_dialog.h"
#include "host/widgets/signs.h"
#include "host/widgets/window_place.h"
#include "host/widgets/zoom.h"
#include "notes/note.h"
#include "records/ncre_user.h"
#include "ui/layout.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kTitle = u"模拟练习";
constexpr std::u16string_view kPlace = u"PracticeWindow";
constexpr std::u16string_view kZoomSetting = u"Zoom";
constexpr std::u16string_view kTimeSetting = u"TimeHidden";
constexpr int kLastMinutes = 5 * 60;             // seconds from which on the time is short
constexpr std::chrono::minutes kServerPause{1};  // before a server that was away is asked for notes again

std::u16string NameOf(const DataFolder& folder, std::int32_t user_id) {
    NCREUser user;
    user.ClientPath(folder.path);
    user.Init(user_id);
    return user.UserExameID().empty() ? user.UserName() : user.UserName() + u"（" + user.UserExameID() + u"）";
}

}  // namespace

void PracticeWindow::Guarded(const std::function<void()>& body) {
    try {
        body();
    } catch (const AutomationError& error) {
        const Covering covering(covered_);
        ui::Inform(this, error.Description(), kTitle);
    }
}

PracticeWindow::PracticeWindow(wxWindow* parent, const DataFolder& folder, Practice& practice)
    : wxDialog(parent, wxID_ANY, ui::ToWx(std::u16string(kTitle) + u" - " + practice.GetPaper().title),
               wxDefaultPosition, wxDefaultSize, wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      folder_(folder),
      practice_(practice),
      settings_(folder),
      current_(practice.Current()),
      timer_(this) {
    SetIcons(ProgramIcon());
    zoom_ = std::clamp(settings_.Number(kZoomSetting, kUsualZoom), kLeastZoom, kMostZoom);
    time_hidden_ = settings_.Number(kTimeSetting, 0) != 0;
    Guarded([this] {
        try {
            candidate_ = NameOf(folder_, practice_.UserId());
        } catch (const AutomationError& error) {
            if (!IsServerAway(error)) throw;  // a practice goes on without the server
        }
    });
    reminded_ = practice_.SecondsLeft() <= kLastMinutes;
    Build();
    BindEvents();
    Place(*this, settings_.Text(kPlace), ui::kLargeWindow);
    ShowCells();
    ShowTime();
    ShowQuestion();
    timer_.Start(1000);
}

void PracticeWindow::Step(int direction) {
    if (IsOver()) return StepThrough(direction);
    if (direction < 0 && current_ > 0) GoTo(current_ - 1);
    if (direction < 0) return;
    if (IsLast()) return AskHandIn();
    GoTo(current_ + 1);
}

// Afterwards: the summary, then the questions or only those that were not right, then the summary again.
void PracticeWindow::StepThrough(int direction) {
    const auto last = static_cast<int>(practice_.Size());
    int at = Summary->IsShown() ? (direction > 0 ? -1 : last) : static_cast<int>(current_);
    const auto is_left_out = [&] {
        return ChkMistakes->GetValue() && at >= 0 && at < last && result_->questions[at].GetVerdict() == Verdict::Right;
    };
    do at += direction;
    while (is_left_out());
    if (at < 0 || at >= last) return ShowSummary();
    GoTo(static_cast<std::size_t>(at));
}

void PracticeWindow::GoTo(std::size_t index) {
    if (index >= practice_.Size()) return;
    current_ = index;
    if (!IsOver()) {
        Guarded([this] { practice_.Current(current_); });
    } else if (Summary != nullptr) {
        Summary->Hide();
        Question->Show();
    }
    ShowQuestion();
}

void PracticeWindow::ShowQuestion() {
    const wxWindowUpdateLocker locker(this);
    told_ = false;
    const host::QuestionContent& question = practice_.Content(current_);
    const PaperQuestion& place = practice_.Place(current_);
    LblTitle->SetLabelText(ui::ToWx(u"第 " + ToText(current_ + 1) + u" / " + ToText(practice_.Size()) + u" 题"));
    LblKind->SetLabelText(
        ui::ToWx(std::u16string(KindName(question.kind)) + u" · " + ToText(Value(place.score)) + u" 分"));
    LblPaper->SetLabelText(ui::ToWx(practice_.GetPaper().title + u"　" + candidate_ + u"　" +
                                    std::u16string(ModeText(practice_.GetMode())) +
                                    (practice_.GetEdition() == Edition::Network ? u"　网络版" : u"")));
    Question->Ask(question, practice_.Answer(current_), zoom_);
    if (IsOver()) {
        Question->Reveal(result_->questions[current_]);
    } else if (practice_.IsChecked(current_)) {
        Question->Reveal(practice_.OutcomeOf(current_));
    }
    Question->Answers().Enable(!time_over_ || IsOver());
    Navigator->SetCurrent(current_);
    ShowState();
    ShowNoteState();
    Layout();
    Question->Answers().FocusAnswer();
}

void PracticeWindow::ShowState() {
    ShowCell(current_);
    const auto open = [this](std::size_t index) { return practice_.HowAnswered(index) == Answered::No; };
    std::size_t answered = 0;
    for (std::size_t i = 0; i < practice_.Size(); ++i) answered += open(i) ? 0 : 1;
    Progress->SetShare(static_cast<double>(answered) / static_cast<double>(practice_.Size()),
                       u"已作答 " + ToText(answered) + u" / " + ToText(practice_.Size()) + u" 题");
    if (IsOver()) {
        const auto mistakes = result_->Mistakes();
        LblCounts->SetLabelText(ui::ToWx(WithSign(kRightSign, u"正确 ") + ToText(practice_.Size() - mistakes.size()) +
                                         u"　" + WithSign(kWrongSign, u"有错 ") + ToText(mistakes.size())));
        return;
    }
    LblCounts->SetLabelText(ui::ToWx(CountsText(practice_)));
    const bool checked = practice_.IsChecked(current_);
    BtnPrevious->Enable(current_ > 0);
    BtnNext->SetLabel(ui::ToWx(IsLast() ? u"检查并交卷(&N)" : u"下一题(&N)"));
    ui::FitToCaption(*BtnNext);
    BtnMark->SetLabel(ui::ToWx(practice_.IsMarked(current_) ? u"取消标记(&M)" : u"标记(&M)"));
    ui::FitToCaption(*BtnMark);
    BtnClear->Enable(!checked);
    if (BtnCheck != nullptr) BtnCheck->Enable(!checked);
}

void PracticeWindow::ShowCells() {
    for (std::size_t i = 0; i < practice_.Size(); ++i) ShowCell(i);
}

void PracticeWindow::ShowCell(std::size_t index) {
    NavigatorView::Cell cell{practice_.HowAnswered(index), practice_.IsMarked(index)};
    if (IsOver()) {
        cell.verdict = result_->questions[index].GetVerdict();
        cell.left_out = ChkMistakes->GetValue() && cell.verdict == Verdict::Right;
    } else if (practice_.IsChecked(index)) {
        cell.verdict = practice_.OutcomeOf(index).GetVerdict();
    }
    Navigator->SetCell(index, cell);
}

void PracticeWindow::ShowNoteState() {
    const PaperQuestion& place = practice_.Place(current_);
    bool has = false;
    const auto now = std::chrono::steady_clock::now();
    if (now >= ask_for_notes_) {
        const TrapWatch watch;
        Note note;
        note.ClientPath(folder_.path);
        std::u16string problem;
        has = note.Init(problem) &&
              note.IsExistNote(place.data_code, practice_.GetPaper().subject, place.rec_no, practice_.UserId());
        if (watch.First() && IsServerAway(*watch.First())) ask_for_notes_ = now + kServerPause;
    }
    BtnNote->SetLabel(ui::ToWx(has ? WithSign(u"笔记", kRightSign) + u"(&B)" : std::u16string(u"笔记(&B)")));
    ui::FitToCaption(*BtnNote);
    BtnNote->SetToolTip(ui::ToWx(has ? u"这一题有笔记；打开它" : u"写一条关于这一题的笔记"));
}

void PracticeWindow::ShowTime() {
    if (IsOver()) {
        LblTime->SetLabelText(wxString());
        return;
    }
    const bool exam = practice_.GetMode() == Mode::Exam;
    const std::int32_t left = practice_.SecondsLeft();
    const bool is_short = exam && left <= kLastMinutes;
    std::u16string text =
        !exam ? u"已用 " + ClockText(practice_.SecondsUsed()) : (is_short ? u"仅剩 " : u"剩余 ") + ClockText(left);
    if (time_hidden_) text.clear();
    if (ui::FromWx(LblTime->GetLabelText()) == text) return;
    const bool same_width = LblTime->GetLabelText().length() == ui::ToWx(text).length();
    LblTime->SetForegroundColour(Colour(is_short ? Tint::Bad : Tint::Text));
    LblTime->SetLabelText(ui::ToWx(text));
    if (!same_width) Layout();
}

void PracticeWindow::ToggleTime() {
    time_hidden_ = !time_hidden_;
    BtnTime->SetLabel(ui::ToWx(time_hidden_ ? u"显示时间" : u"隐藏时间"));
    settings_.Set(kTimeSetting, time_hidden_ ? u"1" : u"0");
    ShowTime();
    Layout();
}

void PracticeWindow::Zoom(int direction) {
    const int wanted = direction == 0 ? kUsualZoom : NextZoom(zoom_, direction);
    if (wanted == zoom_) return;
    zoom_ = wanted;
    settings_.Set(kZoomSetting, ToText(zoom_));
    CallAfter([this] { ShowQuestion(); });
}

void PracticeWindow::KeepAnswer() {
    if (IsOver()) return;
    try {
        practice_.Answer(current_, Question->Answers().Answer());
    } catch (const AutomationError& error) {
        const Covering covering(covered_);
        if (!std::exchange(told_, true)) ui::Inform(this, u"答案没有保存：" + error.Description(), kTitle);
    }
    ShowState();
}

void PracticeWindow::Check() {
    Guarded([this] { practice_.Check(current_); });
    ShowQuestion();
    Question->ShowFeedback();
}

// The time goes on while a box or a note is open over the window; the paper is handed in when it is closed.
void PracticeWindow::Tick() {
    if (IsOver()) return;
    ShowTime();
    KeepTime();
    if (practice_.GetMode() != Mode::Exam) return;
    const std::int32_t left = practice_.SecondsLeft();
    if (left <= kLastMinutes && left > 0 && !std::exchange(reminded_, true)) {
        Notice->ShowMessage(ui::ToWx(u"还剩 5 分钟。时间到后会自动交卷。"), wxICON_WARNING);
    }
    if (left > 0 || covered_ > 0) return;
    timer_.Stop();
    time_over_ = true;
    {
        const Covering covering(covered_);
        ui::Inform(this, u"时间到，现在交卷。", kTitle);
    }
    HandIn();
    if (IsOver()) return;
    ShowQuestion();
    Notice->ShowMessage(ui::ToWx(u"时间已到，交卷没有成功；答案已经保存，请再次交卷。"), wxICON_WARNING);
}

// A failure is reported with the next answer, which fails as well; the next tick tries again.
void PracticeWindow::KeepTime() {
    try {
        practice_.KeepTime();
    } catch (const AutomationError&) {
        return;
    }
}

void PracticeWindow::ToggleMark() {
    Guarded([this] { practice_.SetMarked(current_, !practice_.IsMarked(current_)); });
    ShowState();
    Layout();
    Question->Answers().FocusAnswer();
}

void PracticeWindow::WriteNote() {
    const PaperQuestion& place = practice_.Place(current_);
    {
        const Covering covering(covered_);
        Guarded([&] {
            NoteDialog(this, folder_, practice_.GetPaper().subject, practice_.UserId(), place.data_code, place.rec_no)
                .ShowModal();
        });
    }
    ShowNoteState();
    Layout();
    Question->Answers().FocusAnswer();
}

void PracticeWindow::AskHandIn() {
    std::optional<std::size_t> chosen;
    {
        const Covering covering(covered_);
        HandInDialog dialog(this, practice_);
        if (dialog.ShowModal() == wxID_OK) return HandIn();
        chosen = dialog.Chosen();
    }
    if (chosen) return GoTo(*chosen);
    Question->Answers().FocusAnswer();
}

void PracticeWindow::HandIn() {
    Guarded([this] {
        result_ = practice_.HandIn();
        timer_.Stop();
        Finished();
    });
    if (!IsOver() && !time_over_ && !timer_.IsRunning()) timer_.Start(1000);  // it can be handed in again
}

// The answers are safe; the practice goes on when the candidate wants.
void PracticeWindow::Leave() {
    if (!IsOver()) {
        const Covering covering(covered_);
        const std::u16string_view question =
            u"试卷还没有交。答案已经保存，计时暂停，以后可以在主窗口中继续。\n现在离开吗？";
        if (!Confirm(this, question, kTitle, u"离开(&L)", u"继续作答(&C)")) return Question->Answers().FocusAnswer();
        Guarded([this] { practice_.Pause(); });
    }
    timer_.Stop();
    settings_.Set(kPlace, PlaceOf(*this));
    EndModal(IsOver() ? wxID_OK : wxID_CANCEL);
}

void Practise(wxWindow* parent, const DataFolder& folder, Practice& practice) {
    std::optional<Practice::Start> again;
    {
        PracticeWindow window(parent, folder, practice);
        window.ShowModal();
        again = window.Again();
    }
    while (again) {
        Practice next(folder, FindPaper(folder, practice.GetPaper().number).value_or(practice.GetPaper()), *again);
        PracticeWindow window(parent, folder, next);
        window.ShowModal();
        again = window.Again();
    }
}

}  // namespace qmtrain::host
