// Arrays as automation passes them: of one dimension.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "automation/com.h"
#include "automation/variant.h"

namespace qmtrain::server {

struct SafeArrayDeleter {
    void operator()(SAFEARRAY* array) const { SafeArrayDestroy(array); }
};
using OwnedSafeArray = std::unique_ptr<SAFEARRAY, SafeArrayDeleter>;

// No array counts as an empty one. Raises TypeMismatch for an array of anything else or of several dimensions.
template <class Element>
std::vector<Element> FromSafeArray(SAFEARRAY* array);
template <>
std::vector<std::uint8_t> FromSafeArray<std::uint8_t>(SAFEARRAY* array);
template <>
std::vector<std::u16string> FromSafeArray<std::u16string>(SAFEARRAY* array);

// A new array, counted from 0.
OwnedSafeArray ToSafeArray(const std::vector<std::uint8_t>& bytes);
OwnedSafeArray ToSafeArray(const std::vector<std::u16string>& texts);

// A new array of the same elements, each converted to another type. Raises TypeMismatch.
OwnedSafeArray ConvertSafeArray(SAFEARRAY* array, VARTYPE from, VARTYPE to);

// Whether an array can be given no other size, or is locked.
bool KeepsItsSize(const SAFEARRAY* array);

// Puts the array into a client's variable. A variable whose array keeps its size takes the elements when there are as
// many of them; otherwise ArrayFixedOrLocked is raised. Raises TypeMismatch for an array of
// other elements. The variable is as it was when anything is raised.
void GiveSafeArray(OwnedSafeArray given, SAFEARRAY*& variable);

// An array of variants, a first index for the columns and a second one for the rows, both from 0. Requires: the rows
// are of one width.
automation::Variant ToVariantTable(const std::vector<std::vector<Value>>& rows);

}  // namespace qmtrain::server
