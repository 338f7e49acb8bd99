// Arrays as automation passes them: of one dimension.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "automation/com.h"

namespace qmtrain::server {

// No array counts as an empty one. Raises TypeMismatch for an array of anything else or of several dimensions.
template <class Element>
std::vector<Element> FromSafeArray(SAFEARRAY* array);
template <>
std::vector<std::uint8_t> FromSafeArray<std::uint8_t>(SAFEARRAY* array);
template <>
std::vector<std::u16string> FromSafeArray<std::u16string>(SAFEARRAY* array);

// A new array, counted from 0.
SAFEARRAY* ToSafeArray(const std::vector<std::uint8_t>& bytes);
SAFEARRAY* ToSafeArray(const std::vector<std::u16string>& texts);

// A new array of the same elements, each converted to another type. Raises TypeMismatch.
SAFEARRAY* ConvertSafeArray(SAFEARRAY* array, VARTYPE from, VARTYPE to);

}  // namespace qmtrain::server
