// What should be reviewed today, what lies ahead, and how well it will be known on the day of the exam.
#pragma once

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/datectrl.h>
#include <wx/dialog.h>
#include <wx/stattext.h>

#include "host/data/settings.h"
#include "host/learning/review_schedule.h"
#include "host/papers/question_source.h"
#include "host/widgets/bars.h"
#include "ui/list_view.h"

namespace qmtrain::host {

class ReviewWindow : public wxDialog {
public:
    ReviewWindow(wxWindow* parent, const DataFolder& folder, Edition edition, std::int32_t user, std::int32_t subject,
                 bool read_only);

    int ShowModal() override;

    wxStaticText* LblDue = nullptr;
    wxStaticText* LblKnown = nullptr;
    wxCheckBox* ChkExam = nullptr;
    wxDatePickerCtrl* DtpExam = nullptr;
    CountColumns* PicAhead = nullptr;
    ui::ListView* LvDue = nullptr;
    wxButton* BtnStart = nullptr;

private:
    void Build();
    void Fill();
    void KeepExam();
    void Start();

    DataFolder folder_;
    Edition edition_;
    std::int32_t user_;
    std::int32_t subject_;
    bool read_only_;
    Settings settings_;
    QuestionSource source_;
    ScheduleOverview overview_;
    ui::ListModel rows_;
};

}  // namespace qmtrain::host
