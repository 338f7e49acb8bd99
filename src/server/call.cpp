#include "server/call.h"

#include <cstring>
#include <utility>

#include "core/error.h"
#include "server/safe_array.h"

namespace qmtrain::server {
namespace {

using automation::Variant;

static_assert(sizeof(Variant) == sizeof(VARIANT));

// The variable that a script's argument refers to, else the argument.
VARIANT& Content(VARIANTARG& argument) {
    VARIANT* content = &argument;
    while (V_VT(content) == (VT_BYREF | VT_VARIANT)) content = V_VARIANTREF(content);
    return *content;
}

SAFEARRAY* ArrayIn(const VARIANT& content) {
    if ((V_VT(&content) & VT_ARRAY) == 0) Raise(ErrorNumber::TypeMismatch);
    return (V_VT(&content) & VT_BYREF) != 0 ? *V_ARRAYREF(&content) : V_ARRAY(&content);
}

// An array of the wanted elements; a variable that was never set counts as an empty one.
void ConvertArray(const VARIANT& content, VARTYPE wanted, VARIANT& out) {
    SAFEARRAY* copy = nullptr;
    if (V_VT(&content) != VT_EMPTY) {
        SAFEARRAY* array = ArrayIn(content);
        const auto element = static_cast<VARTYPE>(V_VT(&content) & VT_TYPEMASK);
        if (array != nullptr && element != (wanted & VT_TYPEMASK))
            copy = ConvertSafeArray(array, element, static_cast<VARTYPE>(wanted & VT_TYPEMASK));
        else if (array != nullptr)
            automation::Check(SafeArrayCopy(array, &copy));
    }
    V_VT(&out) = wanted;
    V_ARRAY(&out) = copy;
}

bool IsNull(const VARIANT& content) {
    return V_VT(&content) == VT_NULL;
}

void Convert(VARIANT& content, VARTYPE wanted, Variant& out) {
    if (wanted == VT_VARIANT) {
        automation::Check(VariantCopyInd(out.Out(), &content));
        return;
    }
    if ((wanted & VT_ARRAY) != 0) {
        ConvertArray(content, wanted, *out.Out());
        return;
    }
    if (IsNull(content)) Raise(ErrorNumber::InvalidUseOfNull);
    automation::Check(VariantChangeTypeEx(out.Out(), &content, LOCALE_USER_DEFAULT, VARIANT_ALPHABOOL, wanted));
}

// Scripts can take elements only out of arrays of variants; bytes stay what they are, for whoever takes them whole.
void GiveToVariable(Variant& value, VARIANT& variable) {
    VARIANT content = value.Detach();
    if (V_VT(&content) == (VT_ARRAY | VT_BSTR) && V_ARRAY(&content) != nullptr) {
        SAFEARRAY* texts = V_ARRAY(&content);
        V_ARRAY(&content) = ConvertSafeArray(texts, VT_BSTR, VT_VARIANT);
        V_VT(&content) = VT_ARRAY | VT_VARIANT;
        SafeArrayDestroy(texts);
    }
    VariantClear(&variable);
    variable = content;
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
        default: return sizeof(void*);  // texts, objects, arrays
    }
}

// Into a variable of a type of its own: what it held ends.
void GiveToPlace(Variant& value, VARIANTARG& argument) {
    const auto type = static_cast<VARTYPE>(V_VT(&argument) & ~VT_BYREF);
    if (type != V_VT(&value.Get())) {
        VARIANT content = value.Get();
        Variant changed;
        automation::Check(VariantChangeTypeEx(changed.Out(), &content, LOCALE_USER_DEFAULT, VARIANT_ALPHABOOL, type));
        value = std::move(changed);
    }
    VARIANT old;
    VariantInit(&old);
    V_VT(&old) = type;
    void* place = V_BYREF(&argument);
    const std::size_t size = SizeOf(type);
    std::memcpy(&V_UI1(&old), place, size);
    VariantClear(&old);
    VARIANT content = value.Detach();
    std::memcpy(place, &V_UI1(&content), size);
}

}  // namespace

Arguments::Arguments(const Member& member, const DISPPARAMS& given)
    : member_(member), given_(member.arguments.size()), values_(member.arguments.size()) {
    Place(given);
    for (std::size_t i = 0; i < values_.size(); ++i) {
        const Argument& argument = member.arguments[i];
        const auto wanted = static_cast<VARTYPE>(member.method->parameters[i] & ~VT_BYREF);
        const bool left_out = given_[i].argument == nullptr || automation::IsMissing(Content(*given_[i].argument));
        if (left_out && !argument.optional) throw ArgumentError{DISP_E_PARAMNOTOPTIONAL, given_[i].index};
        VARIANT fallback = argument.fallback.Get();
        try {
            Convert(left_out ? fallback : Content(*given_[i].argument), wanted, values_[i]);
        } catch (const AutomationError& error) {
            if (error.Is(ErrorNumber::TypeMismatch)) throw ArgumentError{DISP_E_TYPEMISMATCH, given_[i].index};
            if (error.Is(ErrorNumber::Overflow)) throw ArgumentError{DISP_E_OVERFLOW, given_[i].index};
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

void Arguments::WriteBack() {
    for (std::size_t i = 0; i < values_.size(); ++i) {
        if ((member_.method->parameters[i] & VT_BYREF) == 0 || given_[i].argument == nullptr) continue;
        VARIANTARG& argument = *given_[i].argument;
        VARIANT& variable = Content(argument);
        if (&variable != &argument && (V_VT(&variable) & VT_BYREF) == 0)
            GiveToVariable(values_[i], variable);
        else if ((V_VT(&variable) & VT_BYREF) != 0)
            GiveToPlace(values_[i], variable);
    }
}

}  // namespace qmtrain::server
