#include "automation/variant.h"

#include <cstring>
#include <limits>

#include "automation/com_ptr.h"
#include "automation/dispatch.h"
#include "core/error.h"

namespace qmtrain::automation {
namespace {

// Of a whole number beyond the range of a Long.
Value DecimalOf(bool negative, std::uint64_t magnitude) {
    return Decimal{negative, 0, 0, magnitude};
}

Value WholeNumber(std::int64_t number) {
    using Long = std::numeric_limits<std::int32_t>;
    if (number >= Long::min() && number <= Long::max()) return static_cast<std::int32_t>(number);
    const auto bits = static_cast<std::uint64_t>(number);
    return DecimalOf(number < 0, number < 0 ? 0 - bits : bits);
}

Value WholeNumber(std::uint64_t number) {
    return number <= std::numeric_limits<std::int32_t>::max() ? Value(static_cast<std::int32_t>(number))
                                                              : DecimalOf(false, number);
}

Value FromDecimal(const DECIMAL& decimal) {
    return Decimal{(decimal.sign & DECIMAL_NEG) != 0, decimal.scale, static_cast<std::uint32_t>(decimal.Hi32),
                   decimal.Lo64};
}

DECIMAL ToDecimal(const Decimal& value) {
    DECIMAL decimal{};
    decimal.sign = value.negative ? DECIMAL_NEG : 0;
    decimal.scale = value.scale;
    decimal.Hi32 = value.high;
    decimal.Lo64 = value.low;
    return decimal;
}

class LockedArray {
public:
    explicit LockedArray(SAFEARRAY* array) : array_(array) { Check(SafeArrayAccessData(array_, &data_)); }
    LockedArray(const LockedArray&) = delete;
    LockedArray& operator=(const LockedArray&) = delete;
    ~LockedArray() { SafeArrayUnaccessData(array_); }

    std::uint8_t* Data() const { return static_cast<std::uint8_t*>(data_); }

private:
    SAFEARRAY* array_;
    void* data_ = nullptr;
};

Value FromArray(SAFEARRAY* array) {
    if (array == nullptr) return Bytes();
    if (SafeArrayGetDim(array) != 1) Raise(ErrorNumber::TypeMismatch);
    const LockedArray locked(array);
    const ULONG count = array->rgsabound[0].cElements;
    if (locked.Data() == nullptr && count != 0) Raise(ErrorNumber::TypeMismatch);  // its elements were destroyed
    return Bytes(locked.Data(), locked.Data() + count);
}

SAFEARRAY* ToArray(const Bytes& bytes) {
    SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
    if (array == nullptr) Check(E_OUTOFMEMORY);
    if (!bytes.empty()) std::memcpy(LockedArray(array).Data(), bytes.data(), bytes.size());
    return array;
}

// An object's default property may be another object, and so on; one that leads back to itself is no value.
Value FromObject(IDispatch* object) {
    constexpr int kMostObjects = 8;
    Variant content(object);
    for (int i = 0; i < kMostObjects; ++i) {
        const VARIANT& held = content.Get();
        if (held.vt != VT_DISPATCH) return content.ToValue();
        if (held.pdispVal == nullptr) Raise(ErrorNumber::ObjectNotSet);
        const Variant got = Invoke(held.pdispVal, DISPID_VALUE, DISPATCH_PROPERTYGET | DISPATCH_METHOD, {});
        VARIANT referring = got.Get();
        Variant direct;
        Check(VariantCopyInd(direct.Out(), &referring));
        content = std::move(direct);
    }
    Raise(ErrorNumber::TypeMismatch);
}

// What lies where the VARIANT refers to, as a VARIANT that owns nothing.
VARIANT Referred(const VARIANT& reference) {
    VARIANT content;
    VariantInit(&content);
    const VARTYPE type = reference.vt & ~VT_BYREF;
    if (reference.byref == nullptr) Raise(ErrorNumber::TypeMismatch);
    if (type == VT_DECIMAL) {
        content.decVal = *reference.pdecVal;
        content.vt = type;
        return content;
    }
    content.vt = type;
    if ((type & VT_ARRAY) != 0) {
        content.parray = *reference.pparray;
        return content;
    }
    switch (type) {
        case VT_I1:
        case VT_UI1: content.bVal = *reference.pbVal; break;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL: content.iVal = *reference.piVal; break;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_ERROR: content.lVal = *reference.plVal; break;
        case VT_I8:
        case VT_UI8: content.llVal = *reference.pllVal; break;
        case VT_R4: content.fltVal = *reference.pfltVal; break;
        case VT_R8:
        case VT_DATE: content.dblVal = *reference.pdblVal; break;
        case VT_CY: content.cyVal = *reference.pcyVal; break;
        case VT_BSTR: content.bstrVal = *reference.pbstrVal; break;
        case VT_DISPATCH:
        case VT_UNKNOWN: content.punkVal = *reference.ppunkVal; break;
        default: Raise(ErrorNumber::TypeMismatch);
    }
    return content;
}

}  // namespace

std::u16string FromBstr(const OLECHAR* text) {
    if (text == nullptr) return {};
    return {text, text + SysStringLen(const_cast<BSTR>(text))};
}

BSTR ToBstr(std::u16string_view text) {
    BSTR copy = SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()), static_cast<UINT>(text.size()));
    if (copy == nullptr) Check(E_OUTOFMEMORY);
    return copy;
}

