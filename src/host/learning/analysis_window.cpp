#include "host/learning/analysis_window.h"

#include <algorithm>
#include <cmath>

#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "host/data/people.h"
#include "host/learning/class_dialog.h"
#include "host/learning/review_schedule.h"
#include "host/papers/outcome.h"
#include "host/widgets/look.h"
#include "host/widgets/window_place.h"
#include "records/score.h"
#include "report/printing.h"
#include "review/answer_text.h"
#include "ui/layout.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kTitle = u"学习分析";
constexpr std::u16string_view kPlace = u"AnalysisWindow";
constexpr std::u16string_view kClass = u"Class";
constexpr std::size_t kMostAnswers = 5;

// Cells of a question's row after the shown ones: those that sort as numbers do, and its key.
enum ItemCell : std::size_t {
    kSortTimes = std::size(kItemHeaders),
    kSortRight,
    kSortFacility,
    kSortDiscrimination,
    kItemKey
};

// "1,4,7".
std::set<std::int32_t> NumbersIn(const std::u16string& text) {
    std::set<std::int32_t> numbers;
    for (const std::u16string& word : Split(text, u',')) {
        const auto number = ParseNumber(word);
        if (number && *number > 0 && *number < 2147483648.0) numbers.insert(static_cast<std::int32_t>(*number));
    }
    return numbers;
}

std::u16string Sortable(double number) {
    return Format(number + 1000, u"00000.000");
}

}  // namespace

AnalysisWindow::AnalysisWindow(wxWindow* parent, const DataFolder& folder, Edition edition, std::int32_t user,
                               std::int32_t subject, bool read_only)
    : wxDialog(parent, wxID_ANY, ui::ToWx(user == -1 ? std::u16string(u"学习分析：所有考生") : std::u16string(kTitle)),
               wxDefaultPosition, wxDefaultSize, wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      folder_(folder),
      read_only_(read_only),
      settings_(folder),
      analysis_(folder, edition, user, subject) {
    SetIcons(ProgramIcon());
    Build();
    Place(*this, settings_.Text(kPlace), ui::kLargeWindow);
    SetEscapeId(wxID_CANCEL);
}

void AnalysisWindow::Build() {
    const int margin = FromDIP(ui::kMargin);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    LblFigures = MakeLabel(this, u"", TextSize::Body, true);
    sizer->Add(LblFigures, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, margin);
    LblForecast = MakeLabel(this, u"");
    sizer->Add(LblForecast, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, margin);
    if (analysis_.IsTeacher()) {
        Pages = new wxNotebook(this, wxID_ANY);
        Pages->AddPage(BuildCharts(Pages), ui::ToWx(u"图表"));
        Pages->AddPage(BuildCandidates(Pages), ui::ToWx(u"考生"));
        Pages->AddPage(BuildItems(Pages), ui::ToWx(u"试题"));
        sizer->Add(Pages, 1, wxEXPAND | wxALL, margin);
    } else {
        sizer->Add(BuildCharts(this), 1, wxEXPAND | wxALL, margin);
    }
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    BtnExport = new wxButton(this, wxID_ANY, ui::ToWx(u"导出和打印(&E)…"));
    BtnExport->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        report::ShowExportMenu(this, [this] { return analysis_.MakeReport(); });
    });
    buttons->Add(BtnExport, 0, wxRIGHT, FromDIP(ui::kGap));
    if (analysis_.IsTeacher()) {
        BtnClass = new wxButton(this, wxID_ANY, ui::ToWx(u"选择考生(&K)…"));
        BtnClass->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ChooseClass(); });
        buttons->Add(BtnClass);
        analysis_.SetClass(NumbersIn(settings_.Text(kClass)));
    }
    buttons->AddStretchSpacer();
    buttons->Add(new wxButton(this, wxID_CANCEL, ui::ToWx(u"关闭(&C)")));
    sizer->Add(buttons, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, margin);
    SetSizer(sizer);
}

