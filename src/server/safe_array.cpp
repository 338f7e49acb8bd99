#include "server/safe_array.h"

#include <algorithm>
#include <new>
#include <span>

#include "automation/dispatch.h"
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
        const ULONG count = array->rgsabound[0].cElements;
        if (data == nullptr && count != 0) {  // its elements were destroyed
            SafeArrayUnaccessData(array);
            Raise(ErrorNumber::TypeMismatch);
        }
        elements_ = {static_cast<Element*>(data), count};
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    ~Locked() { SafeArrayUnaccessData(array_); }

    std::span<Element> Elements() const { return elements_; }

private:
    SAFEARRAY* array_;
    std::span<Element> elements_;
};

// Programs that fill a descriptor themselves may leave the type out; then the kind of element says it, or its size.
VARTYPE ElementType(SAFEARRAY* array) {
    VARTYPE type = VT_EMPTY;
    if (SUCCEEDED(SafeArrayGetVartype(array, &type))) return type;
    if ((array->fFeatures & FADF_BSTR) != 0) return VT_BSTR;
    if ((array->fFeatures & FADF_VARIANT) != 0) return VT_VARIANT;
    return array->cbElements == 1 ? VT_UI1 : VT_EMPTY;
}

void Require(SAFEARRAY* array, VARTYPE element) {
    if (SafeArrayGetDim(array) != 1 || ElementType(array) != element) Raise(ErrorNumber::TypeMismatch);
}

OwnedSafeArray NewArray(VARTYPE type, std::size_t count) {
    OwnedSafeArray array(SafeArrayCreateVector(type, 0, static_cast<ULONG>(count)));
    if (array == nullptr) throw std::bad_alloc();
    return array;
}

LONG FirstPlace(SAFEARRAY* array) {
    LONG first = 0;
    automation::Check(SafeArrayGetLBound(array, 1, &first));
    return first;
}

// What SafeArrayPutElement takes for an element of this type.
void* Passed(VARTYPE type, VARIANT& element) {
    if (type == VT_VARIANT) return &element;
    return type == VT_BSTR ? static_cast<void*>(V_BSTR(&element)) : static_cast<void*>(&V_UI1(&element));
}

// Raises TypeMismatch for an element for which a VARIANT has no room, such as a record.
Variant ElementAt(SAFEARRAY* array, VARTYPE type, LONG place) {
    Variant element;
    VARIANT* out = element.Out();
    const bool whole = type == VT_VARIANT || type == VT_DECIMAL;  // a decimal overlaps the type
    if (array->pvData == nullptr || SafeArrayGetElemsize(array) > (whole ? sizeof(VARIANT) : sizeof(V_UI8(out))))
        Raise(ErrorNumber::TypeMismatch);
    if (whole) {
        automation::Check(SafeArrayGetElement(array, &place, out));
        if (type == VT_DECIMAL) V_VT(out) = type;
    } else {
        automation::Check(SafeArrayGetElement(array, &place, &V_UI1(out)));
        V_VT(out) = type;
    }
    return element;
}

void CopyElements(SAFEARRAY* from, SAFEARRAY* to) {
    const ULONG count = from->rgsabound[0].cElements;
    if (SafeArrayGetDim(to) != 1 || to->rgsabound[0].cElements != count) Raise(ErrorNumber::ArrayFixedOrLocked);
    const VARTYPE type = ElementType(from);
    if (type == VT_UI1) {
        const Locked<std::uint8_t> bytes(from);
        std::ranges::copy(bytes.Elements(), Locked<std::uint8_t>(to).Elements().begin());
        return;
    }
    const LONG first = FirstPlace(from);
    const LONG first_there = FirstPlace(to);
    for (LONG i = 0; i < static_cast<LONG>(count); ++i) {
        Variant element = ElementAt(from, type, first + i);
        VARIANT content = element.Get();
        LONG place = first_there + i;
        automation::Check(SafeArrayPutElement(to, &place, Passed(type, content)));
    }
}

}  // namespace

