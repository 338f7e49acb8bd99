// The controls of the notes manager, and what they call.

#include <algorithm>

#include <wx/settings.h>
#include <wx/sizer.h>

#include "core/text.h"
#include "notes/frm_notes.h"
#include "notes/notes_report.h"
#include "report/printing.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::notes {
namespace {

// Pixels of an unscaled screen.
const wxSize kFirstSize(940, 640);
const wxSize kLeastSize(600, 400);  // with its frame: 9000 by 6000 twips

constexpr unsigned long kLongestName = 255;  // that the table of notes holds

struct Tool {
    const char16_t* key;
    const char16_t* caption;
    const char16_t* tip;
    ui::Icon icon;
};

constexpr Tool kTools[] = {
    {u"Modify", u"修改", u"修改笔记的名称和内容", ui::Icon::Edit},
    {u"Save", u"保存", u"保存修改", ui::Icon::Save},
    {u"Delete", u"删除", u"删除选中的笔记", ui::Icon::Delete},
    {u"PRE", u"上一条", u"“上一条”没有对应的操作，请在左边的目录中选择笔记", ui::Icon::Previous},
    {u"NEXT", u"下一条", u"“下一条”没有对应的操作，请在左边的目录中选择笔记", ui::Icon::Next},
};
constexpr int kFirstToolId = wxID_HIGHEST + 1;

wxStaticText* Label(wxWindow* parent, std::u16string_view text = {}) {
    return new wxStaticText(parent, wxID_ANY, ui::ToWx(text));
}

// A line of any length, cut off where there is no more room.
wxStaticText* GreyLine(wxWindow* parent) {
    auto* line = new wxStaticText(parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                                  wxST_ELLIPSIZE_END | wxST_NO_AUTORESIZE);
    line->SetForegroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
    return line;
}

}  // namespace

int FrmNotes::ToolId(std::u16string_view key) {
    const auto* tool = std::find_if(std::begin(kTools), std::end(kTools),
                                    [&](const Tool& known) { return EqualNames(known.key, key); });
    return kFirstToolId + static_cast<int>(tool - std::begin(kTools));
}

FrmNotes::FrmNotes(NotesSource source)
    : wxDialog(nullptr, wxID_ANY, ui::ToWx(u"笔记管理"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      source_(std::move(source)) {
    BuildToolbar();
    PicContent = new wxPanel(this);
    BuildLeft();
    PicRight = new wxPanel(PicContent);
    PicLeftRight = new ui::SplitterBar(PicContent, ui::SplitterBar::Direction::LeftRight);
    BuildListPane();
    BuildNotePane();
    LblFailed = GreyLine(PicRight);
    LblFailed->Hide();
    auto* right = new wxBoxSizer(wxVERTICAL);
    right->Add(PicList, 1, wxEXPAND);
    right->Add(PicPane, 1, wxEXPAND);
    right->Add(LblFailed, 0, wxEXPAND | wxTOP, FromDIP(ui::kNarrow));
    PicRight->SetSizer(right);
    PicBottom = new wxPanel(this);
    LblBottom = GreyLine(PicBottom);
    auto* bottom = new wxBoxSizer(wxHORIZONTAL);
    bottom->Add(LblBottom, 1, wxALL, FromDIP(ui::kNarrow));
    PicBottom->SetSizer(bottom);

    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(ToolbarNotes, 0, wxEXPAND);
    sizer->Add(PicContent, 1, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, FromDIP(ui::kMargin));
    sizer->Add(PicBottom, 0, wxEXPAND | wxLEFT | wxRIGHT, FromDIP(ui::kMargin));
    SetSizer(sizer);
    SetMinSize(FromDIP(kLeastSize));
    SetClientSize(FromDIP(kFirstSize));
    SetEscapeId(wxID_CANCEL);
    PicPane->Hide();
    BindEvents();
    ApplyEditing();
    CentreOnScreen();
}

void FrmNotes::BuildToolbar() {
    ToolbarNotes = new wxToolBar(this, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                 wxTB_HORIZONTAL | wxTB_HORZ_TEXT | wxTB_FLAT | wxTB_NODIVIDER);
    for (const Tool& tool : kTools) {
        ToolbarNotes->AddTool(ToolId(tool.key), ui::ToWx(tool.caption), ui::GetIcon(tool.icon, 20),
                              ui::GetIcon(tool.icon, 20, ui::IconState::Disabled), wxITEM_NORMAL, ui::ToWx(tool.tip));
    }
    ToolbarNotes->Realize();
    for (const std::u16string_view key : {u"PRE", u"NEXT"}) ToolbarNotes->EnableTool(ToolId(key), false);
}

void FrmNotes::BuildLeft() {
    PicLeft = new wxPanel(PicContent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME);
    TvNotes = new wxTreeCtrl(PicLeft, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                             wxTR_HAS_BUTTONS | wxTR_LINES_AT_ROOT | wxTR_NO_LINES | wxTR_SINGLE | wxBORDER_NONE);
    wxVector<wxBitmapBundle> icons;
    for (const ui::Icon icon : {ui::Icon::Notebook, ui::Icon::Bank, ui::Icon::Note}) icons.push_back(ui::GetIcon(icon));
    TvNotes->SetImages(icons);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(TvNotes, 1, wxEXPAND);
    PicLeft->SetSizer(sizer);
}

void FrmNotes::BuildListPane() {
    PicList = new wxPanel(PicRight, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME);
    PicList->SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW));
    LblModuleTitle = ui::BoldCaption(PicList);
    LvNotes = new ui::ListView(PicList, {ui::Icon::Bank, ui::Icon::Note});
    LblNoNote =
        new wxStaticText(PicList, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxALIGN_CENTRE_HORIZONTAL);
    LblNoNote->SetForegroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(LblModuleTitle, 0, wxEXPAND | wxALL, FromDIP(ui::kNarrow));
    sizer->Add(LvNotes, 1, wxEXPAND);
    sizer->Add(LblNoNote, 1, wxEXPAND | wxTOP, FromDIP(10 * ui::kNarrow));
    PicList->SetSizer(sizer);
}

