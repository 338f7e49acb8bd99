// New candidates and subjects, and changes to those that are there.
#pragma once

#include <cstdint>

#include "host/data/people.h"
#include "host/widgets/form_dialog.h"

namespace qmtrain::host {

class CandidateDialog : public FormDialog {
public:
    CandidateDialog(wxWindow* parent, const DataFolder& folder, Candidate candidate);
    std::int32_t Id() const { return candidate_.id; }

    wxTextCtrl* TxtName;
    wxTextCtrl* TxtNumber;

private:
    Candidate candidate_;
};

class SubjectDialog : public FormDialog {
public:
    SubjectDialog(wxWindow* parent, const DataFolder& folder, Subject subject);
    std::int32_t Code() const { return subject_.code; }

    wxTextCtrl* TxtName;
    wxTextCtrl* TxtRules;

private:
    Subject subject_;
};

}  // namespace qmtrain::host
