#include "host/app/people_dialogs.h"

#include "ui/wx_text.h"

namespace qmtrain::host {

CandidateDialog::CandidateDialog(wxWindow* parent, const DataFolder& folder, Candidate candidate)
    : FormDialog(parent, candidate.id == -1 ? u"新建考生" : u"修改考生"), candidate_(std::move(candidate)) {
    TxtName = AddText(u"姓名(&N)", candidate_.name);
    TxtNumber = AddText(u"考号(&E)", candidate_.exam_number);
    Finish(u"保存(&S)", [this, folder] {
        candidate_.name = ui::FromWx(TxtName->GetValue());
        candidate_.exam_number = ui::FromWx(TxtNumber->GetValue());
        candidate_.id = SaveCandidate(folder, candidate_);
    });
    TxtName->SetFocus();
}

SubjectDialog::SubjectDialog(wxWindow* parent, const DataFolder& folder, Subject subject)
    : FormDialog(parent, subject.code == -1 ? u"新建科目" : u"修改科目"), subject_(std::move(subject)) {
    TxtName = AddText(u"科目名称(&N)", subject_.name);
    TxtRules = AddText(u"考生须知(&R)", subject_.instructions, true);
    Finish(u"保存(&S)", [this, folder] {
        subject_.name = ui::FromWx(TxtName->GetValue());
        subject_.instructions = ui::StoredLines(TxtRules->GetValue());
        subject_.code = SaveSubject(folder, subject_);
    });
    TxtName->SetFocus();
}

}  // namespace qmtrain::host
