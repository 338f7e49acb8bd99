#include "host/widgets/note_dialog.h"

#include <wx/button.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "core/error.h"
#include "host/widgets/ask.h"
#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

const ui::WindowSizes kSizes{{320, 220}, {460, 320}};
constexpr std::u16string_view kTitle = u"记笔记";

}  // namespace

NoteDialog::NoteDialog(wxWindow* parent, const DataFolder& folder, std::int32_t subject, std::int32_t user,
                       std::u16string_view data_code, std::u16string_view rec_no)
    : wxDialog(parent, wxID_ANY, ui::ToWx(kTitle), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      subject_(subject),
      user_(user),
      data_code_(data_code),
      rec_no_(rec_no),
      read_only_(Examine(folder).read_only) {
    note_.ClientPath(folder.path);
    std::u16string problem;
    if (!note_.Init(problem)) RaiseComponentError(u"qmtrain", problem.empty() ? u"无法打开笔记。" : problem);
    note_.LoadFromOther(data_code_, rec_no_, subject_, false, user_);
    name_ = note_.Name();
    content_ = note_.Content();
    Build();
    (note_.NoteID() == -1 ? TxtName : TxtContent)->SetFocus();
}

void NoteDialog::Build() {
    auto* name_caption = new wxStaticText(this, wxID_ANY, ui::ToWx(u"笔记名称(&N)："));
    TxtName = new wxTextCtrl(this, wxID_ANY, ui::ToWx(note_.Name()));
    TxtName->SetMaxLength(255);
    auto* content_caption = new wxStaticText(this, wxID_ANY, ui::ToWx(u"内容(&T)："));
    TxtContent =
        new wxTextCtrl(this, wxID_ANY, ui::ToWx(note_.Content()), wxDefaultPosition, wxDefaultSize, wxTE_MULTILINE);
    SetInnerMargin(*TxtContent);
    SetSpokenName(*TxtName, u"笔记名称");
    SetSpokenName(*TxtContent, u"笔记内容");
    BtnSave = new wxButton(this, wxID_SAVE, ui::ToWx(u"保存(&S)"));
    auto* cancel = new wxButton(this, wxID_CANCEL, ui::ToWx(read_only_ ? u"关闭(&C)" : u"取消(&C)"));
    BtnSave->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        if (Save()) EndModal(wxID_OK);
    });
    cancel->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Leave(); });
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent&) { Leave(); });
    const int margin = FromDIP(ui::kMargin);
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    if (read_only_) {
        TxtName->SetEditable(false);
        TxtContent->SetEditable(false);
        BtnSave->Hide();
        buttons->Add(MakeLabel(this, u"数据文件夹是只读的，笔记只能查看。", TextSize::Small, false, Tint::Quiet), 1,
                     wxALIGN_CENTRE_VERTICAL);
    } else {
        buttons->AddStretchSpacer();
    }
    buttons->Add(BtnSave, 0, wxRIGHT, FromDIP(ui::kGap));
    buttons->Add(cancel);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(name_caption, 0, wxLEFT | wxRIGHT | wxTOP, margin);
    sizer->AddSpacer(FromDIP(ui::kTiny));
    sizer->Add(TxtName, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, margin);
    sizer->Add(content_caption, 0, wxLEFT | wxRIGHT, margin);
    sizer->AddSpacer(FromDIP(ui::kTiny));
    sizer->Add(TxtContent, 1, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, margin);
    sizer->Add(buttons, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, margin);
    SetSizer(sizer);
    ui::SetSizes(*this, kSizes);
    CentreOnParent();
    (read_only_ ? cancel : BtnSave)->SetDefault();
}

bool NoteDialog::IsChanged() const {
    return !read_only_ && (ui::FromWx(TxtName->GetValue()) != name_ ||
                           ui::StoredLines(TxtContent->GetValue()) != ui::StoredLines(ui::ToWx(content_)));
}

void NoteDialog::Leave() {
    if (!IsChanged()) return EndModal(wxID_CANCEL);
    switch (AskUnsaved(this, u"笔记还没有保存。要保存吗？", kTitle)) {
        case Unsaved::Save:
            if (Save()) EndModal(wxID_OK);
            return;
        case Unsaved::Discard: return EndModal(wxID_CANCEL);
        case Unsaved::Stay: return;
    }
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
