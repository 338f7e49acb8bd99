#include "review/frm_train.h"

#include <algorithm>
#include <optional>

#include <wx/app.h>
#include <wx/settings.h>
#include <wx/sizer.h>

#include "core/trap.h"
#include "records/train_info.h"
#include "report/printing.h"
#include "review/frm_view_paper.h"
#include "review/training_reports.h"
#include "review/training_row.h"
#include "ui/client_problem.h"
#include "ui/layout.h"
#include "ui/rounded_corners.h"
#include "ui/twips.h"
#include "ui/wx_text.h"

namespace qmtrain::review {
namespace {

// Pixels of an unscaled screen.
const ui::WindowSizes kSizes{{640, 420}, {760, 520}};

constexpr int kColumnSlack = 200;  // twips beside a header's text

struct ColumnStyle {
    std::u16string_view widest;  // the text that must fit, where that is not the header
    int slack;                   // twips
    wxListColumnFormat format;
};

// Their smallest widths, and the proportions in which they share a wider list.
constexpr ColumnStyle kColumns[kTrainingHeaders.size()] = {
    {u"05-04-12 12:00", 0, wxLIST_FORMAT_LEFT}, {u"", 0, wxLIST_FORMAT_LEFT},
    {u"", kColumnSlack, wxLIST_FORMAT_LEFT},    {u"", kColumnSlack, wxLIST_FORMAT_RIGHT},
    {u"", kColumnSlack, wxLIST_FORMAT_RIGHT},   {u"", kColumnSlack, wxLIST_FORMAT_RIGHT},
};

const std::vector<ui::Icon> kIcons = {ui::Icon::Pass, ui::Icon::Fail, ui::Icon::Ascending, ui::Icon::Descending};
constexpr int kHeaderIcons = 2;  // the header's icons follow those of the rows

// The rows of a summary, one after the other; the first error when not all could be read.
template <class Body>
std::optional<AutomationError> ForEachTraining(std::u16string_view client_path, std::u16string_view query, Body body) {
    const TrapWatch watch;
    Trapped(u"FrmTrain.Form_Load", [&] {
        TrainInfo train;
        train.ClientPath(client_path);
        std::u16string problem;
        if (!train.Init(problem)) return;
        const auto rows = train.GetRecordset(query);
        if (!rows) return;
        const TrainingReader reader(*rows);
        for (; !rows->Eof(); rows->MoveNext()) body(reader.Read());
    });
    return watch.First();
}

}  // namespace

FrmTrain::FrmTrain(PracticeSource source)
    : wxDialog(nullptr, wxID_ANY, ui::ToWx(u"练习历史"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      source_(std::move(source)) {
    Piclst = new TabStrip(this);
    BuildPanels();
    const int margin = FromDIP(ui::kMargin);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(Piclst, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, margin);
    sizer->Add(PicLv, 1, wxEXPAND | wxLEFT | wxRIGHT, margin);
    sizer->Add(PicChart, 1, wxEXPAND | wxLEFT | wxRIGHT, margin);
    BuildButtons(*sizer);
    PicChart->Hide();
    SetSizer(sizer);
    ui::SetSizes(*this, kSizes);
    BindEvents();
    CentreOnScreen();
}

void FrmTrain::BuildPanels() {
    PicLv = new wxPanel(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME);
    LvTrainInfo = new ui::ListView(PicLv, kIcons);
    LvTrainInfo->SetEmptyText(u"还没有练习记录。\n交卷后，每次练习的成绩会显示在这里。");
    auto* list_sizer = new wxBoxSizer(wxVERTICAL);
    list_sizer->Add(LvTrainInfo, 1, wxEXPAND);
    PicLv->SetSizer(list_sizer);
    ui::RoundCorners(*PicLv);
    BuildColumns();

    PicChart = new wxPanel(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME);
    PicChart->SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW));
    ui::RoundCorners(*PicChart);
    MSChart = new ScoreChart(PicChart);
    OptChartType[0] =
        new wxRadioButton(PicChart, wxID_ANY, ui::ToWx(u"柱状图"), wxDefaultPosition, wxDefaultSize, wxRB_GROUP);
    OptChartType[1] = new wxRadioButton(PicChart, wxID_ANY, ui::ToWx(u"折线图"));
    ChkHG = new wxCheckBox(PicChart, wxID_ANY, ui::ToWx(u"回归线"));
    ChkHG->Disable();
    auto* options = new wxBoxSizer(wxHORIZONTAL);
    const int gap = FromDIP(ui::kGap);
    options->Add(OptChartType[0], 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, 2 * gap);
    options->Add(OptChartType[1], 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, 2 * gap);
    options->Add(ChkHG, 0, wxALIGN_CENTRE_VERTICAL);
    auto* chart_sizer = new wxBoxSizer(wxVERTICAL);
    chart_sizer->Add(options, 0, wxALL, gap);
    chart_sizer->Add(MSChart, 1, wxEXPAND);
    PicChart->SetSizer(chart_sizer);
}

void FrmTrain::BuildColumns() {
    for (std::size_t i = 0; i < kTrainingHeaders.size(); ++i) {
        const ColumnStyle& column = kColumns[i];
        const std::u16string_view widest = column.widest.empty() ? kTrainingHeaders[i] : column.widest;
        const int width = LvTrainInfo->GetTextExtent(ui::ToWx(widest)).x + ui::ToPixels(*this, column.slack);
        LvTrainInfo->AddColumn(kTrainingHeaders[i], width, i, column.format);
    }
}

void FrmTrain::BuildButtons(wxSizer& sizer) {
    BtnView = new wxButton(this, wxID_ANY, ui::ToWx(u"查看试卷"));
    BtnReDo = new wxButton(this, wxID_ANY, ui::ToWx(u"重做试卷"));
    auto* close = new wxButton(this, wxID_CANCEL, ui::ToWx(u"关闭"));
    BtnView->Disable();
    BtnReDo->Disable();
    sizer.Add(ui::ControlRow(*this, {BtnView, BtnReDo}, {close}), 0, wxEXPAND | wxALL, FromDIP(ui::kMargin));
}

void FrmTrain::BindEvents() {
    Piclst->OnSwitch = [this](int index) { Piclst_Click(index); };
    LvTrainInfo->Bind(wxEVT_LIST_COL_CLICK,
                      [this](wxListEvent& event) { LvTrainInfo_ColumnClick(event.GetColumn() + 1); });
    LvTrainInfo->Bind(wxEVT_LIST_ITEM_SELECTED, [this](wxListEvent&) {
        EnableButtons();
        MarkSelected();
    });
    MSChart->OnChoose = [this](std::size_t place) { SelectTraining(MSChart->Points()[place].train_id); };
    MSChart->OnOpen = [this] { BtnView_Click(); };
    LvTrainInfo->Bind(wxEVT_LIST_ITEM_ACTIVATED, [this](wxListEvent&) { BtnView_Click(); });
    for (int i = 0; i < 2; ++i) {
        OptChartType[i]->Bind(wxEVT_RADIOBUTTON, [this, i](wxCommandEvent&) { OptChartType_Click(i); });
    }
    LvTrainInfo->Bind(wxEVT_CONTEXT_MENU, [this](wxContextMenuEvent&) {
        report::ShowExportMenu(
            this, [this] { return HistoryReport(source_.client_path, source_.user_id, source_.subject_code); });
    });
    ChkHG->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) { ChkHG_Click(); });
    BtnView->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { BtnView_Click(); });
    BtnReDo->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { BtnReDo_Click(); });
}

