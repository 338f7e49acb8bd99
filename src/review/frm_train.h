// The training history window: all trainings as a list and as a chart.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/dialog.h>
#include <wx/radiobut.h>

#include "records/practice_source.h"
#include "review/history_sort.h"
#include "review/score_chart.h"
#include "review/score_series.h"
#include "review/tab_strip.h"
#include "review/training_row.h"
#include "ui/list_model.h"
#include "ui/list_view.h"

namespace qmtrain::review {

class FrmTrain : public wxDialog {
public:
    explicit FrmTrain(PracticeSource source = {});

    // Fills the list and shows the window until it is closed. The chart is filled when its tab is first opened.
    int ShowModal() override;

    // The candidate wants a training's paper again; the window is closed by then.
    std::function<void(std::int32_t TrainID, bool lblnBS)> RdDoQuestionPaper;

    ui::ListView* LvTrainInfo = nullptr;
    wxButton* BtnView = nullptr;
    wxButton* BtnReDo = nullptr;
    TabStrip* Piclst = nullptr;
    wxPanel* PicLv = nullptr;
    wxPanel* PicChart = nullptr;
    ScoreChart* MSChart = nullptr;
    std::array<wxRadioButton*, 2> OptChartType{};
    wxCheckBox* ChkHG = nullptr;

private:
    void BuildPanels();
    void BuildColumns();
    void BuildButtons(wxSizer& sizer);
    void BindEvents();

    void FillList();
    void FillChart();
    void SelectTraining(std::int32_t train_id);
    void MarkSelected();

    void Piclst_Click(int index);
    void LvTrainInfo_ColumnClick(int header);
    void OptChartType_Click(int index);
    void ChkHG_Click();
    void BtnView_Click();
    void BtnReDo_Click();
    void EnableButtons();
    void ApplyChartOptions();

    PracticeSource source_;
    std::vector<Training> trainings_;  // in the order in which the list was filled
    ui::ListModel rows_;
    HistorySort sort_;
    ChartOptions chart_options_;
    bool chart_filled_ = false;
};

}  // namespace qmtrain::review
