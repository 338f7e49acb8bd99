#include "ui/toolkit.h"

#include <memory>
#include <mutex>
#include <thread>

#include <wx/app.h>
#include <wx/image.h>
#include <wx/init.h>
#include <wx/thread.h>
#ifdef _WIN32
#include <wx/msw/private.h>

#include "ui/host_quit.h"
#endif

#include "core/log.h"

namespace qmtrain::ui {
namespace {

using State = ToolkitUse::State;

std::mutex uses_mutex;
int uses = 0;           // of all windows that are open, and of a program of ours
std::thread::id owner;  // their thread
bool started_here = false;
bool images_ready = false;
bool failed = false;  // a display that is missing stays missing

#ifdef _WIN32
std::unique_ptr<HostQuit> host_quit;
#endif

// The application object of a host that has none of its own.
bool Start() {
    if (failed) return false;
    wxApp::SetInstance(new wxApp);
    int argument_count = 0;
    failed = !wxEntryStart(argument_count, static_cast<wxChar**>(nullptr));
    if (failed) return false;
    wxTheApp->SetExitOnFrameDelete(false);
    started_here = wxTheApp->CallOnInit();
    failed = !started_here;
    return started_here;
}

#ifdef _WIN32
void Stop() {
    if (!started_here) return;
    wxTheApp->OnExit();
    wxEntryCleanup();
    started_here = images_ready = false;
}
#endif

// Takes the toolkit for this thread, if no other one has it.
bool Claim() {
    const std::lock_guard lock(uses_mutex);
    if (uses > 0 && owner != std::this_thread::get_id()) return false;
    owner = std::this_thread::get_id();
    ++uses;
    return true;
}

void GiveUp() {
    const std::lock_guard lock(uses_mutex);
    --uses;
}

State Open() {
    if (!Claim()) return State::OnOtherThread;
    State state = State::Ready;
    if (wxTheApp == nullptr && !Start()) state = State::NoDisplay;
    if (state == State::Ready && !wxThread::IsMain()) state = State::OnOtherThread;
    if (state != State::Ready) {
        GiveUp();
        return state;
    }
    if (!images_ready) wxInitAllImageHandlers();
    images_ready = true;
    return state;
}

void Report(State state, std::u16string_view operation) {
    if (operation.empty() || state == State::Ready) return;
    WriteLog(kLogError,
             state == State::NoDisplay ? u"没有可用的显示设备，窗口无法打开。"
                                       : u"另一个线程中已有打开的窗口，窗口无法打开。",
             operation);
}

}  // namespace

bool StartToolkit(std::u16string_view operation) {
    const State state = Open();
    Report(state, operation);
    return state == State::Ready;
}

ToolkitUse::ToolkitUse(std::u16string_view operation) : state_(Open()) {
    Report(state_, operation);
#ifdef _WIN32
    if (state_ == State::Ready && uses == 1 && started_here) host_quit = std::make_unique<HostQuit>();
#endif
}

ToolkitUse::~ToolkitUse() {
    if (state_ != State::Ready) return;
#ifdef _WIN32
    if (uses == 1) {
        const std::unique_ptr<HostQuit> ended = std::move(host_quit);
        Stop();
    }
#endif
    GiveUp();
}

#ifdef _WIN32
void SetToolkitModule(void* module) {
    wxSetInstance(static_cast<HINSTANCE>(module));
}
#endif

}  // namespace qmtrain::ui
