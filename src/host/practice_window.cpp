#include "host/practice_window.h"

#include <algorithm>
#include <utility>

#include <wx/textentry.h>
#include <wx/wupdlock.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "host/ask.h"
#include "host/hand_in_dialog.h"
#include "host/keys_dialog.h"
#include "host/look.h"
#include "host/note_dialog.h"
#include "host/window_place.h"
#include "host/zoom.h"
#include "notes/note.h"
#include "records/ncre_user.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// Pixels of an unscaled screen.
const wxSize kFirstSize(980, 660);
const wxSize kLeastSize(680, 460);
constexpr int kNavigatorWidth = 204;
constexpr int kProgressHeight = 4;

constexpr std::u16string_view kTitle = u"模拟练习";
constexpr std::u16string_view kPlace = u"PracticeWindow";
constexpr std::u16string_view kZoomSetting = u"Zoom";
constexpr std::u16string_view kTimeSetting = u"TimeHidden";
constexpr int kLastMinutes = 5 * 60;  // seconds from which on the time is short

// While it lives, something is open over the window.
class Covering {
public:
    explicit Covering(int& count) : count_(count) { ++count_; }
    Covering(const Covering&) = delete;
    Covering& operator=(const Covering&) = delete;
    ~Covering() { --count_; }

private:
    int& count_;
};

std::u16string Number(std::size_t number) {
    return ToText(static_cast<std::int64_t>(number));
}

std::u16string NameOf(const DataFolder& folder, std::int32_t user_id) {
    NCREUser user;
    user.ClientPath(folder.path);
    user.Init(user_id);
    return user.UserExameID().empty() ? user.UserName() : user.UserName() + u"（" + user.UserExameID() + u"）";
}

// Presses the button whose caption underlines the letter. Not every Windows looks for it beyond the panel that has the
// keyboard.
bool PressByLetter(const wxWindow& window, int letter) {
    for (wxWindow* child : window.GetChildren()) {
        if (!child->IsShown()) continue;
        if (auto* button = dynamic_cast<wxButton*>(child); button != nullptr && button->IsEnabled()) {
            if (button->GetLabel().Upper().Contains(wxString("&") + static_cast<wxChar>(letter))) {
                auto* click = new wxCommandEvent(wxEVT_BUTTON, button->GetId());
                click->SetEventObject(button);
                button->GetEventHandler()->QueueEvent(click);
                return true;
            }
        }
        if (PressByLetter(*child, letter)) return true;
    }
    return false;
}

}  // namespace

template <class Body>
void PracticeWindow::Guarded(Body body) {
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
    Guarded([this] { candidate_ = NameOf(folder_, practice_.UserId()); });
    reminded_ = practice_.SecondsLeft() <= kLastMinutes;
    Build();
    BindEvents();
    SetMinClientSize(FromDIP(kLeastSize));
    Place(*this, settings_.Text(kPlace), kFirstSize);
    ShowCells();
    ShowTime();
    ShowQuestion();
    timer_.Start(1000);
}

void PracticeWindow::Build() {
    const int margin = FromDIP(kMargin);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    Notice = new wxInfoBar(this);
    sizer->Add(Notice, 0, wxEXPAND);
    sizer->Add(BuildHeader(), 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, margin);
    Progress = new ShareBar(this, 0, Tint::Accent, u"", kProgressHeight);
    sizer->Add(Progress, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, margin);
    Question = new QuestionView(this);
    body_ = new wxBoxSizer(wxHORIZONTAL);
    body_->Add(Question, 1, wxEXPAND | wxRIGHT, margin);
    body_->Add(BuildNavigator(), 0, wxEXPAND);
    sizer->Add(body_, 1, wxEXPAND | wxALL, margin);
    buttons_ = new wxBoxSizer(wxVERTICAL);
    buttons_->Add(BuildButtons(), 0, wxEXPAND);
    sizer->Add(buttons_, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, margin);
    SetSizer(sizer);
}