void FrmNotes::BuildNotePane() {
    PicPane = new wxPanel(PicRight);
    PicQuestion = new wxPanel(PicPane);
    PicNote = new wxPanel(PicPane);
    PicTopBottom = new ui::SplitterBar(PicPane, ui::SplitterBar::Direction::TopBottom);
    BuildQuestion();
    BuildNote();
}

void FrmNotes::BuildQuestion() {
    LblQuestionType = Label(PicQuestion);
    BtnViewAnswer = new wxButton(PicQuestion, wxID_ANY, ui::ToWx(u"查看答案"));
    RtfQuestion = new ui::RichTextView(PicQuestion);
    auto* top = new wxBoxSizer(wxHORIZONTAL);
    top->Add(LblQuestionType, 1, wxALIGN_CENTRE_VERTICAL);
    top->Add(BtnViewAnswer, 0, wxRESERVE_SPACE_EVEN_IF_HIDDEN);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(top, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kNarrow));
    sizer->Add(RtfQuestion, 1, wxEXPAND);
    PicQuestion->SetSizer(sizer);
}

void FrmNotes::BuildNote() {
    LblNoteName = ui::BoldCaption(PicNote);
    LblNoteCreateDate = Label(PicNote);
    TxtNoteName = new wxTextCtrl(PicNote, wxID_ANY);
    TxtNoteName->SetMaxLength(kLongestName);
    LblViewTimes = Label(PicNote);
    TxtNote = new wxTextCtrl(PicNote, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                             wxTE_MULTILINE | wxBORDER_THEME);
    TxtNote->SetMargins(FromDIP(ui::kNarrow), FromDIP(ui::kNarrow));
    LblNoteName->Hide();
    auto* facts = new wxBoxSizer(wxHORIZONTAL);
    facts->Add(LblNoteCreateDate, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kNarrow));
    facts->Add(TxtNoteName, 1, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kNarrow));
    facts->AddStretchSpacer(0);
    facts->Add(LblViewTimes, 0, wxALIGN_CENTRE_VERTICAL | wxLEFT, FromDIP(ui::kNarrow));
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(LblNoteName, 0, wxEXPAND | wxTOP | wxBOTTOM, FromDIP(ui::kNarrow));
    sizer->Add(facts, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kNarrow));
    sizer->Add(TxtNote, 1, wxEXPAND);
    PicNote->SetSizer(sizer);
}

void FrmNotes::BindEvents() {
    for (const Tool& tool : kTools) {
        const std::u16string key = tool.key;
        Bind(
            wxEVT_TOOL, [this, key](wxCommandEvent&) { ToolbarNotes_ButtonClick(key); }, ToolId(key));
    }
    TvNotes->Bind(wxEVT_TREE_SEL_CHANGED, [this](wxTreeEvent& event) {
        if (!filling_ && event.GetItem().IsOk()) TvNotes_NodeClick(KeyOf(event.GetItem()));
    });
    LvNotes->Bind(wxEVT_CONTEXT_MENU, [this](wxContextMenuEvent&) {
        report::ShowExportMenu(this, [this] { return NotesReport(source_); });
    });
    LvNotes->Bind(wxEVT_LIST_ITEM_ACTIVATED, [this](wxListEvent&) { LvNotes_DblClick(); });
    BtnViewAnswer->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { BtnViewAnswer_Click(); });
    for (wxTextCtrl* text : {TxtNote, TxtNoteName}) {
        text->Bind(wxEVT_TEXT, [this](wxCommandEvent&) {
            if (editing_.Typed()) ApplyEditing();
        });
    }
    PicContent->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        LayOut();
    });
    PicPane->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        LayOutNote();
    });
    PicLeftRight->OnDrag = [this](int edge) { DragLeftRight(edge); };
    PicTopBottom->OnDrag = [this](int edge) { DragTopBottom(edge); };
    PicLeftRight->OnDrop = [this] { LayOut(); };
    PicTopBottom->OnDrop = [this] { LayOutNote(); };
    Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() == WXK_ESCAPE) {
            Close();
        } else if (event.GetKeyCode() == 'S' && event.ControlDown() && editing_.SaveEnabled()) {
            ToolbarNotes_ButtonClick(u"Save");
        } else {
            event.Skip();
        }
    });
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) {
        if (!MayClose() && event.CanVeto()) return event.Veto();
        EndModal(wxID_CANCEL);
    });
}

}  // namespace qmtrain::notes