int FrmTrain::ShowModal() {
    FillList();
    LvTrainInfo->SetFocus();
    return wxDialog::ShowModal();
}

// List and chart say so when there is nothing because the database cannot be read.
void FrmTrain::FillList() {
    trainings_.clear();
    chart_filled_ = false;
    const auto problem = ForEachTraining(
        source_.client_path, TrainingsQuery(source_.user_id, source_.subject_code, TrainingOrder::NewestFirst),
        [this](const Training& training) { trainings_.push_back(training); });
    rows_.SetRows(trainings_.size(), [this](std::size_t row) { return ToListRow(trainings_[row]); });
    LvTrainInfo->Show(rows_);
    if (rows_.Size() == 0) {
        if (problem) {
            LvTrainInfo->SetEmptyText(ui::ClientProblem(*problem));
            MSChart->SetEmptyText(ui::ClientProblem(*problem));
        }
        return;
    }
    LvTrainInfo->SelectRow(0);
    EnableButtons();
}

// The chart shows the same trainings oldest first, so the database is not read again. Many never look at it: their list
// need not wait for its texts.
void FrmTrain::FillChart() {
    std::vector<ScorePoint> points;
    points.reserve(trainings_.size());
    for (const Training& training : OldestFirst(trainings_)) {
        points.push_back(ToScorePoint(training.id, training.start, training.paper_score, training.got_score));
    }
    chart_options_ = ChartOptions(points.size());
    MSChart->SetPoints(std::move(points));
    chart_filled_ = true;
    MarkSelected();
}

