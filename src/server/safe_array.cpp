#include "server/safe_array.h"

#include <algorithm>
#include <new>
#include <span>

#include "automation/variant.h"
#include "core/error.h"

namespace qmtrain::server {
namespace {

using automation::Variant;

// The elements of an array while it is locked.
template <class Element>
class Locked {
public:
    explicit Locked(SAFEARRAY* array) : array_(array) {
        void* data = nullptr;
        if (FAILED(SafeArrayAccessData(array, &data))) Raise(ErrorNumber::TypeMismatch);
        elements_ = {static_cast<Element*>(data), array->rgsabound[0].cElements};
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    ~Locked() { SafeArrayUnaccessData(array_); }

    std::span<Element> Elements() const { return elements_; }

private:
    SAFEARRAY* array_;
    std::span<Element> elements_;
};

VARTYPE ElementType(SAFEARRAY* array) {
    VARTYPE type = VT_EMPTY;
    if (SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetVartype(array, &type))) Raise(ErrorNumber::TypeMismatch);
    return type;
}

SAFEARRAY* NewArray(VARTYPE type, std::size_t count) {
    SAFEARRAY* array = SafeArrayCreateVector(type, 0, static_cast<ULONG>(count));
    if (array == nullptr) throw std::bad_alloc();
    return array;
}

}  // namespace

template <>
std::vector<std::uint8_t> FromSafeArray<std::uint8_t>(SAFEARRAY* array) {
    if (array == nullptr) return {};
    if (ElementType(array) != VT_UI1) Raise(ErrorNumber::TypeMismatch);
    const Locked<std::uint8_t> locked(array);
    return {locked.Elements().begin(), locked.Elements().end()};
}

template <>
std::vector<std::u16string> FromSafeArray<std::u16string>(SAFEARRAY* array) {
    if (array == nullptr) return {};
    if (ElementType(array) != VT_BSTR) Raise(ErrorNumber::TypeMismatch);
    const Locked<BSTR> locked(array);
    std::vector<std::u16string> texts;
    for (const BSTR text : locked.Elements()) texts.push_back(automation::FromBstr(text));
    return texts;
}

SAFEARRAY* ToSafeArray(const std::vector<std::uint8_t>& bytes) {
    SAFEARRAY* array = NewArray(VT_UI1, bytes.size());
    std::copy(bytes.begin(), bytes.end(), Locked<std::uint8_t>(array).Elements().begin());
    return array;
}

SAFEARRAY* ToSafeArray(const std::vector<std::u16string>& texts) {
    SAFEARRAY* array = NewArray(VT_BSTR, texts.size());
    std::transform(texts.begin(), texts.end(), Locked<BSTR>(array).Elements().begin(), automation::ToBstr);
    return array;
}

SAFEARRAY* ConvertSafeArray(SAFEARRAY* array, VARTYPE from, VARTYPE to) {
    if (ElementType(array) != from) Raise(ErrorNumber::TypeMismatch);
    LONG first = 0;
    SafeArrayGetLBound(array, 1, &first);
    const ULONG count = array->rgsabound[0].cElements;
    SAFEARRAY* converted = NewArray(to, count);
    for (LONG i = 0; i < static_cast<LONG>(count); ++i) {
        Variant element;
        Variant changed;
        LONG place = first + i;
        VARIANT* out = element.Out();
        const bool is_variant = from == VT_VARIANT;
        if (!is_variant) V_VT(out) = from;
        HRESULT result =
            SafeArrayGetElement(array, &place, is_variant ? static_cast<void*>(out) : static_cast<void*>(&V_UI1(out)));
        if (SUCCEEDED(result) && to != VT_VARIANT) result = VariantChangeType(changed.Out(), out, 0, to);
        if (SUCCEEDED(result)) {
            const VARIANT& held = to == VT_VARIANT ? element.Get() : changed.Get();
            void* passed = to == VT_VARIANT ? const_cast<VARIANT*>(&held)
                           : to == VT_BSTR  ? static_cast<void*>(V_BSTR(&held))
                                            : const_cast<BYTE*>(&V_UI1(&held));
            result = SafeArrayPutElement(converted, &i, passed);
        }
        if (FAILED(result)) {
            SafeArrayDestroy(converted);
            Raise(ErrorNumber::TypeMismatch);
        }
    }
    return converted;
}

}  // namespace qmtrain::server