wxWindow* AnalysisWindow::BuildCharts(wxWindow* parent) {
    page_ = new wxScrolledWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                 wxVSCROLL | wxTAB_TRAVERSAL | wxBORDER_THEME);
    page_->SetScrollRate(0, FromDIP(ui::kWide));
    page_->SetBackgroundColour(Colour(Tint::Card));
    const int gap = FromDIP(ui::kMargin);
    auto* all = new wxBoxSizer(wxVERTICAL);
    const auto caption = [&](wxSizer* to, std::u16string_view text) {
        to->Add(MakeLabel(page_, text, TextSize::Body, true), 0, wxBOTTOM, FromDIP(ui::kGap));
    };
    if (!analysis_.IsTeacher()) {
        caption(all, u"现在最该练的");
        advice_rows_ = new wxFlexGridSizer(2, FromDIP(ui::kGap), gap);
        advice_rows_->AddGrowableCol(0);
        all->Add(advice_rows_, 0, wxEXPAND | wxBOTTOM, gap);
    }
    auto* heading = new wxBoxSizer(wxHORIZONTAL);
    heading->Add(MakeLabel(page_, u"得分率的变化", TextSize::Body, true), 1, wxALIGN_CENTRE_VERTICAL);
    CboSubject = new wxChoice(page_, wxID_ANY);
    SetSpokenName(*CboSubject, u"科目");
    CboSubject->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { FillRates(); });
    heading->Add(CboSubject, 0, wxALIGN_CENTRE_VERTICAL);
    all->Add(heading, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kGap));
    PicRates = new review::ScoreChart(page_);
    PicRates->SetMinSize(FromDIP(wxSize(300, 220)));
    PicRates->SetEmptyText(u"还没有成绩。\n做完一份试卷以后，这里会有曲线。");
    all->Add(PicRates, 0, wxEXPAND | wxBOTTOM, gap);
    auto* grid = new wxFlexGridSizer(2, gap, 2 * gap);
    grid->AddGrowableCol(0, 1);
    grid->AddGrowableCol(1, 1);
    const auto card = [&](std::u16string_view title, auto make) {
        auto* box = new wxBoxSizer(wxVERTICAL);
        caption(box, title);
        auto* picture = make();
        PassWheel(*picture, *page_);
        box->Add(picture, 1, wxEXPAND);
        grid->Add(box, 1, wxEXPAND);
        return picture;
    };
    PicTypes = card(u"按题型", [&] { return new RateBars(page_, u"按题型的得分率"); });
    PicBanks = card(u"按题库", [&] { return new RateBars(page_, u"按题库的得分率"); });
    PicLevels = card(u"按难度", [&] { return new RateBars(page_, u"按难度的得分率"); });
    PicSubjects = card(u"按科目", [&] { return new RateBars(page_, u"按科目的得分率"); });
    PicPace = card(u"每题用时与得分率", [&] { return new PaceChart(page_); });
    PicHours = card(u"什么时候练习", [&] { return new CountColumns(page_, u"每小时做题数", u" 道题"); });
    below_ = new wxBoxSizer(wxVERTICAL);
    below_->Add(grid, 0, wxEXPAND | wxBOTTOM, gap);
    caption(below_, u"练习日历");
    PicDays = new Calendar(page_);
    PassWheel(*PicDays, *page_);
    below_->Add(PicDays, 0, wxEXPAND);
    all->Add(below_, 0, wxEXPAND);
    auto* outer = new wxBoxSizer(wxVERTICAL);
    outer->Add(all, 1, wxEXPAND | wxALL, gap);
    page_->SetSizer(outer);
    return page_;
}

wxWindow* AnalysisWindow::BuildCandidates(wxWindow* parent) {
    LvCandidates = new ui::ListView(parent, {});
    SetSpokenName(*LvCandidates, u"考生");
    LvCandidates->SetEmptyText(u"还没有人练习过。");
    LvCandidates->AddColumn(u"考生", FromDIP(140), 0);
    LvCandidates->AddColumn(u"试卷数", FromDIP(70), 1, wxLIST_FORMAT_RIGHT);
    LvCandidates->AddColumn(u"平均", FromDIP(80), 2, wxLIST_FORMAT_RIGHT);
    LvCandidates->AddColumn(u"最近一次", FromDIP(80), 3, wxLIST_FORMAT_RIGHT);
    LvCandidates->AddColumn(u"每份升降", FromDIP(80), 4, wxLIST_FORMAT_RIGHT);
    LvCandidates->AddColumn(u"答对", FromDIP(80), 5, wxLIST_FORMAT_RIGHT);
    LvCandidates->AddColumn(u"最近练习", FromDIP(100), 6);
    return LvCandidates;
}

