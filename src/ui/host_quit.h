// A program's WM_QUIT while our windows have its message loop.
#pragma once

#include <vector>

#include <windows.h>
#include <wx/modalhook.h>

namespace qmtrain::ui {

// Keeps the message from ending our loops, where the program would never see it: the windows are asked to close, as a
// person would close them, and at the end of this the message is posted again. One at a time.
class HostQuit : private wxModalDialogHook {
public:
    HostQuit();
    ~HostQuit() override;

private:
    static LRESULT CALLBACK OnMessage(int code, WPARAM removed, LPARAM parameter);

    int Enter(wxDialog* dialog) override;
    void Exit(wxDialog* dialog) override;
    void CloseInnermost() const;

    HHOOK hook_;
    std::vector<wxDialog*> dialogs_;
    bool asked_ = false;
    int exit_code_ = 0;
};

}  // namespace qmtrain::ui
