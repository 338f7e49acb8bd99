#include "host/papers/answer_panel.h"

#include <algorithm>
#include <utility>

#include "core/convert.h"
#include "core/text.h"
#include "host/widgets/look.h"
#include "host/widgets/zoom.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

document::RichText Plain(std::u16string_view text) {
    document::RichText out;
    out.AppendText(text);
    return out;
}

}  // namespace

AnswerPanel::AnswerPanel(wxWindow* parent) : wxPanel(parent) {
    SetBackgroundColour(Colour(Tint::Card));
    Bind(wxEVT_TEXT, [this](wxCommandEvent& event) {
        event.Skip();
        if (OnChange) OnChange();
    });
}

void AnswerPanel::Ask(const QuestionContent& question, std::u16string_view answer, int zoom) {
    DestroyChildren();
    Rows.clear();
    Texts.clear();
    captions_.clear();
    locked_ = false;
    first_ = nullptr;
    kind_ = question.kind;
    switch (kind_) {
        case QuestionKind::Single:
        case QuestionKind::Multiple: {
            const auto kind =
                kind_ == QuestionKind::Single ? ChoiceRow::Selection::Single : ChoiceRow::Selection::Multiple;
            char16_t letter = u'A';
            for (const document::RichText& option : question.options) {
                AddRow(kind, std::u16string(1, letter++), Zoomed(option, zoom));
            }
            break;
        }
        case QuestionKind::YesNo:
            AddRow(ChoiceRow::Selection::Single, u"", Zoomed(Plain(u"对"), zoom));
            AddRow(ChoiceRow::Selection::Single, u"", Zoomed(Plain(u"错"), zoom));
            break;
        case QuestionKind::Fill:
            for (int i = 1; i <= question.blanks; ++i) {
                const std::u16string caption = u"【" + ToText(i) + u"】";
                captions_.push_back(new wxStaticText(this, wxID_ANY, ui::ToWx(caption)));
                AddText(0, u"第 " + ToText(i) + u" 空");
            }
            break;
        default: {
            AddText(wxTE_MULTILINE, u"操作题的答案");
            wxFont font(wxFontInfo(10.5 * zoom / 100).Family(wxFONTFAMILY_TELETYPE));
            Texts[0]->SetFont(font);
        }
    }
    Fill(answer);
}

void AnswerPanel::AddRow(ChoiceRow::Selection kind, std::u16string letter, document::RichText text) {
    auto* row = new ChoiceRow(this, kind, std::move(letter), std::move(text));
    const std::size_t place = Rows.size();
    row->OnChoose = [this, place] { Choose(place); };
    row->OnMove = [this, place](int direction) { MoveFrom(place, direction); };
    row->Bind(wxEVT_SET_FOCUS, [this, row](wxFocusEvent& event) {
        event.Skip();
        TellFocus(*row);
    });
    PassWheel(*row, *this);
    Rows.push_back(row);
}

void AnswerPanel::AddText(long style, std::u16string_view name) {
    auto* text = new wxTextCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, style);
    if ((style & wxTE_MULTILINE) != 0) SetInnerMargin(*text);
    SetSpokenName(*text, name);
    if ((style & wxTE_MULTILINE) == 0) PassWheel(*text, *this);
    text->Bind(wxEVT_SET_FOCUS, [this, text](wxFocusEvent& event) {
        event.Skip();
        TellFocus(*text);
    });
    Texts.push_back(text);
}

void AnswerPanel::MoveFrom(std::size_t place, int direction) {
    const auto count = static_cast<int>(Rows.size());
    const int wanted = (static_cast<int>(place) + direction + count) % count;
    Rows[wanted]->SetFocus();
}

bool AnswerPanel::Choose(std::size_t place) {
    if (place >= Rows.size() || locked_) return false;
    if (kind_ == QuestionKind::Multiple) {
        Rows[place]->Choose(!Rows[place]->IsChosen());
    } else {
        for (std::size_t i = 0; i < Rows.size(); ++i) Rows[i]->Choose(i == place);
    }
    Rows[place]->SetFocus();
    if (OnChange) OnChange();
    return true;
}

