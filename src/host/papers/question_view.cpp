#include "host/papers/question_view.h"

#include <algorithm>
#include <utility>

#include <wx/dcbuffer.h>
#include <wx/sizer.h>

#include "core/convert.h"
#include "core/text.h"
#include "document/document_layout.h"
#include "host/widgets/look.h"
#include "host/widgets/signs.h"
#include "host/widgets/zoom.h"
#include "ui/layout.h"
#include "ui/screen_measurer.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// Pixels of an unscaled screen.
constexpr int kColumn = 760;    // the widest a text is comfortable to read
constexpr int kStemMargin = 8;  // that the view keeps around its text
constexpr int kBar = 4;
constexpr int kLeastPane = 96;
constexpr int kLeastText = 64;

int StemHeight(ui::RichTextView& stem, int width) {
    ui::ScreenMeasurer measurer(stem);
    const int margin = stem.FromDIP(kStemMargin);
    const document::DocumentLayout layout(stem.Text(), std::max(1, width - 2 * margin), measurer);
    return layout.WindowHeight(margin);
}

Tint TintOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Right: return Tint::Good;
        case Verdict::Partly: return Tint::Caution;
        case Verdict::Wrong: break;
    }
    return Tint::Bad;
}

std::u16string_view SignOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Right: return kRightSign;
        case Verdict::Partly: return kPartlySign;
        case Verdict::Wrong: break;
    }
    return kWrongSign;
}

// Moves for the keyboard alone: a new question is shown from its beginning.
class Page : public wxScrolledWindow {
public:
    using wxScrolledWindow::wxScrolledWindow;

protected:
    bool ShouldScrollToChildOnFocus(wxWindow*) override { return false; }
};

}  // namespace

Feedback::Feedback(wxWindow* parent) : wxWindow(parent, wxID_ANY), tint_(Tint::Text) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) { Paint(); });
    Hide();
}

void Feedback::SetContent(Tint tint, std::u16string heading, std::u16string lines) {
    tint_ = tint;
    heading_ = std::move(heading);
    lines_ = std::move(lines);
    SetSpokenName(*this, heading_ + u"。" + lines_, Role::Picture);
    Refresh();
}

// Breaks lines anywhere: most of the text is Chinese.
std::u16string Feedback::Wrapped(int width) {
    std::u16string out;
    std::u16string line;
    for (const char16_t unit : lines_) {
        if (unit == u'\r') continue;
        const bool full = unit != u'\n' && !IsLowSurrogate(unit) && GetTextExtent(ui::ToWx(line + unit)).x > width;
        if (unit == u'\n' || full) {
            out += line + u'\n';
            line.clear();
        }
        if (unit != u'\n') line += unit;
    }
    return out + line;
}

int Feedback::HeightFor(int width) {
    const std::u16string text = Wrapped(width - FromDIP(kBar + 2 * ui::kMargin));
    const auto lines = std::count(text.begin(), text.end(), u'\n') + 2;
    return static_cast<int>(lines) * (GetCharHeight() + FromDIP(ui::kTiny)) + FromDIP(2 * ui::kGap);
}

void Feedback::Paint() {
    wxAutoBufferedPaintDC dc(this);
    const wxColour colour = Colour(tint_);
    dc.SetBackground(Mixed(colour, Colour(Tint::Card), 0.1));
    dc.Clear();
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(colour);
    dc.DrawRectangle(0, 0, FromDIP(kBar), GetClientSize().y);
    const int left = FromDIP(kBar + ui::kMargin);
    int y = FromDIP(ui::kGap);
    const int step = GetCharHeight() + FromDIP(ui::kTiny);
    dc.SetFont(GetFont().Bold());
    dc.SetTextForeground(colour);
    dc.DrawText(ui::ToWx(heading_), left, y);
    dc.SetFont(GetFont());
    dc.SetTextForeground(Colour(Tint::Text));
    const std::u16string text = Wrapped(GetClientSize().x - FromDIP(kBar + 2 * ui::kMargin));
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(u'\n', at), text.size());
        y += step;
        dc.DrawText(ui::ToWx(text.substr(at, end - at)), left, y);
        at = end + 1;
    }
}

QuestionView::QuestionView(wxWindow* parent)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME) {
    SetBackgroundColour(Colour(Tint::Card));
    page_ = new Page(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxVSCROLL | wxTAB_TRAVERSAL);
    page_->SetBackgroundColour(Colour(Tint::Card));
    page_->SetScrollRate(0, FromDIP(ui::kWide));
    page_stem_ = new ui::RichTextView(page_);
    page_answers_ = new AnswerPanel(page_);
    page_->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        ArrangePage();
    });
    // The text is as high as it needs to be: the page around it scrolls.
    PassWheel(*page_stem_, *page_answers_);
    page_answers_->Bind(wxEVT_MOUSEWHEEL, [this](wxMouseEvent& event) {
        constexpr int kLines = 3;
        const int lines = kLines * event.GetWheelRotation() / std::max(1, event.GetWheelDelta());
        page_->Scroll(-1, std::max(0, page_->GetViewStart().y - lines));
    });
    page_answers_->OnFocus = [this](wxWindow& control) { ScrollTo(control); };

    split_ = new wxSplitterWindow(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxSP_LIVE_UPDATE | wxSP_3DSASH);
    split_->SetMinimumPaneSize(FromDIP(kLeastPane));
    split_->SetSashGravity(0.5);
    text_stem_ = new ui::RichTextView(split_);
    text_pane_ = new wxPanel(split_);
    text_pane_->SetBackgroundColour(Colour(Tint::Card));
    text_answers_ = new AnswerPanel(text_pane_);
    text_feedback_ = new Feedback(text_pane_);
    text_pane_->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        ArrangeText();
    });
    split_->SplitHorizontally(text_stem_, text_pane_);
    for (ui::RichTextView* stem : {page_stem_, text_stem_}) SetSpokenName(*stem, u"题目");
    for (AnswerPanel* answers : {page_answers_, text_answers_}) {
        answers->OnChange = [this] {
            if (OnChange) OnChange();
        };
    }
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(page_, 1, wxEXPAND);
    sizer->Add(split_, 1, wxEXPAND);
    SetSizer(sizer);
    split_->Hide();
}

