// What turns a C++ class into an automation class: a table with one row for each member of its interface.
//
// A row names the member once. From its C++ signature come the method of the dual interface, which clients that know
// the type library call, and the call by name, which converts its arguments first. The rows stand in the order of the
// interface's methods; that their signatures agree is checked by the compiler, their names when the class is first
// used.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "server/abi.h"

namespace qmtrain::server {

class Object;

// A method of the interface.
struct Method {
    const char16_t* name;
    INVOKEKIND kind;
    void* entry;                      // for the interface's table of methods
    std::vector<VARTYPE> parameters;  // with VT_BYREF for one that is written back
    VARTYPE result;                   // VT_VOID for none

    // Calls with arguments of exactly these types; `result` is Empty before.
    HRESULT (*call)(Object& object, VARIANT* arguments, VARIANT& result);
};

struct Class {
    const char16_t* name;
    const CLSID& id;
    const IID& interface_id;
    std::vector<Method> methods;
    std::shared_ptr<void> (*create)() = nullptr;  // none: only other objects make it
    const IID* events = nullptr;                  // the interface of what its objects raise, if they do
    void (*connect)(Object& object) = nullptr;    // lets the C++ object raise its events
    std::vector<void*> entries = {};              // the whole table of methods; made with the first object
};

// The class of the objects that wrap a C; each has its table in classes.cpp.
template <class C>
const Class& ClassOf();

// The exception that is being handled as a result code, with the error's source and description as the thread's error
// information.
HRESULT AnswerException(const Object& object) noexcept;

// Runs what a client has called.
template <class Body>
HRESULT Answer(const Object& object, Body body) noexcept {
    try {
        body();
        return S_OK;
    } catch (...) {
        return AnswerException(object);
    }
}

// The C++ object of an automation object.
const std::shared_ptr<void>& InstanceOf(const Object& object);

// How a parameter of a C++ member is passed: a reference is one in the interface too.
template <class P>
struct Parameter {
    using Held = std::remove_cvref_t<P>;
    using Passed = typename Abi<Held>::Type;
    static constexpr VARTYPE kType = Abi<Held>::kType;

    explicit Parameter(Passed passed) : held(Abi<Held>::From(passed)) {}
    P Get() { return std::move(held); }
    void WriteBack() {}
    static Passed FromVariant(VARIANT& argument) { return PlaceIn<Passed>(argument); }

    Held held;
};

template <class P>
struct Parameter<P&> {
    using Held = std::remove_const_t<P>;
    using Passed = typename Abi<Held>::Type*;
    static constexpr VARTYPE kType = Abi<Held>::kType | (std::is_const_v<P> ? 0 : VT_BYREF);

    explicit Parameter(Passed passed) : place(passed) {
        if (place != nullptr) held = Abi<Held>::From(*place);
    }
    P& Get() { return held; }
    void WriteBack() {
        if (std::is_const_v<P> || place == nullptr) return;
        Abi<Held>::Free(*place);
        Abi<Held>::Put(std::move(held), *place);
    }
    static Passed FromVariant(VARIANT& argument) { return &PlaceIn<typename Abi<Held>::Type>(argument); }

    Held held{};
    Passed place;
};

template <class... P>
struct List {};

// The signature of a member, or of a function that takes the object, or the pointer that owns it, first.
template <class F>
struct Signature : Signature<decltype(+F())> {};
template <class R, class C, class... P>
struct Signature<R (C::*)(P...)> {
    using Result = std::remove_cvref_t<R>;
    using Parameters = List<P...>;
};
template <class R, class C, class... P>
struct Signature<R (C::*)(P...) const> : Signature<R (C::*)(P...)> {};
template <class R, class C, class... P>
struct Signature<R (*)(C, P...)> {
    using Result = std::remove_cvref_t<R>;
    using Parameters = List<P...>;
};

template <class C, auto kFunction, class R, class... P>
R CallOn(const std::shared_ptr<void>& instance, P&&... arguments) {
    const auto object = std::static_pointer_cast<C>(instance);
    if constexpr (std::is_invocable_v<decltype(kFunction), const std::shared_ptr<C>&, P...>)
        return std::invoke(kFunction, object, std::forward<P>(arguments)...);
    else
        return std::invoke(kFunction, *object, std::forward<P>(arguments)...);
}

// Two types of an interface's method are the same, or both pass objects.
template <class Declared, class Offered>
constexpr bool SamePassed() {
    if constexpr (std::is_pointer_v<Declared> && std::is_pointer_v<Offered>)
        return SamePassed<std::remove_pointer_t<Declared>, std::remove_pointer_t<Offered>>();
    else
        return std::is_same_v<Declared, Offered> ||
               (std::is_base_of_v<IDispatch, Declared> && std::is_same_v<Offered, IDispatch>);
}

template <class Declared>
struct DeclaredMethod;
template <class I, class... D>
struct DeclaredMethod<HRESULT (STDMETHODCALLTYPE I::*)(D...)> {
    template <class... Offered>
    static constexpr bool Fits() {
        if constexpr (sizeof...(D) == sizeof...(Offered))
            return (SamePassed<D, Offered>() && ...);
        else
            return false;
    }
};

// A method for the member function or function `kFunction`. `Result` is the value that it gives to clients.
template <class C, auto kFunction, class Declared, class Result, class... P>
struct Entry {
    using ResultPlace = typename Abi<Result>::Type;
    static_assert(DeclaredMethod<Declared>::template Fits<typename Parameter<P>::Passed..., ResultPlace*>(),
                  "the type library declares the member otherwise");

