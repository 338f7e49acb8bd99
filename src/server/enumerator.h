// The enumerators of automation: IEnumVARIANT, IEnumConnectionPoints, IEnumConnections.
#pragma once

#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "automation/unknown.h"
#include "server/module.h"

namespace qmtrain::server {

// Goes through `Held` values; `Given` is what the interface hands out: kGive fills it and is false when it cannot,
// kTake ends what was filled.
template <class Interface, class Held, class Given, bool (*kGive)(const Held&, Given&), void (*kTake)(Given&)>
class Enumerator : public automation::Unknown<Interface> {
public:
    using Items = std::shared_ptr<const std::vector<Held>>;

    explicit Enumerator(Items items, std::size_t position = 0) : items_(std::move(items)), position_(position) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG wanted, Given* out, ULONG* fetched) override {
        if (fetched != nullptr) *fetched = 0;
        if (out == nullptr || (fetched == nullptr && wanted != 1)) return E_POINTER;
        ULONG count = 0;
        for (; count < wanted && position_ + count < items_->size(); ++count) {
            if (kGive((*items_)[position_ + count], out[count])) continue;
            while (count > 0) kTake(out[--count]);
            return E_OUTOFMEMORY;
        }
        position_ += count;
        if (fetched != nullptr) *fetched = count;
        return count == wanted ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
        const bool enough = count <= items_->size() - position_;
        position_ = enough ? position_ + count : items_->size();
        return enough ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE Reset() override {
        position_ = 0;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Clone(Interface** out) override {
        if (out == nullptr) return E_POINTER;
        *out = new (std::nothrow) Enumerator(items_, position_);
        return *out != nullptr ? S_OK : E_OUTOFMEMORY;
    }

private:
    ModuleLock lock_;
    Items items_;
    std::size_t position_;
};

}  // namespace qmtrain::server
