#include "review/frm_view_paper.h"

#include <algorithm>
#include <cmath>

#include <wx/button.h>
#include <wx/gdicmn.h>
#include <wx/menu.h>
#include <wx/sizer.h>

#include "core/trap.h"
#include "records/train_result.h"
#include "report/printing.h"
#include "review/paper_layout.h"
#include "review/training_reports.h"
#include "ui/layout.h"
#include "ui/splitter_limits.h"
#include "ui/twips.h"
#include "ui/wx_text.h"

namespace qmtrain::review {
namespace {

// Pixels of an unscaled screen.
const wxSize kFirstSize(1160, 660);
const wxSize kLeastPane(40, 40);
constexpr int kCellMargins = 12;

// Four narrow columns and five wide ones: each has room for that many of the character "#".
constexpr std::size_t kColumnSizes[kPaperColumns] = {5, 5, 5, 5, 9, 9, 9, 9, 8};

// A pane with a view that fills it, below a caption if there is one.
void Fill(wxPanel& pane, std::initializer_list<wxWindow*> parts) {
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    for (wxWindow* part : parts) {
        const bool view = dynamic_cast<ui::RichTextView*>(part) != nullptr;
        if (view) part->SetMinSize(pane.FromDIP(kLeastPane));
        sizer->Add(part, view ? 1 : 0, wxEXPAND | (view ? 0 : wxTOP | wxBOTTOM), pane.FromDIP(ui::kNarrow) / 2);
    }
    pane.SetSizer(sizer);
}

int Share(double share, int extent) {
    return static_cast<int>(std::lround(share * extent));
}

}  // namespace

FrmViewPaper::FrmViewPaper(PaperSource source)
    : wxDialog(nullptr, wxID_ANY, ui::ToWx(u"查看试卷"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      source_(std::move(source)) {
    BuildGrid();
    BuildPanes();
    SetClientSize(FromDIP(kFirstSize));
    wxSize screen = wxGetClientDisplayRect().GetSize();
    screen.DecTo(GetSize());
    SetSize(screen);
    BindEvents();
    SetEscapeId(wxID_CANCEL);
    CentreOnScreen();
}

void FrmViewPaper::BuildGrid() {
    FlexGridQuestions = new ui::ListView(this, {});
    FlexGridQuestions->SetEmptyText(u"这次练习没有试题记录。");
    for (std::size_t i = kNumber; i < kPaperColumns; ++i) {
        const int width = FlexGridQuestions->GetTextExtent(wxString('#', kColumnSizes[i])).x + FromDIP(kCellMargins);
        FlexGridQuestions->AddColumn(kPaperHeaders[i], width, i);
    }
}

void FrmViewPaper::BuildPanes() {
    using Direction = ui::SplitterBar::Direction;
    PicRight = new wxPanel(this);
    PicLeftRight = new ui::SplitterBar(this, Direction::LeftRight);
    PicTitle = new wxPanel(PicRight);
    RtfTitle = new ui::RichTextView(PicTitle);
    Fill(*PicTitle, {ui::BoldCaption(PicTitle, u"试题："), RtfTitle});
    PicChoice = new wxPanel(PicRight);
    LblChoice = ui::BoldCaption(PicChoice, u"选择项：");
    RtfChoice = new ui::RichTextView(PicChoice);
    Fill(*PicChoice, {LblChoice, RtfChoice});
    PicChoice->Hide();
    PicAnswer = new wxPanel(PicRight);
    PicTopBottom = new ui::SplitterBar(PicRight, Direction::TopBottom);
    LblAnswer = ui::BoldCaption(PicAnswer, u"答案：");
    RtfAnswer = new ui::RichTextView(PicAnswer);
    LblError = ui::BoldCaption(PicAnswer, u"错误信息：");
    RtfError = new ui::RichTextView(PicAnswer);
    Fill(*PicAnswer, {LblAnswer, RtfAnswer, LblError, RtfError});
}

void FrmViewPaper::BindEvents() {
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        Form_Resize();
    });
    PicRight->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        LayOutQuestion();
    });
    FlexGridQuestions->Bind(wxEVT_LIST_ITEM_SELECTED, [this](wxListEvent&) { FlexGridQuestions_SelChange(); });
    FlexGridQuestions->Bind(wxEVT_CONTEXT_MENU, [this](wxContextMenuEvent&) { ShowArrangementMenu(); });
    PicLeftRight->OnDrag = [this](int edge) { DragLeftRight(edge); };
    PicTopBottom->OnDrag = [this](int edge) { DragTopBottom(edge); };
    PicLeftRight->OnDrop = [this] { LayOut(); };
    PicTopBottom->OnDrop = [this] { LayOutQuestion(); };
    Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() == WXK_ESCAPE) {
            EndModal(wxID_CANCEL);
        } else {
            event.Skip();
        }
    });
}

int FrmViewPaper::ShowModal() {
    FillGrid();
    FlexGridQuestions->SetFocus();
    return wxDialog::ShowModal();
}

