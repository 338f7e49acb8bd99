// The class objects: what creates the objects of a class.
#pragma once

#include "automation/unknown.h"
#include "server/class.h"
#include "server/module.h"

namespace qmtrain::server {

class Factory final : public automation::Unknown<IClassFactory> {
public:
    explicit Factory(const Class& makes) : class_(makes) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** out) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

private:
    ModuleLock lock_;
    const Class& class_;
};

}  // namespace qmtrain::server