Value ToValue(const VARIANT& variant) {
    // A reference may lead to a VARIANT and that to its content, but no further.
    if (variant.vt == (VT_BYREF | VT_VARIANT)) {
        const VARIANT* inner = variant.pvarVal;
        if (inner == nullptr || inner->vt == (VT_BYREF | VT_VARIANT)) Raise(ErrorNumber::TypeMismatch);
        return ToValue(*inner);
    }
    if ((variant.vt & VT_BYREF) != 0) return ToValue(Referred(variant));
    switch (variant.vt) {
        case VT_EMPTY: return {};
        case VT_NULL: return Null{};
        case VT_BOOL: return variant.boolVal != VARIANT_FALSE;
        case VT_UI1: return std::uint8_t{variant.bVal};
        case VT_I1: return static_cast<std::int16_t>(static_cast<signed char>(variant.cVal));
        case VT_I2: return std::int16_t{variant.iVal};
        case VT_UI2: return std::int32_t{variant.uiVal};
        case VT_I4:
        case VT_INT: return static_cast<std::int32_t>(variant.lVal);
        case VT_UI4:
        case VT_UINT: return WholeNumber(std::uint64_t{variant.ulVal});
        case VT_I8: return WholeNumber(std::int64_t{variant.llVal});
        case VT_UI8: return WholeNumber(std::uint64_t{variant.ullVal});
        case VT_R4: return variant.fltVal;
        case VT_R8: return variant.dblVal;
        case VT_CY: return Currency{variant.cyVal.int64};
        case VT_DATE: return Date{variant.date};
        case VT_DECIMAL: return FromDecimal(variant.decVal);
        case VT_BSTR: return FromBstr(variant.bstrVal);
        case VT_ARRAY | VT_UI1: return FromArray(variant.parray);
        case VT_DISPATCH: return FromObject(variant.pdispVal);
        default: Raise(ErrorNumber::TypeMismatch);
    }
}

void ToVariant(const Value& value, VARIANT& variant) {
    VariantInit(&variant);
    VARTYPE type = VT_EMPTY;
    switch (value.GetType()) {
        case Value::Type::Empty: break;
        case Value::Type::Null: type = VT_NULL; break;
        case Value::Type::Boolean:
            variant.boolVal = value.As<bool>() ? VARIANT_TRUE : VARIANT_FALSE;
            type = VT_BOOL;
            break;
        case Value::Type::Byte:
            variant.bVal = value.As<std::uint8_t>();
            type = VT_UI1;
            break;
        case Value::Type::Integer:
            variant.iVal = value.As<std::int16_t>();
            type = VT_I2;
            break;
        case Value::Type::Long:
            variant.lVal = value.As<std::int32_t>();
            type = VT_I4;
            break;
        case Value::Type::Single:
            variant.fltVal = value.As<float>();
            type = VT_R4;
            break;
        case Value::Type::Double:
            variant.dblVal = value.As<double>();
            type = VT_R8;
            break;
        case Value::Type::Currency:
            variant.cyVal.int64 = value.As<Currency>().scaled;
            type = VT_CY;
            break;
        case Value::Type::Date:
            variant.date = value.As<Date>().days;
            type = VT_DATE;
            break;
        case Value::Type::Decimal:
            variant.decVal = ToDecimal(value.As<Decimal>());
            type = VT_DECIMAL;
            break;
        case Value::Type::Text:
            variant.bstrVal = ToBstr(value.Text());
            type = VT_BSTR;
            break;
        case Value::Type::Binary:
            variant.parray = ToArray(value.Binary());
            type = VT_ARRAY | VT_UI1;
            break;
    }
    variant.vt = type;  // last: a decimal overlaps it, and a failure leaves Empty
}

bool IsMissing(const VARIANT& variant) {
    return variant.vt == VT_ERROR && variant.scode == DISP_E_PARAMNOTFOUND;
}

VARIANT Missing() {
    VARIANT missing;
    VariantInit(&missing);
    missing.vt = VT_ERROR;
    missing.scode = DISP_E_PARAMNOTFOUND;
    return missing;
}

Variant::Variant(IDispatch* object) {
    VariantInit(&variant_);
    variant_.vt = VT_DISPATCH;
    variant_.pdispVal = object;
    if (object != nullptr) object->AddRef();
}

}  // namespace qmtrain::automation