void FrmViewPaper::FillGrid() {
    rows_.Clear();
    Trapped(u"FrmViewPaper.Form_Load", [this] {
        TrainResult results;
        results.ClientPath(source_.client_path);
        const auto rows = results.GetRecordset(source_.train_id);
        for (std::int32_t number = 1; rows && !rows->Eof(); rows->MoveNext()) {
            rows_.Add(ReadPaperRow(*rows, number++));
        }
    });
    FlexGridQuestions->Show(rows_);
    if (rows_.Size() > 0) {
        FlexGridQuestions->SelectRow(0);  // shows the question
    } else {
        Show(QuestionPanes());
    }
}

void FrmViewPaper::FlexGridQuestions_SelChange() {
    const ui::ListRow* row = FlexGridQuestions->SelectedRow();
    Show(row != nullptr ? ShowQuestionItem(source_, *row) : QuestionPanes());
}

void FrmViewPaper::Show(const QuestionPanes& panes) {
    RtfTitle->SetText(panes.title);
    RtfChoice->SetText(panes.options.value_or(document::RichText()));
    RtfAnswer->SetText(panes.answer);
    RtfError->SetText(panes.error);
    has_options_ = panes.options.has_value();
    LayOutQuestion();
}

// Layout

void FrmViewPaper::Form_Resize() {
    const FormSize now{ui::ToTwips(*this, GetSize().x), ui::ToTwips(*this, GetSize().y)};
    const FormSize allowed = AllowedSize(now);
    if (allowed != now && !IsMaximized()) SetSize(ui::ToPixels(*this, allowed.width), GetSize().y);
    LayOut();
}

void FrmViewPaper::LayOut() {
    const int margin = FromDIP(ui::kMargin);
    const wxRect area = wxRect(GetClientSize()).Deflate(margin);
    const int bar = FromDIP(ui::SplitterBar::kThickness);
    PicLeftRight->SetDirection(below_ ? ui::SplitterBar::Direction::TopBottom : ui::SplitterBar::Direction::LeftRight);
    if (below_) {
        const int edge = Share(left_right_, area.height);
        FlexGridQuestions->SetSize(area.x, area.y, area.width, edge);
        PicLeftRight->SetSize(area.x, area.y + edge, area.width, bar);
        PicRight->SetSize(area.x, area.y + edge + bar, area.width, std::max(1, area.height - edge - bar));
    } else {
        const int edge = Share(left_right_, area.width);
        FlexGridQuestions->SetSize(area.x, area.y, edge, area.height);
        PicLeftRight->SetSize(area.x + edge, area.y, bar, area.height);
        PicRight->SetSize(area.x + edge + bar, area.y, std::max(1, area.width - edge - bar), area.height);
    }
    LayOutQuestion();
}

// A question without options gives their room to its title.
void FrmViewPaper::LayOutQuestion() {
    const wxSize area = PicRight->GetClientSize();
    const int bar = FromDIP(ui::SplitterBar::kThickness);
    const int edge = Share(top_bottom_, area.y);
    const int title = has_options_ ? edge / 2 : edge;
    PicChoice->Show(has_options_);
    PicTitle->SetSize(0, 0, area.x, title);
    if (has_options_) PicChoice->SetSize(0, title, area.x, edge - title);
    PicTopBottom->SetSize(0, edge, area.x, bar);
    PicAnswer->SetSize(0, edge + bar, area.x, std::max(1, area.y - edge - bar));
}

void FrmViewPaper::DragLeftRight(int edge) {
    const int margin = ui::ToTwips(*this, FromDIP(ui::kMargin));
    const wxSize area = GetClientSize() - 2 * FromDIP(wxSize(ui::kMargin, ui::kMargin));
    const int extent = ui::ToTwips(*this, below_ ? area.y : area.x);
    if (!ui::AcceptsEdge(edge - margin, extent)) return;
    left_right_ = static_cast<double>(edge - margin) / extent;
    const int place = FromDIP(ui::kMargin) + Share(left_right_, below_ ? area.y : area.x);
    PicLeftRight->Move(below_ ? wxPoint(FromDIP(ui::kMargin), place) : wxPoint(place, FromDIP(ui::kMargin)));
}

void FrmViewPaper::DragTopBottom(int edge) {
    const int extent = ui::ToTwips(*this, PicRight->GetClientSize().y);
    if (!ui::AcceptsEdge(edge, extent)) return;
    top_bottom_ = static_cast<double>(edge) / extent;
    PicTopBottom->Move(0, Share(top_bottom_, PicRight->GetClientSize().y));
}

void FrmViewPaper::mnuViewArr_Click() {
    below_ = !below_;
    LayOut();
}

void FrmViewPaper::ShowArrangementMenu() {
    wxMenu menu;
    auto* arrangement = new wxMenu;
    const int beside = arrangement->AppendRadioItem(wxID_ANY, ui::ToWx(u"试题在右边"))->GetId();
    const int below = arrangement->AppendRadioItem(wxID_ANY, ui::ToWx(u"试题在下边"))->GetId();
    arrangement->Check(below_ ? below : beside, true);
    menu.AppendSubMenu(arrangement, ui::ToWx(u"排列方式"));
    menu.AppendSeparator();
    report::AppendExportItems(menu);
    const int chosen = GetPopupMenuSelectionFromUser(menu);
    if (report::RunExportItem(this, chosen, [this] { return PaperReport(source_); })) return;
    if ((chosen == beside && below_) || (chosen == below && !below_)) mnuViewArr_Click();
}

}  // namespace qmtrain::review
