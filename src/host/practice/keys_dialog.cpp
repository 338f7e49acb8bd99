#include "host/practice/keys_dialog.h"

#include <string_view>

#include <wx/button.h>
#include <wx/sizer.h>

#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

struct KeyRow {
    std::u16string_view keys;
    std::u16string_view what;
};

constexpr KeyRow kKeys[] = {
    {u"回车", u"下一空，下一题，最后一题时检查并交卷；练习时先核对答案"},
    {u"A～H 或 1～8", u"选择选项；是非题用 A、B 或 1、2"},
    {u"↑ ↓ 空格", u"在选项之间移动，选择"},
    {u"PageUp PageDown", u"上一题、下一题；在文本框中加 Ctrl"},
    {u"Ctrl ＋、Ctrl －、Ctrl 0", u"放大、缩小题目文字，恢复原来大小"},
    {u"Tab", u"依次到答案、题目导航和按钮"},
    {u"方向键 空格", u"在题目导航中移动，到那一题"},
    {u"Alt 和字母", u"按钮括号中的字母"},
    {u"Ctrl 回车", u"在操作题的文本框中：下一题"},
    {u"Esc", u"暂停离开；答案已经保存，以后可以继续"},
};

}  // namespace

KeysDialog::KeysDialog(wxWindow* parent)
    : wxDialog(parent, wxID_ANY, ui::ToWx(u"键盘操作"), wxDefaultPosition, wxDefaultSize, wxDEFAULT_DIALOG_STYLE) {
    auto* grid = new wxFlexGridSizer(2, FromDIP(wxSize(ui::kWide, ui::kGap)));
    for (const KeyRow& row : kKeys) {
        grid->Add(MakeLabel(this, row.keys, TextSize::Body, true));
        grid->Add(MakeLabel(this, row.what));
    }
    auto* close = new wxButton(this, wxID_CANCEL, ui::ToWx(u"关闭(&C)"));
    close->SetDefault();
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(grid, 1, wxEXPAND | wxALL, FromDIP(ui::kWide));
    sizer->Add(close, 0, wxALIGN_RIGHT | wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(ui::kWide));
    SetSizerAndFit(sizer);
    CentreOnParent();
    close->SetFocus();
}

}  // namespace qmtrain::host
