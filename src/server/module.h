// The library file in the host's process.
#pragma once

#include <filesystem>

#include "automation/com.h"

namespace qmtrain::server {

HINSTANCE ModuleHandle();
void SetModuleHandle(HINSTANCE handle);
std::filesystem::path ModuleFile();

// The library stays loaded while anything of it is in use.
void LockModule();
void UnlockModule();
bool IsModuleLocked();

// A use of the library as long as it lives.
class ModuleLock {
public:
    ModuleLock() { LockModule(); }
    ModuleLock(const ModuleLock&) = delete;
    ModuleLock& operator=(const ModuleLock&) = delete;
    ~ModuleLock() { UnlockModule(); }
};

}  // namespace qmtrain::server