wxSizer* PracticeWindow::BuildHeader() {
    LblTitle = MakeLabel(this, u"", TextSize::Large, true);
    LblKind = MakeLabel(this, u"");
    LblTime = MakeLabel(this, u"", TextSize::Large, true);
    LblPaper = MakeLabel(this, u"", TextSize::Small, false, Tint::Quiet);
    const auto tool = [this](std::u16string_view caption, std::u16string_view tip) {
        auto* button = new wxButton(this, wxID_ANY, ui::ToWx(caption), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
        button->SetFont(FontOf(TextSize::Small));
        button->SetMinSize(wxSize(button->GetTextExtent(ui::ToWx(caption)).x + FromDIP(2 * kGap), -1));
        button->SetToolTip(ui::ToWx(tip));
        SetSpokenName(*button, tip);
        return button;
    };
    auto* first = new wxBoxSizer(wxHORIZONTAL);
    first->Add(LblTitle, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kMargin));
    first->Add(LblKind, 1, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kMargin));
    first->Add(LblTime, 0, wxALIGN_CENTRE_VERTICAL);
    auto* second = new wxBoxSizer(wxHORIZONTAL);
    second->Add(LblPaper, 1, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kMargin));
    BtnTime = tool(time_hidden_ ? u"显示时间" : u"隐藏时间", u"显示或隐藏时间");
    BtnSmaller = tool(u"A－", u"缩小题目文字（Ctrl －）");
    BtnLarger = tool(u"A＋", u"放大题目文字（Ctrl ＋）");
    BtnHelp = tool(u"帮助", u"键盘操作说明（F1）");
    for (wxButton* button : {BtnTime, BtnSmaller, BtnLarger, BtnHelp}) {
        second->Add(button, 0, wxALIGN_CENTRE_VERTICAL | wxLEFT, FromDIP(kTiny));
    }
    auto* both = new wxBoxSizer(wxVERTICAL);
    both->Add(first, 0, wxEXPAND | wxBOTTOM, FromDIP(kTiny));
    both->Add(second, 0, wxEXPAND);
    return both;
}

wxSizer* PracticeWindow::BuildNavigator() {
    auto* box = new wxBoxSizer(wxVERTICAL);
    Navigator = new NavigatorView(this, GroupsOf(practice_), practice_.Size());
    Navigator->SetMinSize(FromDIP(wxSize(kNavigatorWidth, -1)));
    box->Add(Navigator, 1, wxEXPAND);
    LblCounts = new wxStaticText(this, wxID_ANY, wxString());
    LblCounts->SetForegroundColour(Colour(Tint::Quiet));
    LblCounts->SetFont(FontOf(TextSize::Small));
    box->Add(LblCounts, 0, wxEXPAND | wxTOP, FromDIP(kGap));
    return box;
}

wxSizer* PracticeWindow::BuildButtons() {
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    const auto button = [&](std::u16string_view caption, std::u16string_view tip) {
        auto* one = new wxButton(this, wxID_ANY, ui::ToWx(caption));
        one->SetMinSize(wxSize(one->GetTextExtent(one->GetLabelText()).x + FromDIP(2 * kMargin), -1));
        one->SetToolTip(ui::ToWx(tip));
        row->Add(one, 0, wxRIGHT, FromDIP(kGap));
        return one;
    };
    BtnPrevious = button(u"上一题(&P)", u"PageUp");
    BtnNext = button(u"下一题(&N)", u"回车或 PageDown");
    if (practice_.GetMode() != Mode::Exam) BtnCheck = button(u"核对(&K)", u"显示这一题的答案；核对以后不能再改");
    BtnMark = button(u"标记(&M)", u"做标记，以后再看");
    BtnClear = button(u"清除(&C)", u"清除这一题的答案");
    BtnNote = button(u"笔记(&B)", u"写一条关于这一题的笔记");
    row->AddStretchSpacer();
    BtnLeave = button(u"暂停离开(&L)", u"保存答案，停止计时，以后继续（Esc）");
    BtnHandIn = button(u"交卷(&H)", u"检查没有答完的题，然后交卷");
    row->GetItem(row->GetItemCount() - 1)->SetBorder(0);
    return row;
}

void PracticeWindow::BindEvents() {
    Question->OnChange = [this] { KeepAnswer(); };
    Navigator->OnGo = [this](std::size_t index) { GoTo(index); };
    const auto on = [this](wxButton* button, void (PracticeWindow::*step)()) {
        if (button != nullptr) button->Bind(wxEVT_BUTTON, [this, step](wxCommandEvent&) { (this->*step)(); });
    };
    BtnPrevious->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Step(-1); });
    BtnNext->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Step(1); });
    BtnSmaller->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Zoom(-1); });
    BtnLarger->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Zoom(1); });
    BtnHelp->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        const Covering covering(covered_);
        KeysDialog(this).ShowModal();
    });
    BtnClear->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        Question->Answers().Enter(u"");
        Question->Answers().FocusAnswer();
    });
    on(BtnTime, &PracticeWindow::ToggleTime);
    on(BtnCheck, &PracticeWindow::Check);
    on(BtnMark, &PracticeWindow::ToggleMark);
    on(BtnNote, &PracticeWindow::WriteNote);
    on(BtnLeave, &PracticeWindow::Leave);
    on(BtnHandIn, &PracticeWindow::AskHandIn);
    Bind(wxEVT_TIMER, [this](wxTimerEvent&) { Tick(); });
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent&) { Leave(); });
    Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (!HandleKey(event)) event.Skip();
    });
}

