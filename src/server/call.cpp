#include "server/call.h"

#include <cstring>
#include <utility>

#include "automation/dispatch.h"
#include "core/error.h"
#include "server/safe_array.h"

namespace qmtrain::server {
namespace {

using automation::Variant;

static_assert(sizeof(Variant) == sizeof(VARIANT));

constexpr bool IsReference(VARTYPE type) {
    return (type & VT_BYREF) != 0;
}
constexpr bool IsArray(VARTYPE type) {
    return (type & VT_ARRAY) != 0;
}

// The variable that a script's argument refers to, else the argument. Only a hostile client passes a reference that
// leads nowhere or in a circle.
VARIANT& Content(VARIANTARG& argument) {
    constexpr int kMostReferences = 8;
    VARIANT* content = &argument;
    for (int i = 0; i < kMostReferences; ++i) {
        if (IsReference(V_VT(content)) && V_BYREF(content) == nullptr) break;
        if (V_VT(content) != (VT_BYREF | VT_VARIANT)) return *content;
        content = V_VARIANTREF(content);
    }
    Raise(ErrorNumber::TypeMismatch);
}

SAFEARRAY* ArrayIn(const VARIANT& content) {
    if (!IsArray(V_VT(&content))) Raise(ErrorNumber::TypeMismatch);
    return IsReference(V_VT(&content)) ? *V_ARRAYREF(&content) : V_ARRAY(&content);
}

// An array of the wanted elements; a variable that was never set counts as an empty one.
void ConvertArray(const VARIANT& content, VARTYPE wanted, VARIANT& out) {
    SAFEARRAY* copy = nullptr;
    if (V_VT(&content) != VT_EMPTY) {
        SAFEARRAY* array = ArrayIn(content);
        const auto element = static_cast<VARTYPE>(V_VT(&content) & VT_TYPEMASK);
        if (array != nullptr && element != (wanted & VT_TYPEMASK))
            copy = ConvertSafeArray(array, element, static_cast<VARTYPE>(wanted & VT_TYPEMASK)).release();
        else if (array != nullptr)
            automation::Check(SafeArrayCopy(array, &copy));
    }
    V_VT(&out) = wanted;
    V_ARRAY(&out) = copy;
}

bool IsNothing(const VARIANT& content) {
    switch (V_VT(&content)) {
        case VT_DISPATCH:
        case VT_UNKNOWN: return V_UNKNOWN(&content) == nullptr;
        case VT_BYREF | VT_DISPATCH:
        case VT_BYREF | VT_UNKNOWN: return *V_UNKNOWNREF(&content) == nullptr;
        default: return false;
    }
}

// The system calls what it cannot convert an invalid argument at times.
void CheckConversion(HRESULT code) {
    automation::Check(code == E_INVALIDARG ? DISP_E_TYPEMISMATCH : code);
}

void Change(const VARIANT& content, VARTYPE wanted, Variant& out) {
    CheckConversion(
        VariantChangeTypeEx(out.Out(), const_cast<VARIANT*>(&content), LOCALE_USER_DEFAULT, VARIANT_ALPHABOOL, wanted));
}

void Convert(VARIANT& content, VARTYPE wanted, Variant& out) {
    if (wanted == VT_VARIANT) {
        CheckConversion(VariantCopyInd(out.Out(), &content));
    } else if (IsArray(wanted)) {
        ConvertArray(content, wanted, *out.Out());
    } else if (V_VT(&content) == VT_NULL) {
        Raise(ErrorNumber::InvalidUseOfNull);
    } else if (IsNothing(content)) {
        if (wanted != VT_DISPATCH && wanted != VT_UNKNOWN) Raise(ErrorNumber::ObjectNotSet);
        V_VT(out.Out()) = wanted;
        V_UNKNOWN(out.Out()) = nullptr;
    } else {
        Change(content, wanted, out);
    }
}

bool IsNumber(VARTYPE type) {
    switch (type) {
        case VT_I1:
        case VT_UI1:
        case VT_I2:
        case VT_UI2:
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_I8:
        case VT_UI8:
        case VT_R4:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
        case VT_BOOL:
        case VT_DECIMAL: return true;
        default: return false;
    }
}

// Whether a variable of type `place` can take a value of type `given`.
bool CanTake(VARTYPE place, VARTYPE given) {
    if (place == given) return true;
    if (IsArray(given)) return place == (VT_ARRAY | VT_VARIANT);
    if (given == VT_DISPATCH) return place == VT_UNKNOWN;
    return IsNumber(given) && (IsNumber(place) || place == VT_BSTR);
}

// Whether an array that keeps its size lies in the variable.
bool HoldsFixedArray(const VARIANT& variable) {
    const VARTYPE type = V_VT(&variable);
    return IsArray(type) && !IsReference(type) && V_ARRAY(&variable) != nullptr && KeepsItsSize(V_ARRAY(&variable));
}

// Scripts can take elements only out of arrays of variants.
void GiveArray(Variant& value, VARTYPE element, SAFEARRAY*& variable) {
    const VARIANT& content = value.Get();
    const auto held = static_cast<VARTYPE>(V_VT(&content) & VT_TYPEMASK);
    if (held != element) return GiveSafeArray(ConvertSafeArray(V_ARRAY(&content), held, element), variable);
    VARIANT detached = value.Detach();
    GiveSafeArray(OwnedSafeArray(V_ARRAY(&detached)), variable);
}

// Into a variable that holds values of any type. Arrays of bytes stay as they are, for clients that take them whole;
// other arrays are converted for scripts.
void GiveToVariable(Variant& value, VARIANT& variable) {
    const VARTYPE type = V_VT(&value.Get());
    const VARTYPE held = V_VT(&variable);
    if (HoldsFixedArray(variable)) {
        if (!CanTake(held, type)) Raise(ErrorNumber::ArrayFixedOrLocked);
        return GiveArray(value, static_cast<VARTYPE>(held & VT_TYPEMASK), V_ARRAY(&variable));
    }
    Variant made;
    if (type == (VT_ARRAY | VT_BSTR)) {
        VARIANT& array = *made.Out();
        V_ARRAY(&array) = nullptr;
        GiveArray(value, VT_VARIANT, V_ARRAY(&array));
        V_VT(&array) = VT_ARRAY | VT_VARIANT;
    } else {
        made = std::move(value);
    }
    automation::Check(VariantClear(&variable));
    variable = made.Detach();
}

std::size_t SizeOf(VARTYPE type) {
    switch (type) {
        case VT_I1:
        case VT_UI1: return 1;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL: return 2;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_R4:
        case VT_ERROR: return 4;
        case VT_I8:
        case VT_UI8:
        case VT_R8:
        case VT_CY:
        case VT_DATE: return 8;
        default: return sizeof(void*);  // texts, objects
    }
}

// Into a variable of a type of its own: what it held ends.
void GiveToPlace(Variant& value, VARIANTARG& argument) {
    const auto type = static_cast<VARTYPE>(V_VT(&argument) & ~VT_BYREF);
    if (IsArray(type)) return GiveArray(value, static_cast<VARTYPE>(type & VT_TYPEMASK), *V_ARRAYREF(&argument));
    if (type != V_VT(&value.Get())) {
        Variant changed;
        Change(value.Get(), type, changed);
        value = std::move(changed);
    }
    VARIANT content = value.Detach();
    if (type == VT_DECIMAL) {  // overlaps the type
        V_VT(&content) = VT_EMPTY;
        *V_DECIMALREF(&argument) = V_DECIMAL(&content);
        return;
    }
    VARIANT old;
    VariantInit(&old);
    V_VT(&old) = type;
    std::memcpy(&V_UI1(&old), V_BYREF(&argument), SizeOf(type));
    std::memcpy(V_BYREF(&argument), &V_UI1(&content), SizeOf(type));
    VariantClear(&old);
}

ULONGLONG BytesOf(const Variant& value) {
    return V_UI8(&value.Get());
}

// The result code for a client whose argument raised the error; S_OK for an error that is no fault of the argument.
HRESULT CodeOfArgument(const AutomationError& error) {
    if (error.Is(ErrorNumber::TypeMismatch)) return DISP_E_TYPEMISMATCH;
    return error.Is(ErrorNumber::Overflow) ? DISP_E_OVERFLOW : S_OK;
}

}  // namespace

Arguments::Arguments(const Member& member, const DISPPARAMS& given)
    : member_(member), given_(member.arguments.size()), values_(member.arguments.size()) {
    Place(given);
    for (std::size_t i = 0; i < values_.size(); ++i) {
        try {
            Prepare(member.arguments[i], member.method->parameters[i], given_[i], values_[i]);
        } catch (const AutomationError& error) {
            if (const HRESULT code = CodeOfArgument(error); code != S_OK) throw ArgumentError{code, given_[i].index};
            throw;
        }
    }
}

// Clients pass arguments backwards; the first ones of these may have a name, which is the place as a number.
void Arguments::Place(const DISPPARAMS& given) {
    if (given.cArgs > given_.size()) throw ArgumentError{DISP_E_BADPARAMCOUNT, 0};
    for (UINT i = 0; i < given.cArgs; ++i) {
        std::size_t place = given.cArgs - 1 - i;
        if (i < given.cNamedArgs) {
            const DISPID name = given.rgdispidNamedArgs[i];
            place = name == DISPID_PROPERTYPUT ? given_.size() - 1 : static_cast<std::size_t>(name);
        }
        if (place >= given_.size() || given_[place].argument != nullptr) throw ArgumentError{DISP_E_PARAMNOTFOUND, i};
        given_[place] = {&given.rgvarg[i], i};
    }
}

void Arguments::Prepare(const Argument& declared, const Passing& passing, Given& given, Variant& value) {
    VARIANT fallback = declared.fallback.Get();
    VARIANT& content = given.argument != nullptr ? Content(*given.argument) : fallback;
    const bool left_out = given.argument == nullptr || automation::IsMissing(content);
    if (left_out && !declared.optional) throw ArgumentError{DISP_E_PARAMNOTOPTIONAL, given.index};
    const VARTYPE type = V_VT(&content);
    if (passing.is_written && IsReference(type) && !CanTake(static_cast<VARTYPE>(type & ~VT_BYREF), passing.type))
        throw ArgumentError{DISP_E_TYPEMISMATCH, given.index};
    if (passing.is_written && given.argument != nullptr && &content != given.argument && HoldsFixedArray(content) &&
        !CanTake(type, passing.type))
        Raise(ErrorNumber::ArrayFixedOrLocked);
    if (passing.is_read) {
        Convert(left_out ? fallback : content, passing.type, value);
    } else {
        VARIANT& place = *value.Out();
        V_UI8(&place) = 0;
        V_VT(&place) = passing.type;
    }
    given.before = BytesOf(value);
}

void Arguments::WriteBack() {
    for (std::size_t i = 0; i < values_.size(); ++i) {
        const Given& given = given_[i];
        if (!member_.method->parameters[i].is_written || given.argument == nullptr) continue;
        if (BytesOf(values_[i]) == given.before) continue;
        VARIANT& variable = Content(*given.argument);
        if (IsReference(V_VT(&variable)))
            GiveToPlace(values_[i], variable);
        else if (&variable != given.argument)
            GiveToVariable(values_[i], variable);
    }
}

}  // namespace qmtrain::server