ui::RichTextView& QuestionView::Stem() {
    return is_text_ ? *text_stem_ : *page_stem_;
}

AnswerPanel& QuestionView::Answers() {
    return is_text_ ? *text_answers_ : *page_answers_;
}

void QuestionView::Ask(const QuestionContent& question, std::u16string_view answer, int zoom) {
    question_ = question;
    answer_ = answer;
    is_text_ = question.kind == QuestionKind::Operation;
    if (page_feedback_ != nullptr) page_feedback_->Destroy();
    page_feedback_ = nullptr;
    text_feedback_->Hide();
    page_->Show(!is_text_);
    split_->Show(is_text_);
    Stem().SetText(Zoomed(question.stem, zoom));
    SetSpokenName(Stem(), u"题目：" + question.stem.PlainText());
    Answers().Ask(question, answer, zoom);
    Layout();
    page_->Scroll(0, 0);
    if (is_text_) {
        ArrangeText();
    } else {
        ArrangePage();
    }
}

void QuestionView::Reveal(const QuestionOutcome& outcome) {
    Answers().Reveal(question_.answer);
    const Verdict verdict = outcome.GetVerdict();
    const std::u16string heading = WithSign(SignOf(verdict), VerdictText(verdict)) + u"　得 " +
                                   ToText(Value(outcome.mark.score)) + u" 分（满分 " +
                                   ToText(Value(outcome.full_score)) + u" 分）";
    std::u16string lines;
    if (question_.kind == QuestionKind::Operation) {
        lines = outcome.mark.error.empty() ? u"要点都写到了。" : outcome.mark.error;
    } else {
        lines = u"正确答案：" + ShownAnswer(question_.kind, question_.answer) + u"\n你的答案：" +
                ShownAnswer(question_.kind, answer_);
        const bool told = question_.kind == QuestionKind::Fill && !outcome.mark.error.empty();
        if (told) lines += u"\n" + outcome.mark.error;
    }
    if (!is_text_ && page_feedback_ == nullptr) {
        page_feedback_ = new Feedback(page_);
        PassWheel(*page_feedback_, *page_answers_);
    }
    Feedback& feedback = is_text_ ? *text_feedback_ : *page_feedback_;
    feedback.SetContent(TintOf(verdict), heading, lines);
    feedback.Show();
    if (is_text_) {
        split_->SetSashPosition(split_->GetClientSize().y * 2 / 5);
        ArrangeText();
    } else {
        ArrangePage();
    }
}

void QuestionView::ShowFeedback() {
    if (page_feedback_ != nullptr) ScrollTo(*page_feedback_);
}

void QuestionView::ArrangePage() {
    if (is_text_) return;
    const int margin = FromDIP(ui::kGap);
    const int width = std::min(page_->GetClientSize().x - 2 * margin, FromDIP(kColumn));
    if (width < margin) return;
    int y = 0;
    const auto place = [&](wxWindow& window, int left, int height) {
        const wxPoint at = page_->CalcScrolledPosition(wxPoint(left, y));
        window.SetSize(at.x, at.y, width + 2 * (margin - left), height);
        y += height;
    };
    place(*page_stem_, 0, StemHeight(*page_stem_, width + 2 * margin));
    place(*page_answers_, margin, page_answers_->Arrange(width));
    y += margin;
    if (page_feedback_ != nullptr) {
        place(*page_feedback_, margin, page_feedback_->HeightFor(width));
        y += margin;
    }
    page_->SetVirtualSize(width + 2 * margin, y);
}

void QuestionView::ArrangeText() {
    if (!is_text_ || text_answers_->Texts.empty()) return;
    const int margin = FromDIP(ui::kGap);
    const wxSize area = text_pane_->GetClientSize();
    const int width = std::max(1, area.x - 2 * margin);
    int below = margin;
    if (text_feedback_->IsShown()) {
        const int room = area.y - 3 * margin - FromDIP(kLeastText);
        const int height = std::min(text_feedback_->HeightFor(width), std::max(1, room));
        text_feedback_->SetSize(margin, area.y - margin - height, width, height);
        below += height + margin;
    }
    text_answers_->SetSize(margin, margin, width, std::max(1, area.y - margin - below));
    text_answers_->Texts[0]->SetSize(text_answers_->GetClientSize());
}

// What has the focus is seen whole, if it fits.
void QuestionView::ScrollTo(const wxWindow& control) {
    const int unit = FromDIP(ui::kWide);
    const int top = page_->CalcUnscrolledPosition(page_->ScreenToClient(control.GetScreenPosition())).y;
    const int bottom = top + control.GetSize().y;
    const int seen_from = page_->GetViewStart().y * unit;
    const int seen_to = seen_from + page_->GetClientSize().y;
    if (bottom > seen_to) page_->Scroll(-1, (bottom - page_->GetClientSize().y + unit - 1) / unit + 1);
    if (top < seen_from) page_->Scroll(-1, std::max(0, top / unit - 1));
}

}  // namespace qmtrain::host
