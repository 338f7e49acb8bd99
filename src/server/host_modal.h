// A window of ours in the message loop of a host that does not know wxWidgets.
#pragma once

#include <vector>

#include "automation/com.h"
#include "ui/toolkit.h"

namespace qmtrain::server {

// The look of the system's present style for new controls, whatever the host's own manifest says.
class PresentStyle {
public:
    PresentStyle();
    PresentStyle(const PresentStyle&) = delete;
    PresentStyle& operator=(const PresentStyle&) = delete;
    ~PresentStyle();

private:
    HANDLE context_;
    ULONG_PTR cookie_ = 0;
};

// While it lives the host's windows on this thread take no input, and no other thread may open a window of ours.
class HostModal {
public:
    // Raises an error while another thread has a window of ours.
    HostModal();
    HostModal(const HostModal&) = delete;
    HostModal& operator=(const HostModal&) = delete;
    ~HostModal();

    // Gives the host its windows back before the end, for it is about to act.
    static void Suspend();

private:
    void Release();

    PresentStyle style_;
    ui::ToolkitUse toolkit_;
    HWND active_;
    std::vector<HWND> disabled_;
    HostModal* outer_;
};

}  // namespace qmtrain::server