    static HRESULT STDMETHODCALLTYPE Call(Object* object, typename Parameter<P>::Passed... passed,
                                          ResultPlace* result) {
        if (result == nullptr) return E_POINTER;
        *result = ResultPlace();
        return Answer(*object, [&] {
            std::tuple<Parameter<P>...> parameters(passed...);
            std::apply(
                [&](auto&... parameter) {
                    Abi<Result>::Put(CallOn<C, kFunction, Result>(InstanceOf(*object), parameter.Get()...), *result);
                    (parameter.WriteBack(), ...);
                },
                parameters);
        });
    }

    template <std::size_t... I>
    static HRESULT CallWith(Object& object, VARIANT* arguments, VARIANT& result, std::index_sequence<I...>) {
        const HRESULT code = Call(&object, Parameter<P>::FromVariant(arguments[I])..., &PlaceIn<ResultPlace>(result));
        if (SUCCEEDED(code) && Abi<Result>::kType != VT_VARIANT) V_VT(&result) = Abi<Result>::kType;
        return code;
    }

    static HRESULT CallByName(Object& object, VARIANT* arguments, VARIANT& result) {
        return CallWith(object, arguments, result, std::index_sequence_for<P...>());
    }

    static constexpr VARTYPE kResult = Abi<Result>::kType;
};

template <class C, auto kFunction, class Declared, class... P>
struct Entry<C, kFunction, Declared, void, P...> {
    static_assert(DeclaredMethod<Declared>::template Fits<typename Parameter<P>::Passed...>(),
                  "the type library declares the member otherwise");

    static HRESULT STDMETHODCALLTYPE Call(Object* object, typename Parameter<P>::Passed... passed) {
        return Answer(*object, [&] {
            std::tuple<Parameter<P>...> parameters(passed...);
            std::apply(
                [&](auto&... parameter) {
                    CallOn<C, kFunction, void>(InstanceOf(*object), parameter.Get()...);
                    (parameter.WriteBack(), ...);
                },
                parameters);
        });
    }

    template <std::size_t... I>
    static HRESULT CallWith(Object& object, VARIANT* arguments, std::index_sequence<I...>) {
        return Call(&object, Parameter<P>::FromVariant(arguments[I])...);
    }

    static HRESULT CallByName(Object& object, VARIANT* arguments, VARIANT&) {
        return CallWith(object, arguments, std::index_sequence_for<P...>());
    }

    static constexpr VARTYPE kResult = VT_VOID;
};

// The row of a member of class C that `kFunction` carries out and the interface declares as `kDeclared`.
template <class C, auto kFunction, auto kDeclared>
Method Row(const char16_t* name, INVOKEKIND kind) {
    using Called = Signature<decltype(kFunction)>;
    const auto make = [&]<class... P>(List<P...>) {
        using Made = Entry<C, kFunction, decltype(kDeclared), typename Called::Result, P...>;
        return Method{name,
                      kind,
                      reinterpret_cast<void*>(&Made::Call),
                      {Parameter<P>::kType...},
                      Made::kResult,
                      &Made::CallByName};
    };
    return make(typename Called::Parameters());
}

// What a property's setter takes.
template <class Got>
using SetterArgument = std::conditional_t<std::is_same_v<std::remove_cvref_t<Got>, std::u16string>, std::u16string_view,
                                          std::remove_cvref_t<Got>>;

}  // namespace qmtrain::server

// Rows of a table. Within the table's function C is the class and I its interface.
#define QMTRAIN_METHOD(name) Row<C, &C::name, &I::name>(u"" #name, INVOKE_FUNC)
#define QMTRAIN_CALL(name, function) Row<C, function, &I::name>(u"" #name, INVOKE_FUNC)
#define QMTRAIN_READ(name, function) Row<C, function, &I::get_##name>(u"" #name, INVOKE_PROPERTYGET)
#define QMTRAIN_WRITE(name, function) Row<C, function, &I::put_##name>(u"" #name, INVOKE_PROPERTYPUT)
#define QMTRAIN_WRITE_REFERENCE(name, function) Row<C, function, &I::putref_##name>(u"" #name, INVOKE_PROPERTYPUTREF)
#define QMTRAIN_READ_ONLY(name) QMTRAIN_READ(name, [](const C& object) { return object.name(); })
#define QMTRAIN_PROPERTY(name)                                                                                  \
    QMTRAIN_READ_ONLY(name), QMTRAIN_WRITE(name, [](C& object, SetterArgument<decltype(object.name())> value) { \
        object.name(std::move(value));                                                                          \
    })
