// A window of ours in the message loop of a host that does not know wxWidgets.
#pragma once

#include <vector>

#include "automation/com.h"

namespace qmtrain::server {

// While it lives the host's windows on this thread take no input, and new controls have the look of the system's
// present style whatever the host's own manifest says.
class HostModal {
public:
    HostModal();
    HostModal(const HostModal&) = delete;
    HostModal& operator=(const HostModal&) = delete;
    ~HostModal();

    // Gives the host its windows back before the end, for it is about to act.
    static void Suspend();

private:
    void Release();

    HWND active_;
    std::vector<HWND> disabled_;
    HANDLE style_;
    ULONG_PTR style_cookie_ = 0;
    HostModal* outer_;
};

}  // namespace qmtrain::server