// The bit set of a choice, "-1" or "0", or the texts of the blanks.
void AnswerPanel::Fill(std::u16string_view answer) {
    const bool choice = kind_ == QuestionKind::Single || kind_ == QuestionKind::Multiple;
    const std::int32_t bits = choice && IsNumeric(answer) ? ToLong(answer) : 0;
    for (std::size_t i = 0; i < Rows.size(); ++i) {
        Rows[i]->Choose(choice ? (bits >> i & 1) != 0 : !answer.empty() && (answer == u"-1") == (i == 0));
    }
    if (kind_ == QuestionKind::Fill) {
        const std::vector<std::u16string> parts = Split(answer, u'@');
        for (std::size_t i = 0; i < Texts.size(); ++i) {
            Texts[i]->ChangeValue(ui::ToWx(i < parts.size() ? parts[i] : u""));
        }
    } else if (!Texts.empty()) {
        Texts[0]->ChangeValue(ui::ToWx(answer));
    }
}

void AnswerPanel::Enter(std::u16string_view answer) {
    if (locked_) return;
    Fill(answer);
    if (OnChange) OnChange();
}

std::u16string AnswerPanel::Answer() const {
    if (kind_ == QuestionKind::YesNo) {
        if (Rows[0]->IsChosen()) return u"-1";
        return Rows[1]->IsChosen() ? u"0" : u"";
    }
    if (!Rows.empty()) {
        std::int32_t bits = 0;
        for (std::size_t i = 0; i < Rows.size(); ++i) bits |= Rows[i]->IsChosen() ? 1 << i : 0;
        return bits == 0 ? u"" : ToText(bits);
    }
    std::u16string answer;
    for (std::size_t i = 0; i < Texts.size(); ++i) {
        if (i > 0) answer += u"@";
        std::u16string blank = ui::StoredLines(Texts[i]->GetValue());
        // "@" and "#" separate blanks and alternatives: no answer can hold them.
        if (kind_ == QuestionKind::Fill)
            std::erase_if(blank, [](char16_t unit) { return unit == u'@' || unit == u'#'; });
        answer += blank;
    }
    return answer.find_first_not_of(u'@') == std::u16string::npos ? u"" : answer;
}

void AnswerPanel::Reveal(std::u16string_view standard_answer) {
    locked_ = true;
    const std::int32_t bits = IsNumeric(standard_answer) ? ToLong(standard_answer) : 0;
    for (std::size_t i = 0; i < Rows.size(); ++i) {
        Rows[i]->Lock();
        Rows[i]->ShowRight(kind_ == QuestionKind::YesNo ? (standard_answer == u"-1") == (i == 0)
                                                        : (bits >> i & 1) != 0);
    }
    for (wxTextCtrl* text : Texts) text->SetEditable(false);
}

void AnswerPanel::TellFocus(wxWindow& control) {
    if (std::exchange(first_, nullptr) != &control && OnFocus) OnFocus(control);
}

void AnswerPanel::FocusAnswer() {
    const auto chosen = std::find_if(Rows.begin(), Rows.end(), [](const ChoiceRow* row) { return row->IsChosen(); });
    const auto open = std::find_if(Texts.begin(), Texts.end(), [](const wxTextCtrl* text) { return text->IsEmpty(); });
    if (!Rows.empty()) {
        first_ = chosen != Rows.end() ? *chosen : Rows[0];
    } else if (!Texts.empty()) {
        wxTextCtrl* text = open != Texts.end() ? *open : Texts.back();
        first_ = text;
        text->SetInsertionPointEnd();
    }
    if (first_ != nullptr) first_->SetFocus();
}

bool AnswerPanel::FocusNextBlank() {
    for (std::size_t i = 0; i + 1 < Texts.size(); ++i) {
        if (!Texts[i]->HasFocus()) continue;
        Texts[i + 1]->SetFocus();
        return true;
    }
    return false;
}

int AnswerPanel::Arrange(int width) {
    const int gap = FromDIP(ui::kGap);
    int y = 0;
    for (ChoiceRow* row : Rows) {
        const int height = row->HeightFor(width);
        row->SetSize(0, y, width, height);
        y += height + gap;
    }
    int caption_width = 0;
    for (const wxStaticText* caption : captions_) caption_width = std::max(caption_width, caption->GetBestSize().x);
    for (std::size_t i = 0; i < captions_.size(); ++i) {
        const int height = Texts[i]->GetBestSize().y;
        const int caption_height = captions_[i]->GetBestSize().y;
        captions_[i]->SetPosition(wxPoint(0, y + (height - caption_height) / 2));
        Texts[i]->SetSize(caption_width + gap, y, width - caption_width - gap, height);
        y += height + gap;
    }
    return std::max(0, y - gap);
}

}  // namespace qmtrain::host
