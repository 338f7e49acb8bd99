#include "host/practice_window.h"

#include <utility>

#include <wx/settings.h>
#include <wx/sizer.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "host/note_dialog.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// Pixels of an unscaled screen.
constexpr int kMargin = 12;
constexpr int kGap = 6;
const wxSize kFirstSize(900, 620);
const wxSize kLeastSize(680, 460);
constexpr int kNavigatorWidth = 190;
const wxSize kNumberSize(54, 32);

constexpr std::u16string_view kTitle = u"模拟练习";
constexpr int kLastMinutes = 5 * 60;  // seconds from which on the time is shown in red

std::u16string Joined(const std::vector<std::int32_t>& numbers) {
    std::u16string out;
    for (const std::int32_t number : numbers) out += (out.empty() ? u"" : u"、") + ToText(number);
    return out;
}

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

std::u16string TimeText(std::int32_t seconds) {
    return u"剩余时间 " + Format(seconds / 60, u"00") + u":" + Format(seconds % 60, u"00");
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

PracticeWindow::PracticeWindow(const DataFolder& folder, Practice& practice)
    : wxDialog(nullptr, wxID_ANY, ui::ToWx(kTitle), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      folder_(folder),
      practice_(practice),
      timer_(this) {
    Build();
    BindEvents();
    SetMinClientSize(FromDIP(kLeastSize));
    SetClientSize(FromDIP(kFirstSize));
    CentreOnScreen();
    for (std::size_t i = 0; i < BtnQuestions.size(); ++i) ShowState(i);
    ShowTime();
    ShowQuestion();
    timer_.Start(1000);
}

void PracticeWindow::Build() {
    const int margin = FromDIP(kMargin);
    LblTitle = new wxStaticText(this, wxID_ANY, wxString());
    LblTitle->SetFont(LblTitle->GetFont().Bold().Larger());
    LblTime = new wxStaticText(this, wxID_ANY, wxString());
    LblTime->SetFont(LblTime->GetFont().Bold().Larger());
    auto* top = new wxBoxSizer(wxHORIZONTAL);
    top->Add(LblTitle, 1, wxALIGN_CENTRE_VERTICAL);
    top->Add(LblTime, 0, wxALIGN_CENTRE_VERTICAL);

    RtfQuestion = new ui::RichTextView(this);
    Answers = new AnswerPanel(this);
    auto* question = new wxBoxSizer(wxVERTICAL);
    question->Add(RtfQuestion, 1, wxEXPAND);
    question->Add(Answers, 0, wxEXPAND | wxTOP, FromDIP(kGap));
    auto* middle = new wxBoxSizer(wxHORIZONTAL);
    middle->Add(question, 1, wxEXPAND | wxRIGHT, margin);
    middle->Add(BuildNavigator(), 0, wxEXPAND);

    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(top, 0, wxEXPAND | wxALL, margin);
    sizer->Add(middle, 1, wxEXPAND | wxLEFT | wxRIGHT, margin);
    sizer->Add(BuildButtons(), 0, wxEXPAND | wxALL, margin);
    SetSizer(sizer);
}

wxSizer* PracticeWindow::BuildNavigator() {
    auto* box = new wxBoxSizer(wxVERTICAL);
    auto* caption = new wxStaticText(this, wxID_ANY, ui::ToWx(u"题目"));
    caption->SetFont(caption->GetFont().Bold());
    box->Add(caption, 0, wxBOTTOM, FromDIP(kGap));
    auto* grid = new wxGridSizer(3, FromDIP(wxSize(kGap, kGap)));
    for (std::size_t i = 0; i < practice_.GetPaper().questions.size(); ++i) {
        auto* button = new wxButton(this, wxID_ANY, wxString(), wxDefaultPosition, FromDIP(kNumberSize));
        button->Bind(wxEVT_BUTTON, [this, i](wxCommandEvent&) { GoTo(i); });
        BtnQuestions.push_back(button);
        grid->Add(button);
    }
    box->Add(grid);
    box->AddStretchSpacer();
    auto* legend = new wxStaticText(this, wxID_ANY, ui::ToWx(u"✓ 已作答　★ 已标记"));
    legend->SetForegroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
    box->Add(legend, 0, wxTOP, FromDIP(kGap));
    box->SetMinSize(FromDIP(wxSize(kNavigatorWidth, -1)));
    return box;
}

wxSizer* PracticeWindow::BuildButtons() {
    const auto button = [this](std::u16string_view caption) { return new wxButton(this, wxID_ANY, ui::ToWx(caption)); };
    BtnPrevious = button(u"上一题");
    BtnNext = button(u"下一题");
    BtnMark = button(u"标记");
    BtnNote = button(u"记笔记");
    BtnHandIn = button(u"交卷");
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    for (wxButton* one : {BtnPrevious, BtnNext, BtnMark, BtnNote}) row->Add(one, 0, wxRIGHT, FromDIP(kGap));
    row->AddStretchSpacer();
    row->Add(BtnHandIn);
    return row;
}

void PracticeWindow::BindEvents() {
    Answers->OnChange = [this] { KeepAnswer(); };
    BtnPrevious->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { GoTo(current_ - 1); });
    BtnNext->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { GoTo(current_ + 1); });
    BtnMark->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ToggleMark(); });
    BtnNote->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { WriteNote(); });
    BtnHandIn->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { AskHandIn(); });
    Bind(wxEVT_TIMER, [this](wxTimerEvent&) { Tick(); });
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent&) { Leave(); });
    Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        switch (event.GetKeyCode()) {
            case WXK_ESCAPE: return Leave();
            case WXK_PAGEUP: return GoTo(current_ - 1);
            case WXK_PAGEDOWN: return GoTo(current_ + 1);
            default: event.Skip();
        }
    });
}

