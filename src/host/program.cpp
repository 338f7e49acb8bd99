#include "host/program.h"

#include <cstdio>
#include <functional>
#include <optional>

#include <wx/app.h>
#include <wx/modalhook.h>
#include <wx/timer.h>

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "host/data_folder.h"
#include "host/main_window.h"
#include "host/practice.h"
#include "host/practice_window.h"
#include "host/sample_data.h"
#include "ui/message_box.h"
#include "ui/screenshot.h"
#include "ui/toolkit.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kTitle = u"全国计算机等级考试模拟练习";
constexpr int kDrawingTime = 500;  // milliseconds in which an open window is drawn

// Takes a picture of the window that is open when it has been drawn, and closes it.
class Photographer : public wxTimer {
public:
    explicit Photographer(std::string file) : file_(std::move(file)) { Start(kDrawingTime); }
    bool Failed() const { return failed_; }

    void Notify() override {
        wxWindow* window = wxGetActiveWindow();
        for (wxWindow* top : wxTopLevelWindows) {  // the one opened last, whether it has the focus or not
            if (top->IsShown()) window = top;
        }
        const bool drawn = window != nullptr && window == seen_;
        seen_ = window;
        if (!drawn) return;
        Stop();
        failed_ = !ui::SaveScreenshot(*window, file_);
        if (auto* dialog = dynamic_cast<wxDialog*>(window); dialog != nullptr && dialog->IsModal()) {
            dialog->EndModal(wxID_CANCEL);
        } else {
            window->Close(true);
        }
    }

private:
    std::string file_;
    wxWindow* seen_ = nullptr;  // open when the time before was up
    bool failed_ = false;
};

// Offers to make what is missing. False when the program cannot go on.
bool Prepare(const DataFolder& folder, bool ask) {
    FolderReport report = Examine(folder);
    if (report.state == FolderState::Missing) {
        const std::u16string question = report.problem + u"\n要在这个文件夹中建立示例题库和试卷吗？";
        if (ask && ui::AskYesNo(nullptr, question, kTitle) != ui::Answer::Yes) return false;
        MakeSampleData(folder.path);
        report = Examine(folder);
    }
    if (report.state == FolderState::Ready) return true;
    ui::Inform(nullptr, report.problem + u"\n文件没有改动。", kTitle);
    return false;
}

void PractiseOne(const DataFolder& folder, const Options& options) {
    std::optional<Paper> paper;
    if (options.paper != 0) {
        paper = FindPaper(folder, options.paper);
    } else if (std::vector<Paper> papers = PapersOf(folder, options.subject); !papers.empty()) {
        paper = std::move(papers.front());
    }
    if (!paper) RaiseComponentError(u"qmtrain", options.paper != 0 ? u"没有这份试卷。" : u"这个科目没有试卷。");
    Practice practice(folder, *paper, options.user, options.net ? Edition::Network : Edition::StandAlone);
    PracticeWindow(folder, practice).ShowModal();
}

void Open(const DataFolder& folder, const Options& options) {
    if (options.command == "practice") return PractiseOne(folder, options);
    auto* window = new MainWindow(folder, options.user, options.subject);  // it deletes itself when it is closed
    window->OptNet->SetValue(options.net);
    if (options.command == "history") {
        window->ShowHistory();
        window->Destroy();
    } else if (options.command == "notes") {
        window->ShowNotes();
        window->Destroy();
    } else {
        window->Show();
        if (options.screenshot.empty()) window->CallAfter([window] { window->OfferUnfinished(); });
        wxTheApp->SetExitOnFrameDelete(true);
        wxTheApp->OnRun();
    }
}

}  // namespace

int RunWindows(const Options& options) {
    if (!ui::StartToolkit(u"qmtrain")) {
        std::fputs("qmtrain: 没有可用的显示设备\n", stderr);
        return 1;
    }
    const DataFolder folder{options.data};
    try {
        if (!Prepare(folder, options.screenshot.empty())) return 1;
        std::optional<Photographer> photographer;
        if (!options.screenshot.empty()) photographer.emplace(options.screenshot);
        Open(folder, options);
        return photographer && photographer->Failed() ? 1 : 0;
    } catch (const AutomationError& error) {
        if (options.screenshot.empty()) ui::Inform(nullptr, error.Description(), kTitle);
        throw;
    }
}

}  // namespace qmtrain::host
