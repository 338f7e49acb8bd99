#include "host/note_dialog.h"

#include <wx/button.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "core/error.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr int kMargin = 12;  // pixels of an unscaled screen
constexpr int kGap = 6;
const wxSize kFirstSize(460, 320);
constexpr std::u16string_view kTitle = u"记笔记";

}  // namespace

NoteDialog::NoteDialog(wxWindow* parent, const DataFolder& folder, std::int32_t subject, std::int32_t user,
                       std::u16string_view data_code, std::u16string_view rec_no)
    : wxDialog(parent, wxID_ANY, ui::ToWx(kTitle), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      subject_(subject),
      user_(user),
      data_code_(data_code),
      rec_no_(rec_no) {
    note_.ClientPath(folder.path);
    std::u16string problem;
    if (!note_.Init(problem)) RaiseComponentError(u"qmtrain", problem.empty() ? u"无法打开笔记。" : problem);
    note_.LoadFromOther(data_code_, rec_no_, subject_, false, user_);
    Build();
    TxtName->SetFocus();
}

void NoteDialog::Build() {
    TxtName = new wxTextCtrl(this, wxID_ANY, ui::ToWx(note_.Name()));
    TxtName->SetMaxLength(255);
    TxtContent =
        new wxTextCtrl(this, wxID_ANY, ui::ToWx(note_.Content()), wxDefaultPosition, wxDefaultSize, wxTE_MULTILINE);
    auto* save = new wxButton(this, wxID_OK, ui::ToWx(u"保存"));
    auto* cancel = new wxButton(this, wxID_CANCEL, ui::ToWx(u"取消"));
    save->SetDefault();
    save->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        if (Save()) EndModal(wxID_OK);
    });
    const int margin = FromDIP(kMargin);
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->AddStretchSpacer();
    buttons->Add(save, 0, wxRIGHT, FromDIP(kGap));
    buttons->Add(cancel);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(new wxStaticText(this, wxID_ANY, ui::ToWx(u"笔记名称：")), 0, wxLEFT | wxRIGHT | wxTOP, margin);
    sizer->Add(TxtName, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, margin);
    sizer->Add(TxtContent, 1, wxEXPAND | wxALL, margin);
    sizer->Add(buttons, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, margin);
    SetSizer(sizer);
    SetClientSize(FromDIP(kFirstSize));
    CentreOnParent();
}

bool NoteDialog::Save() {
    const std::u16string name = ui::FromWx(TxtName->GetValue());
    const std::u16string content = ui::StoredLines(TxtContent->GetValue());
    if (name.empty()) {
        ui::Inform(this, u"请输入笔记名称。", kTitle);
        return false;
    }
    bool saved = false;
    if (note_.NoteID() == -1) {
        saved = note_.Add(subject_, data_code_, rec_no_, name, content, false, user_);
    } else {
        note_.Name(name);
        note_.Content(content);
        note_.ViewTimes(note_.ViewTimes() - 1);  // writing is not viewing
        saved = note_.Update();
    }
    if (!saved) ui::Inform(this, u"笔记没有保存，请检查数据文件夹是否可以写入。", kTitle);
    return saved;
}

}  // namespace qmtrain::host
