#include <algorithm>

#include <wx/dialog.h>

#include "ui/host_quit.h"

namespace qmtrain::ui {
namespace {

HostQuit* present = nullptr;

}  // namespace

HostQuit::HostQuit() : hook_(SetWindowsHookExW(WH_GETMESSAGE, &OnMessage, nullptr, GetCurrentThreadId())) {
    present = this;
    Register();
}

HostQuit::~HostQuit() {
    Unregister();
    UnhookWindowsHookEx(hook_);
    present = nullptr;
    if (asked_) PostQuitMessage(exit_code_);
}

LRESULT CALLBACK HostQuit::OnMessage(int code, WPARAM removed, LPARAM parameter) {
    MSG& message = *reinterpret_cast<MSG*>(parameter);
    if (code == HC_ACTION && (removed & PM_REMOVE) != 0 && message.message == WM_QUIT) {
        present->asked_ = true;
        present->exit_code_ = static_cast<int>(message.wParam);
        message.message = WM_NULL;
        present->CloseInnermost();
    }
    return CallNextHookEx(nullptr, code, removed, parameter);
}

int HostQuit::Enter(wxDialog* dialog) {
    dialogs_.push_back(dialog);
    if (asked_) CloseInnermost();
    return wxID_NONE;
}

void HostQuit::Exit(wxDialog* dialog) {
    std::erase(dialogs_, dialog);
    if (asked_) CloseInnermost();
}

// A box of the system's own has no window that we know: it waits for its answer.
void HostQuit::CloseInnermost() const {
    if (dialogs_.empty() || dialogs_.back()->GetHWND() == nullptr) return;
    PostMessageW(dialogs_.back()->GetHWND(), WM_CLOSE, 0, 0);
}

}  // namespace qmtrain::ui