void FrmTrain::SelectTraining(std::int32_t train_id) {
    if (const auto row = rows_.Find(KeyOf(train_id))) LvTrainInfo->SelectRow(static_cast<long>(*row));
}

// The chart marks what the list has selected.
void FrmTrain::MarkSelected() {
    const ui::ListRow* row = LvTrainInfo->SelectedRow();
    const std::int32_t train_id = row != nullptr ? TrainingOf(row->key) : -1;
    const std::vector<ScorePoint>& points = MSChart->Points();
    const auto found =
        std::find_if(points.begin(), points.end(), [&](const ScorePoint& point) { return point.train_id == train_id; });
    const bool there = train_id != -1 && found != points.end();
    MSChart->Mark(there ? std::optional(static_cast<std::size_t>(found - points.begin())) : std::nullopt);
}

void FrmTrain::EnableButtons() {
    BtnReDo->Enable();
    BtnView->Enable();
}

void FrmTrain::Piclst_Click(int index) {
    if (index == kChartTab && !chart_filled_) FillChart();
    PicLv->Show(index == kListTab);
    PicChart->Show(index == kChartTab);
    Layout();
}

void FrmTrain::LvTrainInfo_ColumnClick(int header) {
    if (header < 1) return;  // beside the headers
    sort_.Click(header);
    for (int i = 1; i <= LvTrainInfo->GetColumnCount(); ++i) {
        const int icon = sort_.Icon(i);
        LvTrainInfo->SetHeaderIcon(i - 1, icon == 0 ? 0 : icon + kHeaderIcons);
    }
    LvTrainInfo->SortBy(static_cast<std::size_t>(sort_.Key()), sort_.Ascending());
}

void FrmTrain::OptChartType_Click(int index) {
    chart_options_.SelectType(index);
    ApplyChartOptions();
}

void FrmTrain::ChkHG_Click() {
    chart_options_.CheckRegression(ChkHG->GetValue());
    ApplyChartOptions();
}

void FrmTrain::ApplyChartOptions() {
    ChkHG->Enable(chart_options_.RegressionEnabled());
    MSChart->SetOptions(chart_options_.Type(), chart_options_.RegressionShown());
}

void FrmTrain::BtnView_Click() {
    const ui::ListRow* row = LvTrainInfo->SelectedRow();
    const std::int32_t train_id = row != nullptr ? TrainingOf(row->key) : -1;
    if (train_id == -1) return;
    FrmViewPaper window({source_, train_id});
    window.ShowModal();
}

void FrmTrain::BtnReDo_Click() {
    if (!IsModal()) return;  // a second click, still under way when the first one closed the window
    const ui::ListRow* row = LvTrainInfo->SelectedRow();
    const std::int32_t train_id = row != nullptr ? TrainingOf(row->key) : -1;
    if (train_id == -1) return;
    const bool written = row->cells[kKindColumn] == kWritten;
    EndModal(wxID_OK);
    wxYield();
    if (RdDoQuestionPaper) RdDoQuestionPaper(train_id, written);
    wxYield();
}

}  // namespace qmtrain::review
