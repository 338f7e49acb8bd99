// An object of another program, for tests: a function answers what is called.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "automation/com_ptr.h"
#include "automation/dispatch.h"
#include "automation/variant.h"
#include "core/text.h"
#include "core/windows_text.h"

namespace qmtrain::test {

// A call as the object gets it.
struct ScriptedCall {
    std::u16string name;
    WORD flags = 0;
    std::vector<Value> arguments;  // in the order of the declaration
    const DISPPARAMS* passed = nullptr;
};

class ScriptedObject : public IDispatch {
public:
    // Fills the exception when the result is DISP_E_EXCEPTION.
    using Answer = std::function<HRESULT(const ScriptedCall& call, VARIANT& result, EXCEPINFO& exception)>;

    explicit ScriptedObject(Answer answer) : answer_(std::move(answer)) {}
    virtual ~ScriptedObject() = default;

    static automation::ComPtr<ScriptedObject> Make(Answer answer) {
        return automation::ComPtr<ScriptedObject>(std::make_unique<ScriptedObject>(std::move(answer)).release());
    }

    int References() const { return references_; }
    int Lookups() const { return lookups_; }  // of names

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
        const bool known = id == IID_IUnknown || id == IID_IDispatch;
        *out = known ? static_cast<IDispatch*>(this) : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references_); }
    ULONG STDMETHODCALLTYPE Release() override {
        const int left = --references_;
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }

    // Knows every name that does not begin with "No".
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* members) override {
        ++lookups_;
        names_.push_back(FromWide(names[0]));
        members[0] = static_cast<DISPID>(names_.size());
        return names_.back().starts_with(u"No") ? DISP_E_UNKNOWNNAME : S_OK;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* passed, VARIANT* result,
                                     EXCEPINFO* exception, UINT*) override {
        ScriptedCall call{member > 0 ? names_[member - 1] : u"", flags, {}, passed};
        for (UINT i = passed->cArgs; i > 0; --i) call.arguments.push_back(automation::ToValue(passed->rgvarg[i - 1]));
        VARIANT unwanted;
        VariantInit(&unwanted);
        EXCEPINFO unseen{};
        return answer_(call, result == nullptr ? unwanted : *result, exception == nullptr ? unseen : *exception);
    }

private:
    Answer answer_;
    int references_ = 0;
    int lookups_ = 0;
    std::vector<std::u16string> names_;
};

}  // namespace qmtrain::test
