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

class ServedObject;
struct Class;

// How an argument is passed.
struct Passing {
    VARTYPE type;
    bool is_read;     // the method looks at what it is given
    bool is_written;  // the method may put something into it
};

// A method of the interface.
struct Method {
    const char16_t* name;
    INVOKEKIND kind;
    void* entry;  // for the interface's table of methods
    std::vector<Passing> parameters;

    // Whether the result is an object that further arguments are for: its class has a default member. None: it is not
    // an object.
    bool (*leads_on)();

    // Calls with arguments of exactly these types; `result` is Empty before.
    HRESULT (*call)(ServedObject& object, VARIANT* arguments, VARIANT& result);

    // The method that takes its place in a call by name with more arguments than it has, of which the first ones are
    // the same: what has been published keeps its arguments. None: there is no such method.
    const char16_t* with_more = nullptr;
};

using Create = std::shared_ptr<void> (*)();
using Connect = void (*)(ServedObject& object);

struct Class {
    // `create` is none for a class whose objects only others make; `events` is the interface of what its objects raise,
    // `connect` lets the C++ object raise them.
    Class(const char16_t* name, const CLSID& id, const IID& interface_id, std::vector<Method> methods,
          Create create = nullptr, const IID* events = nullptr, Connect connect = nullptr);
    Class(const Class&) = delete;
    Class& operator=(const Class&) = delete;

    const char16_t* name;
    const CLSID& id;
    const IID& interface_id;
    std::vector<Method> methods;
    Create create;
    const IID* events;
    Connect connect;
    std::vector<void*> entries;  // the whole table of methods, as clients find it at the beginning of an object
};

// The class of the objects that wrap a C; each has its table in classes.cpp.
template <class C>
const Class& ClassOf();

// The exception that is being handled as a result code, with the error's source and description as the thread's error
// information.
HRESULT AnswerException(const ServedObject& object) noexcept;

// Keeps an object alive during a client's call: the client may release it meanwhile, from an event for example.
class Held {
public:
    explicit Held(ServedObject& object);
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held();

private:
    ServedObject& object_;
};

// Runs what a client has called.
template <class Body>
HRESULT Answer(ServedObject& object, Body body) noexcept {
    const Held held(object);
    try {
        body();
        return S_OK;
    } catch (...) {
        return AnswerException(object);
    }
}

// Whether objects of the class have a default member.
bool HasDefaultMember(const Class& described);

// The C++ object of an automation object.
const std::shared_ptr<void>& InstanceOf(const ServedObject& object);

// How a parameter of a C++ member is passed: a reference is one in the interface too.
template <class P>
struct Parameter {
    using Content = std::remove_cvref_t<P>;
    using Passed = typename Abi<Content>::Type;
    static constexpr Passing kPassing{Abi<Content>::kType, true, false};

    explicit Parameter(Passed passed) : content(Abi<Content>::From(passed)) {}
    P Get() { return std::move(content); }
    void WriteBack() {}
    static Passed FromVariant(VARIANT& argument) { return PlaceIn<Passed>(argument); }

    Content content;
};

template <class P>
struct Parameter<P&> {
    using Content = std::remove_const_t<P>;
    using Passed = typename Abi<Content>::Type*;
    static constexpr Passing kPassing{Abi<Content>::kType, !kOnlyFilled<Content>, !std::is_const_v<P>};

    explicit Parameter(Passed passed) : variable(passed) {
        if (variable != nullptr) content = Abi<Content>::From(*variable);
    }
    P& Get() { return content; }
    void WriteBack() {
        if constexpr (!std::is_const_v<P>) {
            if (variable != nullptr) Abi<Content>::Give(std::move(content), *variable);
        }
    }
    static Passed FromVariant(VARIANT& argument) { return &PlaceIn<typename Abi<Content>::Type>(argument); }

    Content content{};
    Passed variable;
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

    static HRESULT STDMETHODCALLTYPE Call(ServedObject* object, typename Parameter<P>::Passed... passed,
                                          ResultPlace* result) {
        if (result == nullptr) return E_POINTER;
        *result = ResultPlace();
        return Answer(*object, [&] {
            std::tuple<Parameter<P>...> parameters(passed...);
            std::apply(
                [&](auto&... parameter) {
                    Result made = CallOn<C, kFunction, Result>(InstanceOf(*object), parameter.Get()...);
                    (parameter.WriteBack(), ...);
                    Abi<Result>::Put(std::move(made), *result);
                },
                parameters);
        });
    }

    template <std::size_t... I>
    static HRESULT CallWith(ServedObject& object, VARIANT* arguments, VARIANT& result, std::index_sequence<I...>) {
        const HRESULT code = Call(&object, Parameter<P>::FromVariant(arguments[I])..., &PlaceIn<ResultPlace>(result));
        if (SUCCEEDED(code) && Abi<Result>::kType != VT_VARIANT) V_VT(&result) = Abi<Result>::kType;
        return code;
    }

    static HRESULT CallByName(ServedObject& object, VARIANT* arguments, VARIANT& result) {
        return CallWith(object, arguments, result, std::index_sequence_for<P...>());
    }
};

template <class C, auto kFunction, class Declared, class... P>
struct Entry<C, kFunction, Declared, void, P...> {
    static_assert(DeclaredMethod<Declared>::template Fits<typename Parameter<P>::Passed...>(),
                  "the type library declares the member otherwise");

    static HRESULT STDMETHODCALLTYPE Call(ServedObject* object, typename Parameter<P>::Passed... passed) {
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
    static HRESULT CallWith(ServedObject& object, VARIANT* arguments, std::index_sequence<I...>) {
        return Call(&object, Parameter<P>::FromVariant(arguments[I])...);
    }

    static HRESULT CallByName(ServedObject& object, VARIANT* arguments, VARIANT&) {
        return CallWith(object, arguments, std::index_sequence_for<P...>());
    }
};

// Method::leads_on for a result.
template <class Result>
inline constexpr bool (*kLeadsOn)() = nullptr;
template <class C>
inline constexpr bool (*kLeadsOn<std::shared_ptr<C>>)() = [] { return HasDefaultMember(ClassOf<C>()); };
template <>
inline constexpr bool (*kLeadsOn<automation::ComPtr<IDispatch>>)() = [] { return true; };

// The row of a member of class C that `kFunction` carries out and the interface declares as `kDeclared`.
template <class C, auto kFunction, auto kDeclared>
Method Row(const char16_t* name, INVOKEKIND kind) {
    using Called = Signature<decltype(kFunction)>;
    const auto make = [&]<class... P>(List<P...>) {
        using Made = Entry<C, kFunction, decltype(kDeclared), typename Called::Result, P...>;
        return Method{name,
                      kind,
                      reinterpret_cast<void*>(&Made::Call),
                      {Parameter<P>::kPassing...},
                      kLeadsOn<typename Called::Result>,
                      &Made::CallByName};
    };
    return make(typename Called::Parameters());
}

inline Method WithMore(Method method, const char16_t* with_more) {
    method.with_more = with_more;
    return method;
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
