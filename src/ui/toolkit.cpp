#include "ui/toolkit.h"

#include <wx/app.h>
#include <wx/image.h>
#include <wx/init.h>

#include "core/log.h"

namespace qmtrain::ui {
namespace {

// The application object of a host that has none of its own.
bool Start() {
    wxApp::SetInstance(new wxApp);
    int argument_count = 0;
    if (!wxEntryStart(argument_count, static_cast<wxChar**>(nullptr))) return false;
    wxTheApp->SetExitOnFrameDelete(false);
    return wxTheApp->CallOnInit();
}

}  // namespace

bool StartToolkit(std::u16string_view operation) {
    static const bool started = wxTheApp != nullptr || Start();
    if (!started) {
        WriteLog(kLogError, u"没有可用的显示设备，窗口无法打开。", operation);
        return false;
    }
    static const bool images = (wxInitAllImageHandlers(), true);
    return images;
}

}  // namespace qmtrain::ui
