#include "host/app/about_dialog.h"

#include <string_view>

#include <wx/button.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/textctrl.h>

#include "core/text.h"
#include "host/commands/options.h"
#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kLicences =
    u"本程序包含或使用下列软件：\n\n"
    u"wxWidgets 3.2 — wxWindows 库许可证 3.1（附例外条款的 GNU 库通用公共许可证）\n"
    u"https://www.wxwidgets.org/about/licence/\n\n"
    u"Jackcess 的文字排序权重表 — Apache 许可证 2.0\n"
    u"https://www.apache.org/licenses/LICENSE-2.0\n\n"
    u"nanosvg — zlib 许可证\n"
    u"https://github.com/memononen/nanosvg\n\n"
    u"pugixml、libxml2、JSON for Modern C++ — MIT 许可证\n"
    u"https://opensource.org/license/mit\n\n"
    u"CLI11 — 三条款 BSD 许可证\n"
    u"https://opensource.org/license/bsd-3-clause\n"
#ifdef _WIN32
    u"\nGCC 运行库 — GNU 通用公共许可证第 3 版，附 GCC 运行库例外 3.1\n"
    u"https://www.gnu.org/licenses/gcc-exception-3.1.html\n\n"
    u"mingw-w64 运行库 — Zope 公共许可证 2.1；winpthreads — MIT 许可证\n"
    u"https://www.mingw-w64.org/\n"
#else
    u"\ncairo — GNU 宽通用公共许可证 2.1 或 Mozilla 公共许可证 1.1\n"
    u"https://www.cairographics.org/\n"
#endif
    ;

}  // namespace

AboutDialog::AboutDialog(wxWindow* parent)
    : wxDialog(parent, wxID_ANY, ui::ToWx(u"关于"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER) {
    constexpr int kIconSize = 48;
    const wxSize icon_size = FromDIP(wxSize(kIconSize, kIconSize));
    wxBitmap icon;
    icon.CopyFromIcon(ProgramIcon().GetIcon(icon_size));
    auto* words = new wxBoxSizer(wxVERTICAL);
    words->Add(MakeLabel(this, u"全国计算机等级考试模拟练习", TextSize::Large, true));
    words->Add(MakeLabel(this, u"版本 " + FromUtf8(kVersionNumber), TextSize::Body, false, Tint::Quiet), 0, wxTOP,
               FromDIP(ui::kTiny));
    auto* head = new wxBoxSizer(wxHORIZONTAL);
    head->Add(new wxStaticBitmap(this, wxID_ANY, icon), 0, wxRIGHT, FromDIP(ui::kMargin));
    head->Add(words, 1);
    auto* licences = new wxTextCtrl(this, wxID_ANY, ui::ToWx(kLicences), wxDefaultPosition, FromDIP(wxSize(460, 220)),
                                    wxTE_MULTILINE | wxTE_READONLY);
    SetSpokenName(*licences, u"许可证");
    SetInnerMargin(*licences);
    auto* close = new wxButton(this, wxID_CANCEL, ui::ToWx(u"关闭(&C)"));
    close->SetDefault();
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(head, 0, wxEXPAND | wxALL, FromDIP(ui::kWide));
    sizer->Add(licences, 1, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(ui::kWide));
    sizer->Add(close, 0, wxALIGN_RIGHT | wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(ui::kWide));
    SetSizerAndFit(sizer);
    CentreOnParent();
    close->SetFocus();
}

}  // namespace qmtrain::host
