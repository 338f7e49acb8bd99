#include "host/banks/bank_menu.h"

#include "core/error.h"
#include "core/text.h"
#include "host/banks/bank_window.h"
#include "host/banks/import_dialog.h"
#include "host/papers/paper_rules.h"
#include "host/papers/paper_sheet.h"
#include "host/papers/rules_dialog.h"
#include "host/widgets/work_progress.h"
#include "report/printing.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kTitle = u"题库和试卷";

void Pack(wxFrame& frame, const DataFolder& folder, const BankMenuHost& host) {
    const std::optional<Paper> paper = host.selected_paper();
    if (!paper) return ui::Inform(&frame, u"请先在主窗口中选择一份试卷。", kTitle);
    WorkProgress progress(&frame, kTitle);
    const std::size_t count = PackPapers(folder, {paper->number}, folder.LocalPaper(), progress.Of(u"正在写入试卷库…"));
    ui::Inform(&frame, u"试卷“" + paper->title + u"”的 " + ToText(count) + u" 题已写入网络版试卷库，可以用网络版练习。",
               kTitle);
}

// Tells the user what went wrong.
void Guarded(wxFrame& frame, const std::function<void()>& action) {
    try {
        action();
    } catch (const AutomationError& error) {
        ui::Inform(&frame, error.Description(), kTitle);
    } catch (const exchange::Cancelled&) {
        ui::Inform(&frame, u"已经停止，没有改动。", kTitle);
    }
}

// What is done with the selected paper on paper and in files, and whether the answers stand there as well.
wxMenu* MakeSheetMenu(wxFrame& frame, const DataFolder& folder, const BankMenuHost& host) {
    auto* menu = new wxMenu;
    report::AppendExportItems(*menu);
    menu->AppendSeparator();
    wxMenuItem* with_answers = menu->AppendCheckItem(wxID_ANY, ui::ToWx(u"带答案和解析(&A)"));
    menu->Bind(wxEVT_MENU, [&frame, folder, host, with_answers](wxCommandEvent& event) {
        Guarded(frame, [&] {
            const bool ours = report::RunExportItem(&frame, event.GetId(), [&] {
                const std::optional<Paper> paper = host.selected_paper();
                if (!paper) RaiseComponentError(u"qmtrain", u"请先在主窗口中选择一份试卷。");
                WorkProgress progress(&frame, kTitle);
                return PaperSheet(folder, host.edition(), *paper,
                                  with_answers->IsChecked() ? Answers::With : Answers::Without,
                                  progress.Of(u"正在读试题…"));
            });
            if (!ours) event.Skip();
        });
    });
    return menu;
}

}  // namespace

wxMenu* MakeBankMenu(wxFrame& frame, const DataFolder& folder, bool read_only, BankMenuHost host) {
    auto* menu = new wxMenu;
    const auto add = [&](std::u16string_view text, bool writes, auto action) {
        wxMenuItem* item = menu->Append(wxID_ANY, ui::ToWx(text));
        item->Enable(!writes || !read_only);
        frame.Bind(
            wxEVT_MENU, [&frame, action](wxCommandEvent&) { Guarded(frame, action); }, item->GetId());
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
    menu->AppendSubMenu(MakeSheetMenu(frame, folder, host), ui::ToWx(u"试卷打印和导出(&P)"));
    return menu;
}

}  // namespace qmtrain::host