wxWindow* AnalysisWindow::BuildItems(wxWindow* parent) {
    auto* panel = new wxPanel(parent);
    LvItems = new ui::ListView(panel, {});
    SetSpokenName(*LvItems, u"试题");
    LvItems->SetEmptyText(u"还没有做过的试题。");
    constexpr int kWidths[std::size(kItemHeaders)] = {100, 130, 100, 60, 60, 70, 70};
    for (std::size_t i = 0; i < std::size(kItemHeaders); ++i) {
        LvItems->AddColumn(kItemHeaders[i], FromDIP(kWidths[i]), i,
                           i < kItemTimes ? wxLIST_FORMAT_LEFT : wxLIST_FORMAT_RIGHT);
    }
    LvItems->Bind(wxEVT_LIST_ITEM_SELECTED, [this](wxListEvent&) { ShowAnswers(); });
    LvItems->Bind(wxEVT_LIST_COL_CLICK, [this](wxListEvent& event) {
        const int column = event.GetColumn();
        if (column < 0) return;
        ascending_ = sorted_items_by_ == column ? !ascending_ : true;
        sorted_items_by_ = column;
        const std::size_t cell = column;
        LvItems->SortBy(cell < kItemTimes ? cell : cell - kItemTimes + kSortTimes, ascending_);
    });
    LblAnswers = MakeLabel(panel, u"");
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(LvItems, 1, wxEXPAND);
    sizer->Add(LblAnswers, 0, wxEXPAND | wxALL, FromDIP(ui::kGap));
    panel->SetSizer(sizer);
    return panel;
}

int AnalysisWindow::ShowModal() {
    Fill();
    const int result = wxDialog::ShowModal();
    if (!read_only_) settings_.Set(kPlace, PlaceOf(*this));
    return result;
}

void AnalysisWindow::Fill() {
    try {
        analysis_.Load();
    } catch (const AutomationError& error) {
        ui::Inform(this, error.Description(), kTitle);
    }
    LblFigures->SetLabelText(ui::ToWx(analysis_.FiguresText()));
    LblForecast->SetLabelText(ui::ToWx(analysis_.IsTeacher() ? std::u16string() : analysis_.ForecastText()));
    LblForecast->Show(!analysis_.IsTeacher());
    FillCharts();
    if (analysis_.IsTeacher()) {
        FillCandidates();
        FillItems();
    } else {
        FillAdvice();
    }
    const bool any = analysis_.GetFigures().all.times > 0;
    below_->ShowItems(any);
    BtnExport->Enable(any);
    page_->FitInside();
    Layout();
}

void AnalysisWindow::FillCharts() {
    const Figures& figures = analysis_.GetFigures();
    CboSubject->Clear();
    CboSubject->Append(ui::ToWx(u"所有科目"));
    subjects_.clear();
    for (const auto& [code, tally] : figures.by_subject) subjects_.push_back(code);
    for (const TrainStatistics::Group& group : analysis_.Groups(TrainStatistics::kBySubject)) {
        CboSubject->Append(ui::ToWx(group.name));
    }
    CboSubject->SetSelection(0);
    CboSubject->Show(subjects_.size() > 1);
    FillRates();
    struct Chart {
        RateBars* picture;
        TrainStatistics::GroupKind kind;
    };
    for (const Chart& chart :
         {Chart{PicTypes, TrainStatistics::kByType}, Chart{PicBanks, TrainStatistics::kByBank},
          Chart{PicLevels, TrainStatistics::kByDifficulty}, Chart{PicSubjects, TrainStatistics::kBySubject}}) {
        std::vector<RateBars::Bar> bars;
        for (TrainStatistics::Group& group : analysis_.Groups(chart.kind)) {
            bars.push_back({std::move(group.name), group.rate, group.times});
        }
        chart.picture->SetBars(std::move(bars));
    }
    std::vector<PaceChart::Point> points;
    for (const Figures::Paper& paper : figures.papers) {
        if (paper.pace) points.push_back({*paper.pace, paper.rate});
    }
    PicPace->SetPoints(std::move(points));
    std::vector<CountColumns::Count> hours;
    for (std::size_t hour = 0; hour < figures.by_hour.size(); ++hour) {
        const std::u16string label = ToText(hour);
        hours.push_back({label, figures.by_hour[hour].questions, label + u" 点"});
    }
    PicHours->SetColumns(std::move(hours));
    std::map<int, Calendar::Day> days;
    for (const auto& [day, one] : figures.by_day) days[day] = {one.questions, static_cast<int>(one.seconds / 60)};
    PicDays->SetDays(std::move(days), Now());
}

void AnalysisWindow::FillRates() {
    const int chosen = CboSubject->GetSelection();
    const std::int32_t subject = chosen > 0 ? subjects_[chosen - 1] : -1;
    std::vector<review::ScorePoint> points;
    for (const Figures::Paper& paper : analysis_.GetFigures().papers) {
        if (subject != -1 && paper.subject != subject) continue;
        points.push_back(review::ToScorePoint(paper.train_id, paper.start, static_cast<float>(paper.full),
                                              static_cast<float>(paper.got)));
    }
    const bool trend = points.size() > 2;
    PicRates->SetPoints(std::move(points));
    PicRates->SetOptions(review::ChartType::Line, trend);
}

