#include "host/bank_menu.h"

#include <wx/filedlg.h>

#include "core/error.h"
#include "core/text.h"
#include "host/bank_window.h"
#include "host/import_dialog.h"
#include "host/paper_print.h"
#include "host/paper_rules.h"
#include "host/rules_dialog.h"
#include "host/work_progress.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kTitle = u"题库和试卷";

void Print(wxFrame& frame, const DataFolder& folder, const BankMenuHost& host, Answers answers) {
    const std::optional<Paper> paper = host.selected_paper();
    if (!paper) return ui::Inform(&frame, u"请先在主窗口中选择一份试卷。", kTitle);
    const std::u16string name = paper->title + (answers == Answers::With ? u"（带答案）.pdf" : u".pdf");
    wxFileDialog dialog(&frame, ui::ToWx(u"印成 PDF"), wxString(), ui::ToWx(name), "PDF (*.pdf)|*.pdf",
                        wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    if (dialog.ShowModal() != wxID_OK) return;
    PrintPaper(folder, host.edition(), *paper, answers, ui::FromWx(dialog.GetPath()));
    ui::Inform(&frame, u"已印成 " + ui::FromWx(dialog.GetPath()) + u"。", kTitle);
}

void Pack(wxFrame& frame, const DataFolder& folder, const BankMenuHost& host) {
    const std::optional<Paper> paper = host.selected_paper();
    if (!paper) return ui::Inform(&frame, u"请先在主窗口中选择一份试卷。", kTitle);
    WorkProgress progress(&frame, kTitle);
    const std::size_t count = PackPapers(folder, {paper->number}, folder.LocalPaper(), progress.Of(u"正在写入试卷库…"));
    ui::Inform(&frame,
               u"试卷“" + paper->title + u"”的 " + ToText(static_cast<std::int64_t>(count)) +
                   u" 题已写入网络版试卷库，可以用网络版练习。",
               kTitle);
}

}  // namespace

wxMenu* MakeBankMenu(wxFrame& frame, const DataFolder& folder, bool read_only, BankMenuHost host) {
    auto* menu = new wxMenu;
    const auto add = [&](std::u16string_view text, bool writes, auto action) {
        wxMenuItem* item = menu->Append(wxID_ANY, ui::ToWx(text));
        item->Enable(!writes || !read_only);
        frame.Bind(
            wxEVT_MENU,
            [&frame, action](wxCommandEvent&) {
                try {
                    action();
                } catch (const AutomationError& error) {
                    ui::Inform(&frame, error.Description(), kTitle);
                } catch (const exchange::Cancelled&) {
                    ui::Inform(&frame, u"已经停止，没有改动。", kTitle);
                }
            },
            item->GetId());
    };
    add(u"题库管理(&M)…\tCtrl+B", false, [&frame, folder, read_only, host] {
        BankWindow(&frame, folder, read_only).ShowModal();
        host.changed();
    });
    add(u"导入试题(&I)…\tCtrl+I", true, [&frame, folder, host] {
        if (ImportDialog(&frame, folder, u"").ShowModal() == wxID_OK) host.changed();
    });
    menu->AppendSeparator();
    add(u"按规则组卷(&R)…", true, [&frame, folder, host] {
        if (RulesDialog(&frame, folder).ShowModal() == wxID_OK) host.changed();
    });
    add(u"试卷写入网络版试卷库(&N)", true, [&frame, folder, host] { Pack(frame, folder, host); });
    menu->AppendSeparator();
    add(u"试卷印成 PDF(&P)…", false, [&frame, folder, host] { Print(frame, folder, host, Answers::Without); });
    add(u"试卷和答案印成 PDF(&A)…", false, [&frame, folder, host] { Print(frame, folder, host, Answers::With); });
    return menu;
}

}  // namespace qmtrain::host