// Steps that rebuild the answer come after the key: the control that got it must not be gone before.
bool PracticeWindow::HandleKey(const wxKeyEvent& event) {
    wxWindow* focus = FindFocus();
    const bool in_text = dynamic_cast<wxTextEntry*>(focus) != nullptr;
    const bool in_box = in_text && focus->HasFlag(wxTE_MULTILINE);
    const bool on_button = dynamic_cast<wxAnyButton*>(focus) != nullptr || dynamic_cast<wxCheckBox*>(focus) != nullptr;
    const int key = event.GetKeyCode();
    if (event.AltDown()) return PressByLetter(*this, key);
    switch (key) {
        case WXK_ESCAPE: CallAfter([this] { Leave(); }); return true;
        case WXK_F1: {
            wxCommandEvent click(wxEVT_BUTTON, BtnHelp->GetId());
            BtnHelp->ProcessWindowEvent(click);
            return true;
        }
        case WXK_PAGEUP:
        case WXK_PAGEDOWN:
            if (in_text && !event.ControlDown()) return false;
            CallAfter([this, key] { Step(key == WXK_PAGEUP ? -1 : 1); });
            return true;
        case WXK_RETURN:
        case WXK_NUMPAD_ENTER:
            if (on_button || (in_box && !event.ControlDown())) return false;
            CallAfter([this] { Enter(); });
            return true;
        default: break;
    }
    if (event.ControlDown()) {
        switch (key) {
            case '+':
            case '=':
            case WXK_NUMPAD_ADD: Zoom(1); return true;
            case '-':
            case WXK_NUMPAD_SUBTRACT: Zoom(-1); return true;
            case '0':
            case WXK_NUMPAD0: Zoom(0); return true;
            default: return false;
        }
    }
    return !in_text && ChooseByKey(key);
}

bool PracticeWindow::ChooseByKey(int key) {
    if (IsOver()) return false;
    if (key >= 'A' && key <= 'H') return Question->Answers().Choose(static_cast<std::size_t>(key - 'A'));
    if (key >= '1' && key <= '8') return Question->Answers().Choose(static_cast<std::size_t>(key - '1'));
    if (key >= WXK_NUMPAD1 && key <= WXK_NUMPAD8) {
        return Question->Answers().Choose(static_cast<std::size_t>(key - WXK_NUMPAD1));
    }
    return false;
}

// The next blank, the answer of an exercise, the next question, handing in: whatever comes next.
void PracticeWindow::Enter() {
    const auto* focus = FindFocus();
    if (focus == Navigator && Navigator->Cursor() != current_) return GoTo(Navigator->Cursor());
    if (!IsOver() && Question->Answers().FocusNextBlank()) return;
    const bool answered = practice_.HowAnswered(current_) != Answered::No;
    if (!IsOver() && answered && BtnCheck != nullptr && BtnCheck->IsEnabled()) return Check();
    Step(1);
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
        return ChkMistakes->GetValue() && at >= 0 && at < last &&
               result_->questions[static_cast<std::size_t>(at)].GetVerdict() == Verdict::Right;
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
    const host::Question& question = practice_.Content(current_);
    const PaperQuestion& place = practice_.Place(current_);
    LblTitle->SetLabelText(ui::ToWx(u"第 " + Number(current_ + 1) + u" / " + Number(practice_.Size()) + u" 题"));
    LblKind->SetLabelText(ui::ToWx(question.type_name + u" · " + ToText(Value(place.score)) + u" 分"));
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
                       u"已作答 " + Number(answered) + u" / " + Number(practice_.Size()) + u" 题");
    if (IsOver()) {
        const auto mistakes = result_->Mistakes();
        LblCounts->SetLabelText(
            ui::ToWx(u"✓ 正确 " + Number(practice_.Size() - mistakes.size()) + u"　✗ 有错 " + Number(mistakes.size())));
        return;
    }
    LblCounts->SetLabelText(ui::ToWx(CountsText(practice_)));
    const bool checked = practice_.IsChecked(current_);
    BtnPrevious->Enable(current_ > 0);
    BtnNext->SetLabel(ui::ToWx(IsLast() ? u"检查并交卷(&N)" : u"下一题(&N)"));
    BtnNext->SetMinSize(wxSize(BtnNext->GetTextExtent(BtnNext->GetLabelText()).x + FromDIP(2 * kMargin), -1));
    BtnMark->SetLabel(ui::ToWx(practice_.IsMarked(current_) ? u"取消标记(&M)" : u"标记(&M)"));
    BtnMark->SetMinSize(wxSize(BtnMark->GetTextExtent(BtnMark->GetLabelText()).x + FromDIP(2 * kMargin), -1));
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
    Note note;
    note.ClientPath(folder_.path);
    std::u16string problem;
    const bool has = note.Init(problem) &&
                     note.IsExistNote(place.data_code, practice_.GetPaper().subject, place.rec_no, practice_.UserId());
    BtnNote->SetLabel(ui::ToWx(has ? u"笔记 ✓(&B)" : u"笔记(&B)"));
    BtnNote->SetMinSize(wxSize(BtnNote->GetTextExtent(BtnNote->GetLabelText()).x + FromDIP(2 * kMargin), -1));
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

