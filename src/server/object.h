// An automation object: what clients hold of a C++ object.
//
// Its beginning is a table of methods as an interface's: IUnknown's, IDispatch's, then those of its class.
#pragma once

#include <memory>
#include <span>

#include "automation/dispatch.h"
#include "core/error.h"
#include "server/class.h"

namespace qmtrain::server {

class Events;
class ClassInformation;

// The object of an instance: while clients hold it, the same for each call. With a reference for the caller.
IDispatch* WrapInstance(const Class& made_of, std::shared_ptr<void> instance);

// The instance that an object of the class stands for; none for any other object.
std::shared_ptr<void> UnwrapInstance(const Class& made_of, IDispatch* object);

// Raises an event for all listeners of the object, whose class has events.
void RaiseEvent(ServedObject& object, DISPID event, std::span<const Value> arguments);

template <class C>
IDispatch* Wrap(std::shared_ptr<C> instance) {
    return instance ? WrapInstance(ClassOf<C>(), std::move(instance)) : nullptr;
}

template <class C>
std::shared_ptr<C> Unwrap(IDispatch* object) {
    if (object == nullptr) return nullptr;
    auto instance = UnwrapInstance(ClassOf<C>(), object);
    if (!instance) Raise(ErrorNumber::TypeMismatch);
    return std::static_pointer_cast<C>(instance);
}

}  // namespace qmtrain::server