template <>
std::vector<std::uint8_t> FromSafeArray<std::uint8_t>(SAFEARRAY* array) {
    if (array == nullptr) return {};
    Require(array, VT_UI1);
    const Locked<std::uint8_t> locked(array);
    return {locked.Elements().begin(), locked.Elements().end()};
}

template <>
std::vector<std::u16string> FromSafeArray<std::u16string>(SAFEARRAY* array) {
    if (array == nullptr) return {};
    Require(array, VT_BSTR);
    const Locked<BSTR> locked(array);
    std::vector<std::u16string> texts;
    for (const BSTR text : locked.Elements()) texts.push_back(automation::FromBstr(text));
    return texts;
}

OwnedSafeArray ToSafeArray(const std::vector<std::uint8_t>& bytes) {
    OwnedSafeArray array = NewArray(VT_UI1, bytes.size());
    std::copy(bytes.begin(), bytes.end(), Locked<std::uint8_t>(array.get()).Elements().begin());
    return array;
}

OwnedSafeArray ToSafeArray(const std::vector<std::u16string>& texts) {
    OwnedSafeArray array = NewArray(VT_BSTR, texts.size());
    std::transform(texts.begin(), texts.end(), Locked<BSTR>(array.get()).Elements().begin(), automation::ToBstr);
    return array;
}

OwnedSafeArray ConvertSafeArray(SAFEARRAY* array, VARTYPE from, VARTYPE to) {
    Require(array, from);
    const LONG first = FirstPlace(array);
    const ULONG count = array->rgsabound[0].cElements;
    OwnedSafeArray converted = NewArray(to, count);
    for (LONG i = 0; i < static_cast<LONG>(count); ++i) {
        Variant element = ElementAt(array, from, first + i);
        VARIANT content = element.Get();
        Variant changed;
        if (to != VT_VARIANT) {
            if (FAILED(VariantChangeType(changed.Out(), &content, 0, to))) Raise(ErrorNumber::TypeMismatch);
            content = changed.Get();
        }
        automation::Check(SafeArrayPutElement(converted.get(), &i, Passed(to, content)));
    }
    return converted;
}

bool KeepsItsSize(const SAFEARRAY* array) {
    constexpr USHORT kFixed = FADF_AUTO | FADF_STATIC | FADF_EMBEDDED | FADF_FIXEDSIZE;
    return array->cLocks != 0 || (array->fFeatures & kFixed) != 0;
}

void GiveSafeArray(OwnedSafeArray given, SAFEARRAY*& variable) {
    if (variable != nullptr) {
        if (ElementType(variable) != ElementType(given.get())) Raise(ErrorNumber::TypeMismatch);
        if (KeepsItsSize(variable)) {
            CopyElements(given.get(), variable);
            return;
        }
        automation::Check(SafeArrayDestroy(variable));
    }
    variable = given.release();
}

automation::Variant ToVariantTable(const std::vector<std::vector<Value>>& rows) {
    const auto width = static_cast<ULONG>(rows.empty() ? 0 : rows.front().size());
    SAFEARRAYBOUND bounds[] = {{width, 0}, {static_cast<ULONG>(rows.size()), 0}};
    OwnedSafeArray table(SafeArrayCreate(VT_VARIANT, 2, bounds));
    if (!table) throw std::bad_alloc();
    for (LONG row = 0; row < static_cast<LONG>(rows.size()); ++row) {
        for (LONG column = 0; column < static_cast<LONG>(width); ++column) {
            const automation::Variant value(rows[row][column]);
            LONG place[] = {column, row};
            automation::Check(SafeArrayPutElement(table.get(), place, const_cast<VARIANT*>(&value.Get())));
        }
    }
    automation::Variant made;
    VARIANT& place = *made.Out();
    V_VT(&place) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(&place) = table.release();
    return made;
}

}  // namespace qmtrain::server
