#include "host/banks/question_editor.h"

#include <wx/filedlg.h>
#include <wx/image.h>
#include <wx/splitter.h>
#include <wx/wupdlock.h>

#include "core/error.h"
#include "core/text.h"
#include "exchange/checks.h"
#include "host/widgets/ask.h"
#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

const wxSize kFirstSize(960, 680);  // pixels of an unscaled screen
const wxSize kStemSize(320, 120);
const wxSize kOptionSize(240, 34);
const wxSize kAnalysisSize(320, 64);
constexpr std::size_t kUsualOptions = 4;
constexpr int kCheckDelay = 300;  // milliseconds after the last key

constexpr std::u16string_view kTitle = u"编辑试题";

std::u16string_view CaptionOfAnswer(QuestionKind kind) {
    switch (kind) {
        case QuestionKind::Single: return u"选项（标出正确的一项）";
        case QuestionKind::Multiple: return u"选项（标出所有正确的项）";
        case QuestionKind::YesNo: return u"答案";
        case QuestionKind::Fill: return u"答案：每空一行，同一空的几个答案之间用“#”";
        case QuestionKind::Operation:
        case QuestionKind::Unknown: break;
    }
    return u"要求（评分的依据）";
}

}  // namespace

QuestionEditor::QuestionEditor(wxWindow* parent, BankEditing& editing, exchange::Question question)
    : wxDialog(parent, wxID_ANY, ui::ToWx(question.rec_no.empty() ? u"新建试题" : u"编辑试题 " + question.rec_no),
               wxDefaultPosition, wxDefaultSize, wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      editing_(editing),
      question_(std::move(question)),
      original_(question_),
      check_later_(this) {
    if (wxImage::FindHandler(wxBITMAP_TYPE_JPEG) == nullptr) wxInitAllImageHandlers();
    auto* split = new wxSplitterWindow(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxSP_LIVE_UPDATE);
    page_ = new wxScrolledWindow(split, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxVSCROLL | wxTAB_TRAVERSAL);
    page_->SetScrollRate(0, FromDIP(ui::kWide));
    auto* box = new wxBoxSizer(wxVERTICAL);

    auto* head = new wxBoxSizer(wxHORIZONTAL);
    const auto field = [&](std::u16string_view caption, wxWindow* control) {
        head->Add(Caption(page_, caption), 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kTiny));
        head->Add(control, control->IsKindOf(wxCLASSINFO(wxTextCtrl)) ? 1 : 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT,
                  FromDIP(ui::kGap));
        SetSpokenName(*control, caption);
    };
    CboKind = new wxChoice(page_, wxID_ANY);
    for (const QuestionKindInfo& kind : QuestionKinds()) CboKind->Append(ui::ToWx(kind.name));
    CboKind->SetSelection(static_cast<int>(question_.kind));
    CboKind->Enable(question_.rec_no.empty());  // a number says which table the question is in
    field(u"题型", CboKind);
    CboDifficulty = new wxChoice(page_, wxID_ANY);
    for (const char16_t* word : {u"（未定）", u"易", u"中", u"难"}) CboDifficulty->Append(ui::ToWx(word));
    CboDifficulty->SetSelection(std::clamp(question_.difficulty, 0, 3));
    field(u"难度", CboDifficulty);
    TxtCategory = new wxTextCtrl(page_, wxID_ANY, ui::ToWx(question_.category));
    field(u"分类", TxtCategory);
    box->Add(head, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kMargin));

    BuildTools(box);
    box->Add(Caption(page_, u"题干（填空题的空写作 ____ 或【1】【2】…）"), 0, wxBOTTOM, FromDIP(ui::kTiny));
    TxtStem = RichEditor::InFrame(page_, kStemSize);
    SetSpokenName(*TxtStem, u"题干");
    TxtStem->SetRich(question_.stem);
    box->Add(TxtStem->Frame(), 3, wxEXPAND | wxBOTTOM, FromDIP(ui::kMargin));
    answer_ = new wxBoxSizer(wxVERTICAL);
    box->Add(answer_, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kMargin));
    box->Add(Caption(page_, u"解析"), 0, wxBOTTOM, FromDIP(ui::kTiny));
    TxtAnalysis = RichEditor::InFrame(page_, kAnalysisSize);
    SetSpokenName(*TxtAnalysis, u"解析");
    TxtAnalysis->SetRich(question_.analysis);
    box->Add(TxtAnalysis->Frame(), 1, wxEXPAND);
    auto* margin = new wxBoxSizer(wxVERTICAL);
    margin->Add(box, 1, wxEXPAND | wxALL, FromDIP(ui::kMargin));
    page_->SetSizer(margin);

    auto* right = new wxPanel(split);
    auto* beside = new wxBoxSizer(wxVERTICAL);
    beside->Add(MakeLabel(right, u"考生看到的样子", TextSize::Body, true), 0, wxALL, FromDIP(ui::kMargin));
    Preview = new QuestionView(right);
    beside->Add(Preview, 1, wxEXPAND | wxLEFT | wxRIGHT, FromDIP(ui::kMargin));
    right->SetSizer(beside);
    split->SetMinimumPaneSize(FromDIP(280));
    split->SetSashGravity(0.5);

    auto* all = new wxBoxSizer(wxVERTICAL);
    all->Add(split, 1, wxEXPAND);
    auto* foot = new wxBoxSizer(wxHORIZONTAL);
    LblCheck = MakeLabel(this, u"");
    foot->Add(LblCheck, 1, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kGap));
    BtnSave = new wxButton(this, wxID_SAVE, ui::ToWx(u"保存(&S)"));
    foot->Add(BtnSave, 0, wxRIGHT, FromDIP(ui::kGap));
    foot->Add(new wxButton(this, wxID_CANCEL, ui::ToWx(u"取消(&C)")));
    all->Add(foot, 0, wxEXPAND | wxALL, FromDIP(ui::kMargin));
    SetSizer(all);
    SetSize(FromDIP(kFirstSize));
    split->SplitVertically(page_, right, FromDIP(kFirstSize.x) / 2);
    CentreOnParent();

    BuildAnswer();
    const auto later = [this](wxEvent& event) {
        event.Skip();
        check_later_.StartOnce(kCheckDelay);
    };
    Bind(wxEVT_TEXT, later);
    Bind(wxEVT_CHECKBOX, later);
    Bind(wxEVT_RADIOBUTTON, later);
    Bind(wxEVT_TIMER, [this](wxTimerEvent&) { Check(); });
    CboKind->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) {
        question_ = Written();
        question_.kind = static_cast<QuestionKind>(CboKind->GetSelection());
        BuildAnswer();
    });
    BtnSave->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Save(); });
    Bind(
        wxEVT_BUTTON, [this](wxCommandEvent&) { Close(); }, wxID_CANCEL);
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent&) {
        if (IsChanged() &&
            !Confirm(this, u"试题有改动，还没有保存。\n要放弃这些改动吗？", kTitle, u"放弃", u"继续编辑"))
            return;
        EndModal(wxID_CANCEL);
    });
    Check();
    TxtStem->SetFocus();
}

