#include "host/app/program.h"

#include <chrono>
#include <cstdio>
#include <optional>

#include <wx/app.h>
#include <wx/modalhook.h>
#include <wx/timer.h>

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "host/app/main_window.h"
#include "host/app/single_instance.h"
#include "host/data/data_folder.h"
#include "host/data/host_tables.h"
#include "host/data/people.h"
#include "host/practice/practice.h"
#include "host/practice/practice_window.h"
#include "host/practice/unfinished.h"
#include "host/samples/sample_data.h"
#include "ui/message_box.h"
#include "ui/screenshot.h"
#include "ui/toolkit.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

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
        if (ask && ui::AskYesNo(nullptr, question, kMainTitle) != ui::DialogResult::Yes) return false;
        MakeSampleData(folder.path);
        report = Examine(folder);
    }
    if (report.state == FolderState::Ready) return true;
    std::fprintf(stderr, "qmtrain: %s\n", ToUtf8(report.problem).c_str());
    if (ask) ui::Inform(nullptr, report.problem + u"\n文件没有改动。", kMainTitle);
    return false;
}

void PractiseOne(const DataFolder& folder, const Options& options) {
    UpgradeHostDatabase(folder.path);
    UploadWaiting(folder);
    SettleHandedIn(folder);
    DiscardEmpty(folder);
    std::optional<Paper> paper;
    if (options.paper != 0) {
        paper = FindPaper(folder, options.paper);
    } else if (std::vector<Paper> papers = PapersOf(folder, options.subject); !papers.empty()) {
        paper = std::move(papers.front());
    }
    if (!paper) {
        RaiseComponentError(u"qmtrain", options.paper != 0 ? u"没有试卷号为 " + ToText(options.paper) +
                                                                 u" 的试卷；qmtrain papers 列出所有试卷。"
                                                           : std::u16string(u"这个科目没有试卷。"));
    }
    const Edition edition = options.net ? Edition::Network : Edition::StandAlone;
    Practice practice(folder, *paper, {options.user, edition, options.exercise ? Mode::Exercise : Mode::Exam});
    Practise(nullptr, folder, practice);
    if (!options.screenshot.empty()) Discard(folder, practice.TrainID());  // no practice took place
}

void Open(const DataFolder& folder, const Options& options, SingleInstance* instance) {
    if (options.command == "practice") return PractiseOne(folder, options);
    if (options.user_named && !options.command.empty()) RequireCandidate(folder, options.user);
    const bool main = options.command.empty();  // the other windows take every number, -1 for all
    MainWindow::Choices choices;
    if (main && options.user_named) choices.user = options.user;
    if (main && options.subject_named) choices.subject = options.subject;
    if (options.net || !main) choices.edition = options.net ? Edition::Network : Edition::StandAlone;
    auto* window = new MainWindow(folder, choices);  // it deletes itself when it is closed
    if (options.command == "history") {
        window->ShowHistory(options.user, options.subject);
        window->Destroy();
    } else if (options.command == "notes") {
        window->ShowNotes(options.user, options.subject);
        window->Destroy();
    } else {
        window->Show();
        if (instance != nullptr) instance->Serve(*window);
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
    std::optional<SingleInstance> instance;
    if (options.command.empty() && options.screenshot.empty()) {
        instance.emplace(options.data);
        if (!instance->IsFirst()) {
            if (instance->ShowFirst()) return 0;
            instance.reset();  // it does not respond: this one goes on without it
        }
    }
    try {
        if (!Prepare(folder, options.screenshot.empty())) return 1;
        std::optional<Photographer> photographer;
        if (!options.screenshot.empty()) photographer.emplace(options.screenshot);
        Open(folder, options, instance ? &*instance : nullptr);
        return photographer && photographer->Failed() ? 1 : 0;
    } catch (const AutomationError& error) {
        if (options.screenshot.empty()) ui::Inform(nullptr, error.Description(), kMainTitle);
        throw;
    }
}

}  // namespace qmtrain::host