void PracticeWindow::GoTo(std::size_t index) {
    if (index >= BtnQuestions.size()) return;
    const std::size_t before = current_;
    current_ = index;
    ShowState(before);
    ShowQuestion();
}

void PracticeWindow::ShowQuestion() {
    told_ = false;
    const Question& question = practice_.Content(current_);
    const PaperQuestion& place = practice_.Place(current_);
    LblTitle->SetLabel(ui::ToWx(practice_.GetPaper().title + u"　第 " + ToText(place.number) + u" 题（" +
                                question.type_name + u"，" + ToText(Value(place.score)) + u" 分）"));
    RtfQuestion->SetText(question.text);
    Answers->Ask(question, practice_.Answer(current_));
    BtnPrevious->Enable(current_ > 0);
    BtnNext->Enable(current_ + 1 < BtnQuestions.size());
    ShowState(current_);
    Layout();
}

void PracticeWindow::ShowState(std::size_t index) {
    std::u16string label = ToText(practice_.Place(index).number);
    if (practice_.IsMarked(index)) label += u"★";
    if (practice_.Answer(index).find_first_not_of(u'@') != std::u16string::npos) label += u"✓";
    wxButton* button = BtnQuestions[index];
    button->SetLabel(ui::ToWx(label));
    button->SetFont(index == current_ ? GetFont().Bold() : GetFont());
    button->SetForegroundColour(index == current_ ? wxColour(33, 99, 168) : wxNullColour);
    if (index == current_) BtnMark->SetLabel(ui::ToWx(practice_.IsMarked(index) ? u"取消标记" : u"标记"));
}

void PracticeWindow::ShowTime() {
    LblTime->SetLabel(ui::ToWx(TimeText(practice_.SecondsLeft())));
    if (practice_.SecondsLeft() <= kLastMinutes) LblTime->SetForegroundColour(wxColour(209, 52, 56));
}

void PracticeWindow::KeepAnswer() {
    try {
        practice_.Answer(current_, Answers->Answer());
    } catch (const AutomationError& error) {
        const Covering covering(covered_);
        if (!std::exchange(told_, true)) ui::Inform(this, u"答案没有保存：" + error.Description(), kTitle);
    }
    ShowState(current_);
}

// The time goes on while a box or a note is open over the window; the paper is handed in when it is closed.
void PracticeWindow::Tick() {
    if (practice_.SecondsLeft() > 0) practice_.SecondsLeft(practice_.SecondsLeft() - 1);
    ShowTime();
    if (practice_.SecondsLeft() > 0 || covered_) return;
    timer_.Stop();
    ui::Inform(this, u"时间到，现在交卷。", kTitle);
    HandIn();
}

void PracticeWindow::ToggleMark() {
    Guarded([this] { practice_.SetMarked(current_, !practice_.IsMarked(current_)); });
    ShowState(current_);
}

void PracticeWindow::WriteNote() {
    const PaperQuestion& place = practice_.Place(current_);
    const Covering covering(covered_);
    Guarded([&] {
        NoteDialog(this, folder_, practice_.GetPaper().subject, practice_.UserId(), place.data_code, place.rec_no)
            .ShowModal();
    });
}

void PracticeWindow::AskHandIn() {
    const Covering covering(covered_);
    Guarded([this] {
        const std::vector<std::int32_t> open = practice_.Unanswered();
        const std::u16string missing = open.empty() ? u"所有题目都已作答。"
                                                    : u"还有 " + ToText(static_cast<std::int64_t>(open.size())) +
                                                          u" 题没有作答：第 " + Joined(open) + u" 题。";
        if (ui::AskYesNo(this, missing + u"\n确定要交卷吗？", u"交卷") == ui::Answer::Yes) HandIn();
    });
}

void PracticeWindow::HandIn() {
    Guarded([this] {
        const PracticeResult result = practice_.HandIn();
        result_ = result;
        timer_.Stop();
        ui::Inform(this, u"总分 " + ToText(Value(result.full_score)) + u"，得分 " + ToText(Value(result.score)) + u"。",
                   u"练习成绩");
        EndModal(wxID_OK);
    });
}

// The answers are safe; the practice goes on when the program starts again.
void PracticeWindow::Leave() {
    const Covering covering(covered_);
    const std::u16string question = u"试卷还没有交。答案已经保存，以后可以继续练习。\n现在离开吗？";
    if (ui::AskYesNo(this, question, kTitle) != ui::Answer::Yes) return;
    Guarded([this] { practice_.Pause(); });
    EndModal(wxID_CANCEL);
}

}  // namespace qmtrain::host