wxStaticText* QuestionEditor::Caption(wxWindow* parent, std::u16string_view text) {
    return new wxStaticText(parent, wxID_ANY, ui::ToWx(text));
}

void QuestionEditor::BuildTools(wxSizer* box) {
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    const auto add = [&](std::u16string_view text, std::u16string_view tip, auto action) {
        auto* button = new wxButton(page_, wxID_ANY, ui::ToWx(text), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
        ui::FitToCaption(*button, ui::kGap);
        button->SetToolTip(ui::ToWx(tip));
        SetSpokenName(*button, tip);
        button->Bind(wxEVT_BUTTON, [this, action](wxCommandEvent&) {
            RichEditor* editor = FocusedEditor();
            action(*editor);
            editor->SetFocus();
            check_later_.StartOnce(kCheckDelay);
        });
        row->Add(button, 0, wxRIGHT, FromDIP(ui::kTiny));
    };
    add(u"粗", u"粗体（Ctrl+B）", [](RichEditor& editor) { editor.ApplyBoldToSelection(); });
    add(u"斜", u"斜体（Ctrl+I）", [](RichEditor& editor) { editor.ApplyItalicToSelection(); });
    add(u"下划线", u"下划线（Ctrl+U）", [](RichEditor& editor) { editor.ApplyUnderlineToSelection(); });
    add(u"x²", u"上标", [](RichEditor& editor) { editor.ToggleScript(true); });
    add(u"x₂", u"下标", [](RichEditor& editor) { editor.ToggleScript(false); });
    add(u"程序", u"程序的字体", [](RichEditor& editor) { editor.ToggleProgram(); });
    add(u"列表", u"项目符号", [](RichEditor& editor) { editor.ToggleBullets(); });
    add(u"图片…", u"插入图片", [this](RichEditor& editor) {
        wxFileDialog dialog(this, ui::ToWx(u"插入图片"), wxString(), wxString(),
                            ui::ToWx(u"图片 (*.png;*.jpg;*.bmp)|*.png;*.jpg;*.jpeg;*.bmp"),
                            wxFD_OPEN | wxFD_FILE_MUST_EXIST);
        if (dialog.ShowModal() != wxID_OK) return;
        if (!editor.InsertPicture(dialog.GetPath())) {
            ui::Inform(this, u"这个文件不是完整的 PNG、JPEG 或 BMP 图片。", kTitle);
        }
    });
    box->Add(row, 0, wxBOTTOM, FromDIP(ui::kGap));
}

QuestionKind QuestionEditor::KindNow() const {
    return question_.kind;
}

void QuestionEditor::BuildAnswer() {
    const wxWindowUpdateLocker locker(this);
    answer_->Clear(true);
    TxtOptions.clear();
    ChkRight.clear();
    focused_ = nullptr;
    BtnMoreOptions = nullptr;
    OptTrue = OptFalse = nullptr;
    TxtAnswer = TxtKeywords = nullptr;
    answer_->Add(Caption(page_, CaptionOfAnswer(KindNow())), 0, wxBOTTOM, FromDIP(ui::kTiny));
    const auto text = [&](std::u16string_view name, std::u16string_view content, int height) {
        auto* control = new wxTextCtrl(page_, wxID_ANY, ui::ToWx(content), wxDefaultPosition,
                                       FromDIP(wxSize(320, height)), wxTE_MULTILINE);
        SetInnerMargin(*control);
        SetSpokenName(*control, name);
        answer_->Add(control, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kGap));
        return control;
    };
    switch (KindNow()) {
        case QuestionKind::Single:
        case QuestionKind::Multiple:
            for (const exchange::Option& option : question_.options) AddOption(option);
            while (TxtOptions.size() < kUsualOptions && question_.rec_no.empty()) AddOption({});
            BtnMoreOptions = new wxButton(page_, wxID_ANY, ui::ToWx(u"增加一个选项(&A)"));
            BtnMoreOptions->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
                if (TxtOptions.size() >= exchange::kMostOptions) return;
                question_ = Written();
                question_.options.push_back({});
                BuildAnswer();
                TxtOptions.back()->SetFocus();
            });
            answer_->Add(BtnMoreOptions);
            break;
        case QuestionKind::YesNo: {
            auto* row = new wxBoxSizer(wxHORIZONTAL);
            OptTrue = new wxRadioButton(page_, wxID_ANY, ui::ToWx(u"对"), wxDefaultPosition, wxDefaultSize, wxRB_GROUP);
            OptFalse = new wxRadioButton(page_, wxID_ANY, ui::ToWx(u"错"));
            (question_.is_true ? OptTrue : OptFalse)->SetValue(true);
            row->Add(OptTrue, 0, wxRIGHT, FromDIP(ui::kWide));
            row->Add(OptFalse);
            answer_->Add(row);
            break;
        }
        case QuestionKind::Fill: {
            std::u16string lines = exchange::StoredAnswer(question_);
            std::replace(lines.begin(), lines.end(), u'@', u'\n');
            TxtAnswer = text(u"答案", lines, 80);
            break;
        }
        case QuestionKind::Operation: {
            TxtAnswer = text(u"要求", question_.requirements, 90);
            answer_->Add(Caption(page_, u"评分要点：每行一个，答案中有它就得分"), 0, wxBOTTOM, FromDIP(ui::kTiny));
            std::u16string lines = question_.keywords;
            std::replace(lines.begin(), lines.end(), u'#', u'\n');
            TxtKeywords = text(u"评分要点", lines, 60);
            break;
        }
        case QuestionKind::Unknown: break;
    }
    // Controls made later stand later in the order of the Tab key.
    wxWindow* last = page_->GetChildren().GetLast()->GetData();
    if (last != TxtAnalysis->Frame()) TxtAnalysis->Frame()->MoveAfterInTabOrder(last);
    page_->Layout();
    page_->FitInside();
    Check();
}

