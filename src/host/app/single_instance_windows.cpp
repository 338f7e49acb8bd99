// The claim is a mutex of the user's session; the window carries its name as a property.
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include <windows.h>
#include <wx/window.h>

#include "core/files.h"
#include "core/text.h"
#include "core/windows_text.h"
#include "host/app/single_instance.h"

namespace qmtrain::host {
namespace {

constexpr auto kPatience = std::chrono::seconds(30);  // for a program that is just starting, on a machine that is busy
constexpr auto kPause = std::chrono::milliseconds(50);

struct HandleCloser {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

// Of one folder, whatever way leads to it.
std::wstring NameOf(std::u16string_view folder) {
    auto real = absolute(FileSystem::Native().RealPath(ToNativePath(folder))).lexically_normal();
    if (!real.has_filename()) real = real.parent_path();  // it ended with a separator
    return L"qmtrain-" + std::to_wstring(std::hash<std::u16string>()(FoldName(FromNativePath(real))));
}

struct Wanted {
    const wchar_t* name;
    HWND found = nullptr;
};

HWND WindowWith(const std::wstring& name) {
    Wanted wanted{name.c_str()};
    EnumWindows(
        [](HWND window, LPARAM data) CALLBACK -> BOOL {
            auto& sought = *reinterpret_cast<Wanted*>(data);
            if (GetPropW(window, sought.name) == nullptr) return TRUE;
            sought.found = window;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&wanted));
    return wanted.found;
}

}  // namespace

struct SingleInstance::Claim {
    std::wstring name;
    std::unique_ptr<HANDLE, HandleCloser> mutex;
    bool first = true;
};

SingleInstance::SingleInstance(std::u16string_view folder) : claim_(std::make_unique<Claim>()) {
    claim_->name = NameOf(folder);
    claim_->mutex.reset(CreateMutexW(nullptr, FALSE, claim_->name.c_str()));
    claim_->first = claim_->mutex && GetLastError() != ERROR_ALREADY_EXISTS;
}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::IsFirst() const {
    return claim_->first;
}

bool SingleInstance::ShowFirst() const {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    HWND window = nullptr;
    while ((window = WindowWith(claim_->name)) == nullptr) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(kPause);
    }
    if (IsIconic(window)) ShowWindowAsync(window, SW_RESTORE);
    SetForegroundWindow(GetLastActivePopup(window));
    return true;
}

void SingleInstance::Serve(wxWindow& window) {
    SetPropW(static_cast<HWND>(window.GetHWND()), claim_->name.c_str(), claim_->mutex.get());
}

}  // namespace qmtrain::host
