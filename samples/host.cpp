// A host in C++: shows the training history and hears which paper the candidate wants to take again.
//
//   host FOLDER
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

void ShowHistory(IUITrain* train, const wchar_t* folder) {
    BSTR path = SysAllocString(folder);
    train->put_ClientPath(path);
    train->put_DataMdbPath(path);
    SysFreeString(path);
    train->put_UserId(1);
    train->put_SubjectCode(24);

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
    if (argument_count != 2) {
        std::fputws(L"usage: host FOLDER\n", stderr);
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    IUITrain* train = nullptr;
    const HRESULT created =
        CoCreateInstance(CLSID_UITrain, nullptr, CLSCTX_INPROC_SERVER, IID_IUITrain, reinterpret_cast<void**>(&train));
    if (SUCCEEDED(created)) {
        ShowHistory(train, arguments[1]);
        train->Release();
    } else {
        std::fprintf(stderr, "QmTrainInfo.UITrain cannot be created: 0x%08lX\n", static_cast<unsigned long>(created));
    }
    CoUninitialize();
    return SUCCEEDED(created) ? 0 : 1;
}
