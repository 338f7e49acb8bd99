#include "host/learning/class_dialog.h"

#include "ui/wx_text.h"

namespace qmtrain::host {

ClassDialog::ClassDialog(wxWindow* parent, std::vector<Candidate> candidates, const std::set<std::int32_t>& chosen)
    : FormDialog(parent, u"选择考生"), candidates_(std::move(candidates)) {
    LstCandidates = new wxCheckListBox(this, wxID_ANY, wxDefaultPosition, FromDIP(wxSize(280, 260)));
    for (const Candidate& one : candidates_) {
        const int place = LstCandidates->Append(ui::ToWx(one.name + u"（" + one.exam_number + u"）"));
        LstCandidates->Check(static_cast<unsigned>(place), chosen.empty() || chosen.contains(one.id));
    }
    AddControl(u"考生(&K)", LstCandidates);
    Finish(u"确定(&O)", [] {});
}

std::set<std::int32_t> ClassDialog::Chosen() const {
    std::set<std::int32_t> chosen;
    for (std::size_t i = 0; i < candidates_.size(); ++i) {
        if (LstCandidates->IsChecked(static_cast<unsigned>(i))) chosen.insert(candidates_[i].id);
    }
    if (chosen.size() == candidates_.size()) chosen.clear();
    return chosen;
}

}  // namespace qmtrain::host