void QuestionEditor::AddOption(const exchange::Option& option) {
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    const std::u16string letter(1, exchange::LetterOf(TxtOptions.size()));
    auto* right = new wxCheckBox(page_, wxID_ANY, ui::ToWx(letter));
    right->SetValue(option.right);
    SetSpokenName(*right, u"选项 " + letter + u" 正确", Role::CheckBox);
    // One of a single choice takes the mark from the others.
    right->Bind(wxEVT_CHECKBOX, [this, right](wxCommandEvent& event) {
        event.Skip();
        if (KindNow() != QuestionKind::Single || !right->GetValue()) return;
        for (wxCheckBox* other : ChkRight) {
            if (other != right) other->SetValue(false);
        }
    });
    auto* text = RichEditor::InFrame(page_, kOptionSize);
    SetSpokenName(*text, u"选项 " + letter);
    text->SetRich(option.text);
    row->Add(right, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kGap));
    row->Add(text->Frame(), 1, wxEXPAND);
    answer_->Add(row, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kTiny));
    ChkRight.push_back(right);
    TxtOptions.push_back(text);
}

// The buttons work on the box in which the caret was last.
RichEditor* QuestionEditor::FocusedEditor() {
    std::vector<RichEditor*> editors = TxtOptions;
    editors.push_back(TxtAnalysis);
    for (RichEditor* editor : editors) {
        if (editor->HasFocus() || editor->HasSelection()) return editor;
    }
    return TxtStem;
}

