// Our own engine in a library of its own, behind DAO's member names: tests take it for the machine's.
#include "server/test_engine.h"

#include <memory>
#include <string>

#include "core/convert.h"
#include "dao/jet_database.h"
#include "dao/jet_engine.h"
#include "server/factory.h"
#include "server/module.h"
#include "server/object.h"
#include "server/record_sets.h"

using namespace qmtrain;          // NOLINT: the entry points stand outside
using namespace qmtrain::server;  // NOLINT

namespace {

// Our own engine whatever the setting says.
struct TestEngine {
    dao::JetEngine jet;
};

std::shared_ptr<dao::Database> OpenDatabase(TestEngine& engine, std::u16string_view name, Value, Value read_only,
                                            Value) {
    return engine.jet.OpenDatabase(name, {}, {.read_only = read_only == Value(true)});
}

constexpr wchar_t kClasses[] = L"Software\\Classes\\";
constexpr wchar_t kProgId[] = L"QmTrainTest.DBEngine";

std::wstring ClassKey() {
    wchar_t id[39] = {};
    StringFromGUID2(__uuidof(DBEngine), id, 39);
    return id;
}

HRESULT Write(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
    return HRESULT_FROM_WIN32(RegSetKeyValueW(HKEY_LOCAL_MACHINE, (kClasses + key).c_str(), name, REG_SZ, text.c_str(),
                                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))));
}

}  // namespace

template <>
const Class& server::ClassOf<dao::Database>() {
    using C = dao::Database;
    using I = IDatabase;
    static const Class made(
        u"Database", __uuidof(Database), __uuidof(IDatabase),
        {
            QMTRAIN_READ_ONLY(Name),
            QMTRAIN_READ_ONLY(RecordsAffected),
            QMTRAIN_CALL(Execute, [](C& data, std::u16string_view query,
                                     Value options) { data.Execute(query, options.IsEmpty() ? 0 : ToLong(options)); }),
            QMTRAIN_CALL(OpenRecordset,
                         [](C& data, std::u16string_view name, Value type, Value options, Value) {
                             const std::int32_t number = type.IsEmpty() ? 0 : ToLong(type);
                             return data.OpenRecordset(name, static_cast<dao::RecordsetType>(number),
                                                       options.IsEmpty() ? 0 : ToLong(options));
                         }),
            QMTRAIN_METHOD(Close),
        });
    return made;
}

template <>
const Class& server::ClassOf<TestEngine>() {
    using C = TestEngine;
    using I = IDBEngine;
    static const Class made(u"DBEngine", __uuidof(DBEngine), __uuidof(IDBEngine),
                            {
                                QMTRAIN_CALL(OpenDatabase, &OpenDatabase),
                                QMTRAIN_CALL(BeginTrans, [](C& engine) { engine.jet.BeginTrans(); }),
                                QMTRAIN_CALL(CommitTrans, [](C& engine, std::int32_t) { engine.jet.CommitTrans(); }),
                                QMTRAIN_CALL(Rollback, [](C& engine) { engine.jet.Rollback(); }),
                            },
                            [] { return std::shared_ptr<void>(std::make_shared<C>()); });
    return made;
}

BOOL WINAPI DllMain(HINSTANCE handle, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) SetModuleHandle(handle);
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID class_id, REFIID id, void** out) {
    *out = nullptr;
    if (!IsEqualCLSID(class_id, __uuidof(DBEngine))) return CLASS_E_CLASSNOTAVAILABLE;
    return automation::ComPtr<IClassFactory>::Attach(new Factory(ClassOf<TestEngine>()))->QueryInterface(id, out);
}

STDAPI DllCanUnloadNow() {
    return IsModuleLocked() ? S_FALSE : S_OK;
}

STDAPI DllRegisterServer() {
    const std::wstring server = L"CLSID\\" + ClassKey() + L"\\InprocServer32";
    const HRESULT steps[] = {
        Write(std::wstring(kProgId) + L"\\CLSID", nullptr, ClassKey()),
        Write(server, nullptr, ModuleFile().wstring()),
        Write(server, L"ThreadingModel", L"Apartment"),
    };
    for (const HRESULT step : steps) {
        if (FAILED(step)) return step;
    }
    return S_OK;
}

STDAPI DllUnregisterServer() {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, (kClasses + std::wstring(kProgId)).c_str());
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, (kClasses + (L"CLSID\\" + ClassKey())).c_str());
    return S_OK;
}