void AnalysisWindow::FillAdvice() {
    int due = 0;
    const Date now = Now();
    try {
        if (!read_only_) UpdateSchedule(folder_, analysis_.User());
        due = CountDue(folder_, analysis_.User(), analysis_.Subject(), now);
    } catch (const AutomationError&) {
        due = 0;  // the review's own window says why
    }
    advice_ = analysis_.Advise(due, now);
    advice_rows_->Clear(true);
    LblAdvice.clear();
    BtnAdvice.clear();
    for (const Advice& one : advice_) {
        auto* label = MakeLabel(page_, one.text);
        auto* button = new wxButton(page_, wxID_ANY, ui::ToWx(one.button));
        SetSpokenName(*button, one.button + u"：" + one.text);
        button->Enable(!read_only_);
        button->Bind(wxEVT_BUTTON, [this, one](wxCommandEvent&) {
            chosen_ = one;
            EndModal(wxID_OK);
        });
        advice_rows_->Add(label, 1, wxALIGN_CENTRE_VERTICAL | wxEXPAND);
        advice_rows_->Add(button, 0, wxEXPAND);
        LblAdvice.push_back(label);
        BtnAdvice.push_back(button);
    }
}

void AnalysisWindow::FillCandidates() {
    candidate_rows_.Clear();
    for (const CandidateRow& one : analysis_.Candidates()) {
        ui::ListRow row;
        row.key = u"U" + ToText(one.user);
        const bool any = one.papers > 0;
        row.cells = {one.name,
                     ToText(one.papers),
                     any ? PercentText(one.average) : u"—",
                     any ? PercentText(one.last) : u"—",
                     one.trend ? Format(*one.trend, u"+0.0;-0.0;0.0") : std::u16string(u"—"),
                     PercentText(one.right_share),
                     Format(one.last_day, u"yyyy-mm-dd")};
        row.warning = any && !IsPassRate(one.average);
        candidate_rows_.Add(std::move(row));
    }
    LvCandidates->Show(candidate_rows_);
}

void AnalysisWindow::FillItems() {
    items_ = analysis_.Items();
    item_rows_.Clear();
    for (std::size_t i = 0; i < items_.size(); ++i) {
        const ItemRow& one = items_[i];
        ui::ListRow row;
        row.key = u"I" + ToText(i);
        const auto& discrimination = one.figures.discrimination;
        row.cells = {one.question.rec_no,
                     one.bank,
                     one.type,
                     ToText(one.figures.times),
                     ToText(one.figures.right),
                     PercentText(one.figures.facility),
                     discrimination ? PercentText(*discrimination) : u"—",
                     Sortable(one.figures.times),
                     Sortable(one.figures.right),
                     Sortable(one.figures.facility),
                     discrimination ? Sortable(*discrimination) : std::u16string(),
                     ToText(i)};
        item_rows_.Add(std::move(row));
    }
    LvItems->Show(item_rows_);
    if (item_rows_.Size() == 0) return ShowAnswers();
    LvItems->SelectRow(0);  // shows its answers
}

void AnalysisWindow::ChooseClass() {
    try {
        ClassDialog dialog(this, CandidatesOf(folder_), analysis_.Class());
        if (dialog.ShowModal() != wxID_OK) return;
        analysis_.SetClass(dialog.Chosen());
    } catch (const AutomationError& error) {
        return ui::Inform(this, error.Description(), kTitle);
    }
    std::u16string kept;
    for (const std::int32_t user : analysis_.Class()) kept += (kept.empty() ? u"" : u",") + ToText(user);
    if (!read_only_) settings_.Set(kClass, kept);
    Fill();
}

void AnalysisWindow::ShowAnswers() {
    const ui::ListRow* row = LvItems->SelectedRow();
    std::u16string text;
    if (row != nullptr) {
        const ItemRow& item = items_[static_cast<std::size_t>(ParseNumber(row->cells[kItemKey]).value_or(0))];
        text = analysis_.Source().Title(item.question.subject, item.question.data_code, item.question.rec_no);
        const auto answers = analysis_.Statistics().WrongAnswersTo(item.figures.question);
        text += answers.empty() ? u"\n没有人答错。" : u"\n错误答案：";
        const review::AnswerKind kind = review::KindOfType(item.question.type, item.type);
        for (std::size_t i = 0; i < std::min(kMostAnswers, answers.size()); ++i) {
            const std::u16string shown = review::ShownAnswer(item.question.type, kind, answers[i].answer);
            text += (i > 0 ? u"；" : u"") + ui::CellText(shown.empty() ? u"（未作答）" : shown).substr(0, 60) + u" × " +
                    ToText(answers[i].times);
        }
    }
    LblAnswers->SetLabelText(ui::ToWx(text));
    LblAnswers->GetParent()->Layout();
}

}  // namespace qmtrain::host
