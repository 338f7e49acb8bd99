// Base64, as pictures stand in question files.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/value.h"

namespace qmtrain::exchange {

std::string ToBase64(const Bytes& bytes);

// Blanks and line ends between the digits are passed over; nothing when anything else stands there.
std::optional<Bytes> FromBase64(std::string_view text);

}  // namespace qmtrain::exchange
