#include "host/learning/review_window.h"

#include <algorithm>
#include <cmath>

#include <wx/dateevt.h>
#include <wx/sizer.h>

#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "host/learning/start_drill.h"
#include "host/widgets/look.h"
#include "host/widgets/window_place.h"
#include "ui/layout.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kTitle = u"今日复习";
constexpr std::u16string_view kPlace = u"ReviewWindow";
constexpr std::size_t kListed = 500;  // more are not to be done in a day
constexpr std::size_t kAtOnce = 20;   // questions of a round

std::u16string Share(double share) {
    return Format(share * 100, u"0") + u"%";
}

wxDateTime ToWxDate(Date date) {
    const CivilTime civil = ToCivil(date);
    return {static_cast<wxDateTime::wxDateTime_t>(civil.day), static_cast<wxDateTime::Month>(civil.month - 1),
            civil.year};
}

Date FromWxDate(const wxDateTime& date) {
    CivilTime civil;
    civil.year = date.GetYear();
    civil.month = date.GetMonth() + 1;
    civil.day = date.GetDay();
    return FromCivil(civil);
}

}  // namespace

ReviewWindow::ReviewWindow(wxWindow* parent, const DataFolder& folder, Edition edition, std::int32_t user,
                           std::int32_t subject, bool read_only)
    : wxDialog(parent, wxID_ANY, ui::ToWx(kTitle), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      folder_(folder),
      edition_(edition),
      user_(user),
      subject_(subject),
      read_only_(read_only),
      settings_(folder),
      source_(folder, edition) {
    SetIcons(ProgramIcon());
    Build();
    Place(*this, settings_.Text(kPlace), ui::kMediumWindow);
    SetEscapeId(wxID_CANCEL);
}

void ReviewWindow::Build() {
    const int margin = FromDIP(ui::kMargin);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    auto* top = new wxBoxSizer(wxHORIZONTAL);
    auto* words = new wxBoxSizer(wxVERTICAL);
    LblDue = MakeLabel(this, u"", TextSize::Large, true);
    words->Add(LblDue, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kGap));
    LblKnown = MakeLabel(this, u"", TextSize::Body, false, Tint::Quiet);
    words->Add(LblKnown, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kGap));
    auto* exam = new wxBoxSizer(wxHORIZONTAL);
    ChkExam = new wxCheckBox(this, wxID_ANY, ui::ToWx(u"考试日期(&D)"));
    ChkExam->SetToolTip(ui::ToWx(u"复习安排到这一天为止"));
    DtpExam = new wxDatePickerCtrl(this, wxID_ANY, wxDefaultDateTime, wxDefaultPosition, wxDefaultSize,
                                   wxDP_DROPDOWN | wxDP_SHOWCENTURY);
    SetSpokenName(*DtpExam, u"考试日期");
    exam->Add(ChkExam, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kGap));
    exam->Add(DtpExam, 0, wxALIGN_CENTRE_VERTICAL);
    words->Add(exam);
    top->Add(words, 1, wxRIGHT, FromDIP(ui::kWide));
    auto* ahead = new wxBoxSizer(wxVERTICAL);
    ahead->Add(MakeLabel(this, u"接下来七天要复习的题", TextSize::Small, false, Tint::Quiet), 0, wxBOTTOM,
               FromDIP(ui::kTiny));
    PicAhead = new CountColumns(this, u"接下来七天要复习的题", u" 题");
    ahead->Add(PicAhead, 1, wxEXPAND);
    top->Add(ahead, 1, wxEXPAND);
    sizer->Add(top, 0, wxEXPAND | wxALL, margin);
    LvDue = new ui::ListView(this, {});
    SetSpokenName(*LvDue, u"今天要复习的题");
    LvDue->AddColumn(u"题号", FromDIP(90), 0);
    LvDue->AddColumn(u"试题", FromDIP(260), 1);
    LvDue->AddColumn(u"题型", FromDIP(90), 2);
    LvDue->AddColumn(u"题库", FromDIP(120), 3);
    LvDue->AddColumn(u"还记得", FromDIP(70), 4, wxLIST_FORMAT_RIGHT);
    LvDue->AddColumn(u"上次", FromDIP(90), 5);
    sizer->Add(LvDue, 1, wxEXPAND | wxLEFT | wxRIGHT, margin);
    BtnStart = new wxButton(this, wxID_ANY, ui::ToWx(u"开始复习(&S)"));
    BtnStart->SetToolTip(ui::ToWx(u"每次最多 20 题，最快忘记的在前面"));
    auto* close = new wxButton(this, wxID_CANCEL, ui::ToWx(u"关闭(&C)"));
    sizer->Add(ui::ControlRow(*this, {BtnStart}, {close}), 0, wxEXPAND | wxALL, margin);
    SetSizer(sizer);
    BtnStart->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Start(); });
    ChkExam->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) { KeepExam(); });
    DtpExam->Bind(wxEVT_DATE_CHANGED, [this](wxDateEvent&) { KeepExam(); });
}

