// The checksum of journals: it tells a record that was written whole from one that was not.
#pragma once

#include <cstdint>
#include <span>

#include "jet/bytes.h"

namespace qmtrain::jet {

inline std::uint32_t Checksum(std::uint64_t seed, std::span<const std::uint8_t> bytes) {
    std::uint64_t sum = seed ^ 0x9E3779B97F4A7C15ULL;
    for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
        sum = (sum ^ Get<std::uint64_t>(&bytes[i])) * 0xFF51AFD7ED558CCDULL;
        sum ^= sum >> 32;
    }
    for (std::size_t i = bytes.size() / 8 * 8; i < bytes.size(); ++i) sum = (sum ^ bytes[i]) * 0x100000001B3ULL;
    return static_cast<std::uint32_t>(sum ^ sum >> 29);
}

}  // namespace qmtrain::jet
