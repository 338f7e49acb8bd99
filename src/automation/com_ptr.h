// The owner of a COM reference.
#pragma once

#include <utility>

#include "automation/com.h"

namespace qmtrain::automation {

template <class Interface>
class ComPtr {
public:
    ComPtr() = default;
    // Shares the object. Attach() takes a reference over instead.
    explicit ComPtr(Interface* object) : object_(object) {
        if (object_ != nullptr) object_->AddRef();
    }
    ComPtr(const ComPtr& other) : ComPtr(other.object_) {}
    ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ComPtr() {
        if (object_ != nullptr) object_->Release();
    }

    static ComPtr Attach(Interface* object) {
        ComPtr owner;
        owner.object_ = object;
        return owner;
    }

    Interface* Get() const { return object_; }
    Interface* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

    // Gives the reference away.
    Interface* Detach() { return std::exchange(object_, nullptr); }

    // Where a call puts a new reference; the old one ends.
    Interface** Out() {
        *this = ComPtr();
        return &object_;
    }
    void** OutVoid() { return reinterpret_cast<void**>(Out()); }

    // Another interface of the object; none when it has not got it.
    template <class Other>
    ComPtr<Other> As() const {
        ComPtr<Other> other;
        if (object_ != nullptr && FAILED(object_->QueryInterface(__uuidof(Other), other.OutVoid()))) return {};
        return other;
    }

private:
    Interface* object_ = nullptr;
};

}  // namespace qmtrain::automation
