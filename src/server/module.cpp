#include "server/module.h"

#include <atomic>
#include <string>

namespace qmtrain::server {
namespace {

HINSTANCE module_handle = nullptr;
std::atomic<long> module_locks = 0;

}  // namespace

HINSTANCE ModuleHandle() {
    return module_handle;
}

void SetModuleHandle(HINSTANCE handle) {
    module_handle = handle;
}

std::filesystem::path ModuleFile() {
    std::wstring name(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(module_handle, name.data(), static_cast<DWORD>(name.size()));
        if (length < name.size()) {
            name.resize(length);
            return name;
        }
        name.resize(name.size() * 2);
    }
}

void LockModule() {
    ++module_locks;
}

void UnlockModule() {
    --module_locks;
}

bool IsModuleLocked() {
    return module_locks > 0;
}

}  // namespace qmtrain::server
