#include "server/host_modal.h"

#include "server/module.h"

namespace qmtrain::server {
namespace {

// The number of the manifest in a library's resources.
constexpr WORD kManifest = 2;

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

HostModal::HostModal() : active_(GetActiveWindow()), style_(OpenStyle()), outer_(innermost) {
    innermost = this;
    EnumThreadWindows(GetCurrentThreadId(), &DisableWindow, reinterpret_cast<LPARAM>(&disabled_));
    if (style_ != INVALID_HANDLE_VALUE && !ActivateActCtx(style_, &style_cookie_)) style_cookie_ = 0;
}

HostModal::~HostModal() {
    Release();
    if (style_cookie_ != 0) DeactivateActCtx(0, style_cookie_);
    if (style_ != INVALID_HANDLE_VALUE) ReleaseActCtx(style_);
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
