#include "ui/toolkit.h"

#include <wx/app.h>
#include <wx/image.h>
#include <wx/init.h>
#include <wx/thread.h>
#include <wx/toplevel.h>
#ifdef _WIN32
#include <wx/msw/private.h>
#endif

#include "core/log.h"

namespace qmtrain::ui {
namespace {

bool started_here = false;
bool images_ready = false;

// The application object of a host that has none of its own.
bool Start() {
    wxApp::SetInstance(new wxApp);
    int argument_count = 0;
    if (!wxEntryStart(argument_count, static_cast<wxChar**>(nullptr))) return false;
    wxTheApp->SetExitOnFrameDelete(false);
    started_here = wxTheApp->CallOnInit();
    return started_here;
}

}  // namespace

bool StartToolkit(std::u16string_view operation) {
    static bool failed = false;  // a display that is missing stays missing
    if (wxTheApp == nullptr && (failed || !Start())) {
        failed = true;
        WriteLog(kLogError, u"没有可用的显示设备，窗口无法打开。", operation);
        return false;
    }
    if (!wxThread::IsMain()) {
        WriteLog(kLogError, u"窗口只能在打开第一个窗口的线程中打开。", operation);
        return false;
    }
    if (!images_ready) wxInitAllImageHandlers();
    images_ready = true;
    return true;
}

bool StopToolkit() {
    if (!started_here) return true;
    if (!wxThread::IsMain() || !wxTopLevelWindows.empty()) return false;
    wxTheApp->OnExit();
    wxEntryCleanup();
    started_here = images_ready = false;
    return true;
}

#ifdef _WIN32
void SetToolkitModule(void* module) {
    wxSetInstance(static_cast<HINSTANCE>(module));
}
#endif

}  // namespace qmtrain::ui