exchange::Question QuestionEditor::Written() {
    exchange::Question written = question_;
    written.stem = TxtStem->GetRich();
    written.analysis = TxtAnalysis->GetRich();
    written.difficulty = CboDifficulty->GetSelection();
    written.category = exchange::Trimmed(ui::FromWx(TxtCategory->GetValue()));
    const auto lines = [](const wxTextCtrl& control) {
        std::vector<std::u16string> out;
        for (const std::u16string& line : Split(ui::FromWx(control.GetValue()), u'\n')) {
            if (!exchange::Trimmed(line).empty()) out.emplace_back(exchange::Trimmed(line));
        }
        return out;
    };
    switch (KindNow()) {
        case QuestionKind::Single:
        case QuestionKind::Multiple:
            written.options.clear();
            for (std::size_t i = 0; i < TxtOptions.size(); ++i) {
                written.options.push_back({TxtOptions[i]->GetRich(), ChkRight[i]->GetValue()});
            }
            while (!written.options.empty() && exchange::IsEmpty(written.options.back().text) &&
                   !written.options.back().right) {
                written.options.pop_back();
            }
            break;
        case QuestionKind::YesNo: written.is_true = OptTrue->GetValue(); break;
        case QuestionKind::Fill:
            written.blanks.clear();
            for (const std::u16string& line : lines(*TxtAnswer))
                written.blanks.push_back(Split(exchange::Typed(line), u'#'));
            break;
        case QuestionKind::Operation: {
            written.requirements = exchange::Trimmed(ui::FromWx(TxtAnswer->GetValue()));
            written.keywords.clear();
            for (const std::u16string& line : lines(*TxtKeywords)) {
                written.keywords.append(written.keywords.empty() ? u"" : u"#").append(line);
            }
            break;
        }
        case QuestionKind::Unknown: break;
    }
    return written;
}

// Another kind alone is no work that could be lost.
bool QuestionEditor::IsChanged() {
    const exchange::Question written = Written();
    exchange::Question original = original_;
    original.kind = written.kind;
    return !exchange::Differences(original, written).empty() ||
           (original_.kind != written.kind && !exchange::IsEmpty(written.stem));
}

// Shows the question as it now is, and what is wrong with it.
void QuestionEditor::Check() {
    const exchange::Question written = Written();
    Preview->Ask(Shown(written), u"", 100);
    const std::u16string problem = editing_.ProblemOf(written);
    const std::u16string warning = problem.empty() ? exchange::WarningOf(written) : problem;
    LblCheck->SetLabelText(ui::ToWx(warning.empty() ? u"可以保存。" : warning));
    LblCheck->SetToolTip(LblCheck->GetLabelText());
    LblCheck->SetForegroundColour(Colour(!problem.empty() ? Tint::Bad : warning.empty() ? Tint::Good : Tint::Caution));
    BtnSave->Enable(problem.empty());
}

void QuestionEditor::Save() {
    try {
        exchange::Question written = Written();
        written.rec_no = editing_.Save(written);
        question_ = std::move(written);
        EndModal(wxID_SAVE);
    } catch (const AutomationError& error) {
        ui::Inform(this, error.Description(), kTitle);
    }
}

}  // namespace qmtrain::host