// What fails here fails with the next answer, which tells it; the next tick tries again.
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

// From now on the window shows what came out.
void PracticeWindow::Finished() {
    const wxWindowUpdateLocker locker(this);
    Notice->Dismiss();
    for (wxButton* button : {BtnCheck, BtnMark, BtnClear, BtnLeave, BtnHandIn, BtnTime}) {
        if (button != nullptr) button->Hide();
    }
    Progress->Hide();
    BtnPrevious->Enable();
    BtnNext->SetLabel(ui::ToWx(u"下一题(&N)"));
    ShowTime();
    Summary = new ResultView(this, *result_,
                             practice_.GetPaper().title + u"　" + std::u16string(ModeText(practice_.GetMode())));
    body_->Insert(0, Summary, 1, wxEXPAND | wxRIGHT, FromDIP(kMargin));
    Summary->MoveBeforeInTabOrder(Navigator);

    auto* row = new wxBoxSizer(wxHORIZONTAL);
    const auto button = [&](std::u16string_view caption) {
        auto* one = new wxButton(this, wxID_ANY, ui::ToWx(caption));
        row->Add(one, 0, wxRIGHT, FromDIP(kGap));
        return one;
    };
    const bool mistakes = !result_->Mistakes().empty();
    BtnSummary = button(u"成绩单(&S)");
    ChkMistakes = new wxCheckBox(this, wxID_ANY, ui::ToWx(u"只看错题(&M)"));
    ChkMistakes->Enable(mistakes);
    row->Insert(1, ChkMistakes, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(kGap));
    row->AddStretchSpacer();
    BtnRedoMistakes = button(u"重做错题(&W)");
    BtnRedoMistakes->Enable(mistakes);
    BtnRedoPaper = button(u"重做试卷(&R)");
    BtnClose = button(u"关闭(&C)");
    row->GetItem(row->GetItemCount() - 1)->SetBorder(0);
    buttons_->Add(row, 0, wxEXPAND | wxTOP, FromDIP(kGap));
    BtnSummary->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ShowSummary(); });
    ChkMistakes->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) {
        ShowCells();
        const std::vector<std::size_t> wrong = result_->Mistakes();
        if (!ChkMistakes->GetValue() || wrong.empty()) return;
        const auto next = std::lower_bound(wrong.begin(), wrong.end(), Summary->IsShown() ? 0 : current_);
        GoTo(next == wrong.end() ? wrong.front() : *next);
    });
    BtnRedoMistakes->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Redo(Mode::Mistakes); });
    BtnRedoPaper->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        Redo(practice_.GetMode() == Mode::Exam ? Mode::Exam : Mode::Exercise);  // all of it
    });
    BtnClose->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Leave(); });
    ShowCells();
    ShowSummary();
}

void PracticeWindow::ShowSummary() {
    LblTitle->SetLabelText(ui::ToWx(u"练习成绩"));
    LblKind->SetLabelText(wxString());
    LblPaper->SetLabelText(ui::ToWx(candidate_));
    Question->Hide();
    Summary->Show();
    ShowState();
    Navigator->SetCurrent(practice_.Size());
    Layout();
    BtnNext->SetFocus();
}

void PracticeWindow::Redo(Mode mode) {
    Practice::Start start{practice_.UserId(), practice_.GetEdition(), mode};
    if (mode == Mode::Mistakes) {
        for (const std::size_t i : result_->Mistakes()) start.questions.push_back(practice_.Place(i).number);
    }
    again_ = start;
    Leave();
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
