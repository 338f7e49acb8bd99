#include "server/events.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "automation/dispatch.h"
#include "server/enumerator.h"

namespace qmtrain::server {

using automation::ComPtr;
using automation::Guarded;

namespace {

using HeldPoint = ComPtr<IConnectionPoint>;
using HeldConnection = std::pair<DWORD, ComPtr<IUnknown>>;

bool GivePoint(const HeldPoint& held, IConnectionPoint*& out) {
    out = HeldPoint(held).Detach();
    return true;
}

void TakePoint(IConnectionPoint*& out) {
    HeldPoint::Attach(std::exchange(out, nullptr));
}

bool GiveConnection(const HeldConnection& held, CONNECTDATA& out) {
    out = {ComPtr<IUnknown>(held.second).Detach(), held.first};
    return true;
}

void TakeConnection(CONNECTDATA& out) {
    ComPtr<IUnknown>::Attach(std::exchange(out.pUnk, nullptr));
}

using PointEnumerator = Enumerator<IEnumConnectionPoints, HeldPoint, IConnectionPoint*, &GivePoint, &TakePoint>;
using ConnectionEnumerator =
    Enumerator<IEnumConnections, HeldConnection, CONNECTDATA, &GiveConnection, &TakeConnection>;

}  // namespace

Events::Events(IUnknown* owner, const IID& interface_id)
    : Face(owner), interface_id_(interface_id), point_(*this, owner) {}

HRESULT STDMETHODCALLTYPE Events::EnumConnectionPoints(IEnumConnectionPoints** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    return Guarded([&] {
        *out = new PointEnumerator(std::make_shared<const std::vector<HeldPoint>>(1, HeldPoint(&point_)));
        return S_OK;
    });
}

HRESULT STDMETHODCALLTYPE Events::FindConnectionPoint(REFIID id, IConnectionPoint** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (!IsEqualIID(id, interface_id_)) return CONNECT_E_NOCONNECTION;
    *out = HeldPoint(&point_).Detach();
    return S_OK;
}

// Listeners may be added or removed while they are called.
void Events::Raise(DISPID event, std::span<const Value> arguments) {
    const std::vector<automation::Variant> passed(arguments.begin(), arguments.end());
    const std::vector<Listener> listeners = listeners_;
    for (const Listener& listener : listeners) {
        Guarded([&] {
            automation::Invoke(listener.sink.As<IDispatch>().Get(), event, DISPATCH_METHOD, passed);
            return S_OK;
        });
    }
}

// A connection point is an object of its own, though it ends with its container.
HRESULT STDMETHODCALLTYPE Events::Point::QueryInterface(REFIID id, void** out) {
    if (out == nullptr) return E_POINTER;
    const bool known = IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IConnectionPoint);
    *out = known ? this : nullptr;
    if (known) AddRef();
    return known ? S_OK : E_NOINTERFACE;
}

HRESULT STDMETHODCALLTYPE Events::Point::GetConnectionInterface(IID* out) {
    if (out == nullptr) return E_POINTER;
    *out = events_.interface_id_;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Events::Point::GetConnectionPointContainer(IConnectionPointContainer** out) {
    if (out == nullptr) return E_POINTER;
    *out = ComPtr<IConnectionPointContainer>(&events_).Detach();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Events::Point::Advise(IUnknown* sink, DWORD* cookie) {
    if (sink == nullptr || cookie == nullptr) return E_POINTER;
    *cookie = 0;
    ComPtr<IUnknown> listener;
    if (FAILED(sink->QueryInterface(events_.interface_id_, listener.OutVoid())) &&
        FAILED(sink->QueryInterface(IID_IDispatch, listener.OutVoid())))
        return CONNECT_E_CANNOTCONNECT;
    return Guarded([&] {
        events_.listeners_.push_back({events_.last_cookie_ + 1, std::move(listener)});
        *cookie = ++events_.last_cookie_;
        return S_OK;
    });
}

HRESULT STDMETHODCALLTYPE Events::Point::Unadvise(DWORD cookie) {
    const auto gone = std::ranges::find(events_.listeners_, cookie, &Listener::cookie);
    if (gone == events_.listeners_.end()) return CONNECT_E_NOCONNECTION;
    const ComPtr<IUnknown> sink = std::move(gone->sink);  // released last: its destructor may call back
    events_.listeners_.erase(gone);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Events::Point::EnumConnections(IEnumConnections** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    return Guarded([&] {
        std::vector<HeldConnection> connections;
        for (const Listener& listener : events_.listeners_) connections.emplace_back(listener.cookie, listener.sink);
        *out = new ConnectionEnumerator(std::make_shared<const std::vector<HeldConnection>>(std::move(connections)));
        return S_OK;
    });
}

}  // namespace qmtrain::server
