#include "server/factory.h"

#include "server/object.h"

namespace qmtrain::server {

using automation::ComPtr;
using automation::Guarded;

HRESULT STDMETHODCALLTYPE Factory::CreateInstance(IUnknown* outer, REFIID id, void** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return Guarded([&] {
        const auto object = ComPtr<IDispatch>::Attach(WrapInstance(class_, class_.create()));
        return object->QueryInterface(id, out);
    });
}

HRESULT STDMETHODCALLTYPE Factory::LockServer(BOOL lock) {
    lock ? LockModule() : UnlockModule();
    return S_OK;
}

}  // namespace qmtrain::server
