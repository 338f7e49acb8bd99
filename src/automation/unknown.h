// Interfaces written in C++: objects of their own, and further faces of an object.
#pragma once

#include <atomic>
#include <new>

#include "automation/com.h"

namespace qmtrain::automation {

// Runs the implementation of an interface method; no C++ exception may leave it.
template <class Body>
HRESULT Guarded(Body body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

// A COM object with one interface.
template <class Interface>
class Unknown : public Interface {
public:
    Unknown(const Unknown&) = delete;
    Unknown& operator=(const Unknown&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
        if (out == nullptr) return E_POINTER;
        const bool known = IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, __uuidof(Interface));
        *out = known ? static_cast<Interface*>(this) : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

protected:
    Unknown() = default;
    virtual ~Unknown() = default;

private:
    std::atomic<ULONG> references_ = 1;
};

// An interface of an object that counts its references itself.
template <class Interface>
class Face : public Interface {
public:
    explicit Face(IUnknown* owner) : owner_(owner) {}
    Face(const Face&) = delete;
    Face& operator=(const Face&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override { return owner_->QueryInterface(id, out); }
    ULONG STDMETHODCALLTYPE AddRef() override { return owner_->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return owner_->Release(); }

protected:
    ~Face() = default;

    IUnknown* owner_;
};

}  // namespace qmtrain::automation
