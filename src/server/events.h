// Who listens to the events of an object.
#pragma once

#include <span>
#include <vector>

#include <ocidl.h>
#include <olectl.h>

#include "automation/com_ptr.h"
#include "automation/unknown.h"
#include "core/value.h"

namespace qmtrain::server {

class Events final : public automation::Face<IConnectionPointContainer> {
public:
    // `interface_id` is that of the listeners.
    Events(IUnknown* owner, const IID& interface_id);

    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** out) override;
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID id, IConnectionPoint** out) override;

    // Calls each listener. Errors of a listener are ignored.
    void Raise(DISPID event, std::span<const Value> arguments);

private:
    struct Listener {
        DWORD cookie;
        automation::ComPtr<IUnknown> sink;
    };

    class Point final : public automation::Face<IConnectionPoint> {
    public:
        Point(Events& events, IUnknown* owner) : Face(owner), events_(events) {}

        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override;
        HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* out) override;
        HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** out) override;
        HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override;
        HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override;
        HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** out) override;

    private:
        Events& events_;
    };

    const IID& interface_id_;
    std::vector<Listener> listeners_;
    DWORD last_cookie_ = 0;
    Point point_;
};

}  // namespace qmtrain::server
