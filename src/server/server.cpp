// The entry points of the library.
#include <algorithm>
#include <string_view>

#include "core/log.h"
#include "dao/engine.h"
#include "review/ui_train.h"
#include "server/classes.h"
#include "server/factory.h"
#include "server/module.h"
#include "server/registration.h"
#include "server/type_library.h"
#include "ui/toolkit.h"

using namespace qmtrain;          // NOLINT: the entry points stand outside
using namespace qmtrain::server;  // NOLINT

namespace {

const Class* FindClass(const CLSID& id) {
    const auto classes = CreatableClasses();
    const auto found = std::ranges::find_if(classes, [&](const Class* made) { return IsEqualCLSID(made->id, id); });
    return found != classes.end() ? *found : nullptr;
}

// What waits for the first use, since nothing may be done while the library is being loaded.
void PrepareModule() {
    static const bool prepared = [] {
        SetComponentFolder(ModuleFile().parent_path());
        ui::SetToolkitModule(ModuleHandle());
        InstallHistoryWindow();
        return true;
    }();
    static_cast<void>(prepared);
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE handle, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        SetModuleHandle(handle);
        DisableThreadLibraryCalls(handle);
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID class_id, REFIID id, void** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    return automation::Guarded([&]() -> HRESULT {
        PrepareModule();
        const Class* made = FindClass(class_id);
        if (made == nullptr) return CLASS_E_CLASSNOTAVAILABLE;
        OpenTypeLibrary();
        const auto factory = automation::ComPtr<IClassFactory>::Attach(new Factory(*made));
        return factory->QueryInterface(id, out);
    });
}

// What of other libraries is in use ends here, for at the unloading itself it is too late. The engine of another
// thread's apartment can end only there.
STDAPI DllCanUnloadNow() {
    if (IsModuleLocked()) return S_FALSE;
    dao::Engine::Instance().ReleaseSystem();
    if (dao::Engine::Instance().HasSystem()) return S_FALSE;
    CloseTypeLibrary();
    return S_OK;
}

STDAPI DllRegisterServer() {
    return Register(RegistrationScope::Machine);
}

STDAPI DllUnregisterServer() {
    return Unregister(RegistrationScope::Machine);
}

// regsvr32 /n /i:user registers for the present user alone, which needs no administrator.
STDAPI DllInstall(BOOL install, const wchar_t* arguments) {
    const std::wstring_view wanted = arguments == nullptr ? L"" : arguments;
    if (wanted != L"" && wanted != L"user" && wanted != L"machine") return E_INVALIDARG;
    const RegistrationScope scope = wanted == L"user" ? RegistrationScope::User : RegistrationScope::Machine;
    return install ? Register(scope) : Unregister(scope);
}
