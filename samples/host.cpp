// A host in C++: counts the trainings, shows their history, and hears which paper the candidate wants to take again.
//
//   host FOLDER [nowindows]
//
// FOLDER holds Client.mdb and the question banks. qmtraininfo.h is what widl or midl make of qmtraininfo.idl.
#include <cstdio>
#include <string>

#include <windows.h>
#include <ocidl.h>
#include <olectl.h>

#include "server/qmtraininfo.h"

namespace {

// Takes the events of the window. A host implements the one method that matters to it.
class HistoryEvents final : public IDispatch {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
        const bool known =
            IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IDispatch) || IsEqualIID(id, DIID_IUITrainEvents);
        *out = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }  // lives as long as main
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                                     UINT*) override {
        constexpr DISPID kReDoQuestionPaper = 1;
        if (member != kReDoQuestionPaper || arguments->cArgs != 2) return DISP_E_MEMBERNOTFOUND;
        const VARIANTARG* last_first = arguments->rgvarg;
        std::printf("ReDoQuestionPaper %ld %d\n", V_I4(&last_first[1]), V_BOOL(&last_first[0]) == VARIANT_TRUE);
        return S_OK;
    }
};

constexpr long kUser = 1;
constexpr long kSubject = 24;

// How many trainings there are; nothing is raised here, what fails has an HRESULT.
HRESULT CountTrainings(const wchar_t* folder, long& times) {
    ITrainInfo* train = nullptr;
    HRESULT result = CoCreateInstance(CLSID_TrainInfo, nullptr, CLSCTX_INPROC_SERVER, IID_ITrainInfo,
                                      reinterpret_cast<void**>(&train));
    if (FAILED(result)) return result;
    BSTR path = SysAllocString(folder);
    BSTR message = nullptr;
    VARIANT_BOOL opened = VARIANT_FALSE;
    result = train->put_ClientPath(path);
    if (SUCCEEDED(result)) result = train->Init(&message, &opened);
    if (SUCCEEDED(result) && opened == VARIANT_FALSE) result = E_FAIL;
    train->put_UserId(kUser);
    train->put_SubjectCode(kSubject);
    if (SUCCEEDED(result)) result = train->GetTrainTimes(&times);
    SysFreeString(message);
    SysFreeString(path);
    train->Release();
    return result;
}

void ShowHistory(IUITrain* train, const wchar_t* folder) {
    BSTR path = SysAllocString(folder);
    train->put_ClientPath(path);
    train->put_DataMdbPath(path);
    SysFreeString(path);
    train->put_UserId(kUser);
    train->put_SubjectCode(kSubject);

    HistoryEvents events;
    IConnectionPointContainer* container = nullptr;
    IConnectionPoint* point = nullptr;
    DWORD cookie = 0;
    if (SUCCEEDED(train->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&container))) &&
        SUCCEEDED(container->FindConnectionPoint(DIID_IUITrainEvents, &point)))
        point->Advise(&events, &cookie);
    train->ShowUI();
    if (point != nullptr) {
        point->Unadvise(cookie);
        point->Release();
    }
    if (container != nullptr) container->Release();
}

}  // namespace

int wmain(int argument_count, wchar_t** arguments) {
    const bool windows = argument_count == 2;
    if (!windows && (argument_count != 3 || std::wstring(arguments[2]) != L"nowindows")) {
        std::fputws(L"usage: host FOLDER [nowindows]\n", stderr);
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    long times = 0;
    HRESULT result = CountTrainings(arguments[1], times);
    if (SUCCEEDED(result)) std::printf("%ld trainings\n", times);
    IUITrain* history = nullptr;
    if (SUCCEEDED(result) && windows) {
        result = CoCreateInstance(CLSID_UITrain, nullptr, CLSCTX_INPROC_SERVER, IID_IUITrain,
                                  reinterpret_cast<void**>(&history));
    }
    if (history != nullptr) {
        ShowHistory(history, arguments[1]);
        history->Release();
    }
    if (FAILED(result)) std::fprintf(stderr, "failed: 0x%08lX\n", static_cast<unsigned long>(result));
    CoUninitialize();
    return SUCCEEDED(result) ? 0 : 1;
}
