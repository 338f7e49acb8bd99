// The checksum of journals, which shows whether a record was written whole.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "jet/bytes.h"

namespace qmtrain::jet {

// The checksums of several pieces of one length, computed side by side: each step depends on the step before it in the
// same piece only, so that four take little longer than one.
template <std::size_t N>
std::array<std::uint32_t, N> Checksums(const std::array<std::uint64_t, N>& seeds,
                                       const std::array<const std::uint8_t*, N>& pieces, std::size_t size) {
    std::array<std::uint64_t, N> sums;
    for (std::size_t k = 0; k < N; ++k) sums[k] = seeds[k] ^ 0x9E3779B97F4A7C15ULL;
    for (std::size_t i = 0; i + 8 <= size; i += 8) {
        for (std::size_t k = 0; k < N; ++k) {
            sums[k] = (sums[k] ^ Get<std::uint64_t>(pieces[k] + i)) * 0xFF51AFD7ED558CCDULL;
            sums[k] ^= sums[k] >> 32;
        }
    }
    for (std::size_t i = size / 8 * 8; i < size; ++i) {
        for (std::size_t k = 0; k < N; ++k) sums[k] = (sums[k] ^ pieces[k][i]) * 0x100000001B3ULL;
    }
    std::array<std::uint32_t, N> results;
    for (std::size_t k = 0; k < N; ++k) results[k] = static_cast<std::uint32_t>(sums[k] ^ sums[k] >> 29);
    return results;
}

inline std::uint32_t Checksum(std::uint64_t seed, std::span<const std::uint8_t> bytes) {
    return Checksums<1>({seed}, {bytes.data()}, bytes.size()).front();
}

}  // namespace qmtrain::jet
