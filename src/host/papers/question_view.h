// The question on the screen: its text, where it is answered, and afterwards what came of it.
#pragma once

#include <functional>
#include <string>

#include <wx/panel.h>
#include <wx/scrolwin.h>
#include <wx/splitter.h>

#include "host/papers/answer_panel.h"
#include "host/papers/outcome.h"
#include "host/widgets/look.h"
#include "ui/rich_text_view.h"

namespace qmtrain::host {

// A coloured bar with a heading and lines below it.
class Feedback : public wxWindow {
public:
    explicit Feedback(wxWindow* parent);
    void SetContent(Tint tint, std::u16string heading, std::u16string lines);
    int HeightFor(int width);
    std::u16string Text() const { return heading_ + u"\n" + lines_; }

private:
    std::u16string Wrapped(int width);
    void Paint();

    Tint tint_;
    std::u16string heading_;
    std::u16string lines_;
};

class QuestionView : public wxPanel {
public:
    explicit QuestionView(wxWindow* parent);

    void Ask(const QuestionContent& question, std::u16string_view answer, int zoom);

    // Shows what the answer was worth, in the place of asking for it.
    void Reveal(const QuestionOutcome& outcome);

    std::function<void()> OnChange;

    // Brings what the answer was worth into view.
    void ShowFeedback();

    ui::RichTextView& Stem();
    AnswerPanel& Answers();

private:
    void ArrangePage();
    void ArrangeText();
    void ScrollTo(const wxWindow& control);

    QuestionContent question_;
    std::u16string answer_;
    bool is_text_ = false;  // an operation question: text above, a large box below

    wxScrolledWindow* page_;
    ui::RichTextView* page_stem_;
    AnswerPanel* page_answers_;
    Feedback* page_feedback_ = nullptr;  // there is none while the page may scroll without it

    wxSplitterWindow* split_;
    ui::RichTextView* text_stem_;
    wxPanel* text_pane_;
    AnswerPanel* text_answers_;
    Feedback* text_feedback_;
};

}  // namespace qmtrain::host
