// How the types of C++ members stand in automation's interfaces.
//
// Abi<T>::Type is what an interface method passes for a T, and kType says how a VARIANT names it. From() reads such a
// value, Put() fills a place without looking at what it held, Give() puts a value into a client's variable in place of
// what that held. Both leave the place as it was when they raise an error.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/dispatch.h"
#include "automation/variant.h"
#include "core/date.h"
#include "core/value.h"
#include "server/safe_array.h"

namespace qmtrain::server {

// The automation object of a C++ object, with a reference for the caller; none for none.
template <class C>
IDispatch* Wrap(std::shared_ptr<C> instance);

// The C++ object that an automation object of ours stands for. Raises TypeMismatch for any other object.
template <class C>
std::shared_ptr<C> Unwrap(IDispatch* object);

template <class T>
struct Abi;

// Numbers: a cast leads from one side to the other.
template <class T, class A, VARTYPE kVariantType>
struct NumberAbi {
    using Type = A;
    static constexpr VARTYPE kType = kVariantType;
    static T From(A passed) { return static_cast<T>(passed); }
    static void Put(T value, A& place) { place = static_cast<A>(value); }
    static void Give(T value, A& variable) { Put(value, variable); }
};
template <>
struct Abi<std::int16_t> : NumberAbi<std::int16_t, SHORT, VT_I2> {};
template <>
struct Abi<std::int32_t> : NumberAbi<std::int32_t, LONG, VT_I4> {};
template <>
struct Abi<float> : NumberAbi<float, FLOAT, VT_R4> {};

template <>
struct Abi<bool> {
    using Type = VARIANT_BOOL;
    static constexpr VARTYPE kType = VT_BOOL;
    static bool From(VARIANT_BOOL passed) { return passed != VARIANT_FALSE; }
    static void Put(bool value, VARIANT_BOOL& place) { place = value ? VARIANT_TRUE : VARIANT_FALSE; }
    static void Give(bool value, VARIANT_BOOL& variable) { Put(value, variable); }
};

template <>
struct Abi<Date> {
    using Type = DATE;
    static constexpr VARTYPE kType = VT_DATE;
    static Date From(DATE passed) { return Date{passed}; }
    static void Put(Date value, DATE& place) { place = value.days; }
    static void Give(Date value, DATE& variable) { Put(value, variable); }
};

template <>
struct Abi<std::u16string> {
    using Type = BSTR;
    static constexpr VARTYPE kType = VT_BSTR;
    static std::u16string From(BSTR passed) { return automation::FromBstr(passed); }
    static void Put(std::u16string_view value, BSTR& place) { place = automation::ToBstr(value); }
    static void Give(std::u16string_view value, BSTR& variable) {
        SysFreeString(std::exchange(variable, automation::ToBstr(value)));
    }
};

// A text that is only read needs no copy.
template <>
struct Abi<std::u16string_view> : Abi<std::u16string> {
    static std::u16string_view From(BSTR passed) {
        return {reinterpret_cast<const char16_t*>(passed), SysStringLen(passed)};
    }
};

template <class Element, VARTYPE kElementType>
struct ArrayAbi {
    using Type = SAFEARRAY*;
    static constexpr VARTYPE kType = VT_ARRAY | kElementType;
    static std::vector<Element> From(SAFEARRAY* passed) { return FromSafeArray<Element>(passed); }
    static void Put(const std::vector<Element>& value, SAFEARRAY*& place) { place = ToSafeArray(value).release(); }
    static void Give(const std::vector<Element>& value, SAFEARRAY*& variable) {
        GiveSafeArray(ToSafeArray(value), variable);
    }
};
template <>
struct Abi<std::vector<std::u16string>> : ArrayAbi<std::u16string, VT_BSTR> {};
template <>
struct Abi<Bytes> : ArrayAbi<std::uint8_t, VT_UI1> {};

template <>
struct Abi<Value> {
    using Type = VARIANT;
    static constexpr VARTYPE kType = VT_VARIANT;
    static Value From(const VARIANT& passed) {
        return automation::IsMissing(passed) ? Value() : automation::ToValue(passed);
    }
    static void Put(const Value& value, VARIANT& place) { automation::ToVariant(value, place); }
};

// What only automation has, such as an array of rows: a result.
template <>
struct Abi<automation::Variant> {
    using Type = VARIANT;
    static constexpr VARTYPE kType = VT_VARIANT;
    static void Put(automation::Variant value, VARIANT& place) { place = value.Detach(); }
};

template <class C>
struct Abi<std::shared_ptr<C>> {
    using Type = IDispatch*;
    static constexpr VARTYPE kType = VT_DISPATCH;
    static std::shared_ptr<C> From(IDispatch* passed) { return Unwrap<C>(passed); }
    static void Put(std::shared_ptr<C> value, IDispatch*& place) { place = Wrap(std::move(value)); }
};

// Any object at all.
template <class Interface, VARTYPE kVariantType>
struct ForeignAbi {
    using Type = Interface*;
    static constexpr VARTYPE kType = kVariantType;
    static automation::ComPtr<Interface> From(Interface* passed) { return automation::ComPtr<Interface>(passed); }
    static void Put(automation::ComPtr<Interface> value, Interface*& place) { place = value.Detach(); }
    static void Give(automation::ComPtr<Interface> value, Interface*& variable) {
        automation::ComPtr<Interface>::Attach(std::exchange(variable, value.Detach()));
    }
};
template <>
struct Abi<automation::ComPtr<IDispatch>> : ForeignAbi<IDispatch, VT_DISPATCH> {};
template <>
struct Abi<automation::ComPtr<IUnknown>> : ForeignAbi<IUnknown, VT_UNKNOWN> {};

// What a member fills, or leaves as it is when it gives nothing; what the variable held is not looked at.
template <class T>
struct Abi<std::optional<T>> : Abi<T> {
    static std::optional<T> From(const typename Abi<T>::Type&) { return std::nullopt; }
    static void Give(const std::optional<T>& value, typename Abi<T>::Type& variable) {
        if (value) Abi<T>::Give(*value, variable);
    }
};

template <class T>
inline constexpr bool kOnlyFilled = false;
template <class T>
inline constexpr bool kOnlyFilled<std::optional<T>> = true;

// The place of a value in a VARIANT: the VARIANT itself, or its one field that is all values'.
template <class A>
A& PlaceIn(VARIANT& variant) {
    return reinterpret_cast<A&>(V_UI1(&variant));
}
template <>
inline VARIANT& PlaceIn<VARIANT>(VARIANT& variant) {
    return variant;
}

}  // namespace qmtrain::server
