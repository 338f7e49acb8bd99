#include "server/host_modal.h"

#include "core/error.h"
#include "server/module.h"

namespace qmtrain::server {
namespace {

// The number of the manifest in a library's resources.
constexpr WORD kManifest = 2;

// vbObjectError + 2.
constexpr auto kWindowsInUse = static_cast<std::int32_t>(0x80040002);

thread_local HostModal* innermost = nullptr;

BOOL CALLBACK DisableWindow(HWND window, LPARAM disabled) {
    if (IsWindowVisible(window) && IsWindowEnabled(window)) {
        EnableWindow(window, FALSE);
        reinterpret_cast<std::vector<HWND>*>(disabled)->push_back(window);
    }
    return TRUE;
}

HANDLE OpenStyle() {
    ACTCTXW description{};
    description.cbSize = sizeof(description);
    description.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
    description.hModule = ModuleHandle();
    description.lpResourceName = MAKEINTRESOURCEW(kManifest);
    return CreateActCtxW(&description);
}

}  // namespace

PresentStyle::PresentStyle() : context_(OpenStyle()) {
    if (context_ != INVALID_HANDLE_VALUE && !ActivateActCtx(context_, &cookie_)) cookie_ = 0;
}

PresentStyle::~PresentStyle() {
    if (cookie_ != 0) DeactivateActCtx(0, cookie_);
    if (context_ != INVALID_HANDLE_VALUE) ReleaseActCtx(context_);
}

HostModal::HostModal() : active_(GetActiveWindow()), outer_(innermost) {
    if (toolkit_.GetState() == ui::ToolkitUse::State::OnOtherThread)
        throw AutomationError(kWindowsInUse, {}, u"另一个线程中已有本组件打开的窗口，请在它关闭之后再打开。");
    innermost = this;
    EnumThreadWindows(GetCurrentThreadId(), &DisableWindow, reinterpret_cast<LPARAM>(&disabled_));
}

HostModal::~HostModal() {
    Release();
    innermost = outer_;
}

void HostModal::Suspend() {
    if (innermost != nullptr) innermost->Release();
}

void HostModal::Release() {
    const bool held = !disabled_.empty();
    for (HWND window : disabled_) {
        if (IsWindow(window)) EnableWindow(window, TRUE);
    }
    disabled_.clear();
    if (held && active_ != nullptr && IsWindow(active_)) SetForegroundWindow(active_);
}

}  // namespace qmtrain::server
