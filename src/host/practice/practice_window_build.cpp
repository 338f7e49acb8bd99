// The controls of the practice window, and what they call.

#include "host/practice/keys_dialog.h"
#include "host/practice/practice_window.h"
#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// Pixels of an unscaled screen.
constexpr int kNavigatorWidth = 204;
constexpr int kProgressHeight = 4;

}  // namespace

void PracticeWindow::Build() {
    const int margin = FromDIP(ui::kMargin);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    Notice = new wxInfoBar(this);
    Notice->AddButton(wxWindow::NewControlId(), ui::ToWx(u"知道了"));  // its own would speak the system's language
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
        ui::FitToCaption(*button, ui::kGap);
        button->SetToolTip(ui::ToWx(tip));
        SetSpokenName(*button, tip);
        return button;
    };
    auto* first = new wxBoxSizer(wxHORIZONTAL);
    first->Add(LblTitle, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kMargin));
    first->Add(LblKind, 1, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kMargin));
    first->Add(LblTime, 0, wxALIGN_CENTRE_VERTICAL);
    auto* second = new wxBoxSizer(wxHORIZONTAL);
    second->Add(LblPaper, 1, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kMargin));
    BtnTime = tool(time_hidden_ ? u"显示时间" : u"隐藏时间", u"显示或隐藏时间");
    BtnSmaller = tool(u"A－", u"缩小题目文字（Ctrl －）");
    BtnLarger = tool(u"A＋", u"放大题目文字（Ctrl ＋）");
    BtnHelp = tool(u"帮助", u"键盘操作说明（F1）");
    for (wxButton* button : {BtnTime, BtnSmaller, BtnLarger, BtnHelp}) {
        second->Add(button, 0, wxALIGN_CENTRE_VERTICAL | wxLEFT, FromDIP(ui::kTiny));
    }
    auto* both = new wxBoxSizer(wxVERTICAL);
    both->Add(first, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kTiny));
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
    box->Add(LblCounts, 0, wxEXPAND | wxTOP, FromDIP(ui::kGap));
    return box;
}

wxSizer* PracticeWindow::BuildButtons() {
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    const auto button = [&](std::u16string_view caption, std::u16string_view tip) {
        auto* one = new wxButton(this, wxID_ANY, ui::ToWx(caption));
        ui::FitToCaption(*one);
        one->SetToolTip(ui::ToWx(tip));
        row->Add(one, 0, wxRIGHT, FromDIP(ui::kGap));
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

}  // namespace qmtrain::host