int ReviewWindow::ShowModal() {
    Fill();
    BtnStart->SetFocus();
    const int result = wxDialog::ShowModal();
    if (!read_only_) settings_.Set(kPlace, PlaceOf(*this));
    return result;
}

void ReviewWindow::Fill() {
    const Date now = Now();
    std::optional<Date> exam;
    try {
        if (!read_only_) UpdateSchedule(folder_, user_);
        exam = ExamDate(folder_, user_, subject_);
        overview_ = Survey(ReadSchedule(folder_, user_, subject_), now, exam);
    } catch (const AutomationError& error) {
        overview_ = {};
        ui::Inform(this, error.Description(), kTitle);
    }
    ChkExam->SetValue(exam.has_value());
    ChkExam->Enable(!read_only_);
    DtpExam->Enable(exam.has_value() && !read_only_);
    if (exam) DtpExam->SetValue(ToWxDate(*exam));

    const std::int64_t due = overview_.due.size();
    std::u16string headline;
    std::u16string empty;
    if (overview_.all == 0) {
        headline = u"还没有要复习的题";
        empty = u"做过的题会按遗忘的快慢安排复习。\n先做一份试卷吧。";
    } else if (overview_.IsOver()) {
        headline = u"考试已经过去";
        empty = u"考试日期已过，复习停止了。\n改一个日期，或去掉考试日期，就会继续。";
    } else if (due == 0) {
        headline = u"今天没有要复习的题";
        empty = u"今天的复习已经做完。\n到期的题会自动出现在这里。";
    } else {
        headline = u"今天要复习 " + ToText(due) + u" 题";
        if (overview_.overdue > 0) headline += u"（" + ToText(overview_.overdue) + u" 题过期）";
    }
    LblDue->SetLabelText(ui::ToWx(headline));
    std::u16string known;
    if (overview_.all > 0) {
        known = u"做过的 " + ToText(overview_.all) + u" 题，现在大约记得 " + Share(overview_.known_now);
        if (overview_.known_at_exam) {
            known += u"；离考试 " + ToText(*overview_.days_to_exam) + u" 天，不复习到时记得 " +
                     Share(*overview_.known_at_exam);
        }
    }
    LblKnown->SetLabelText(ui::ToWx(known));
    std::vector<CountColumns::Count> ahead;
    for (std::size_t i = 0; i < overview_.ahead.size(); ++i) {
        const Date day{std::floor(now.days) + 1 + static_cast<double>(i)};
        ahead.push_back({Format(day, u"m-d"), overview_.ahead[i], Format(day, u"yyyy-mm-dd")});
    }
    PicAhead->SetColumns(std::move(ahead));

    rows_.Clear();
    const fsrs::Scheduler scheduler;
    for (std::size_t i = 0; i < std::min(kListed, overview_.due.size()); ++i) {
        const ScheduledQuestion& one = overview_.due[i];
        ui::ListRow row;
        row.key = u"D" + ToText(i);
        row.cells = {one.rec_no,
                     source_.Title(one.subject, one.data_code, one.rec_no),
                     source_.TypeName(one.subject, one.type, one.distin),
                     source_.BankName(one.subject, one.data_code),
                     Share(scheduler.Retrievability(one.card, now)),
                     Format(one.card.last, u"yyyy-mm-dd")};
        rows_.Add(std::move(row));
    }
    LvDue->SetEmptyText(empty);
    LvDue->Show(rows_);
    BtnStart->Enable(due > 0 && !read_only_ && subject_ != -1);
    Layout();
}

void ReviewWindow::KeepExam() {
    std::optional<Date> day;
    if (ChkExam->GetValue()) day = FromWxDate(DtpExam->GetValue());
    SetExamDate(folder_, user_, subject_, day);
    Fill();
}

void ReviewWindow::Start() {
    std::vector<DrillQuestion> questions;
    for (const ScheduledQuestion& one : overview_.due) {
        if (questions.size() == kAtOnce) break;
        questions.push_back({one.data_code, one.rec_no, one.type, one.distin, one.difficult, one.score});
    }
    if (StartDrill(this, folder_, edition_, user_, subject_, kTitle, std::move(questions))) Fill();
    (BtnStart->IsEnabled() ? static_cast<wxWindow*>(BtnStart) : LvDue)->SetFocus();
}

}  // namespace qmtrain::host
