// The first commit counters of page 0: every user of a file, ours or not, sees from them that its cached pages are
// stale.
#pragma once

#include <array>
#include <cstdint>

namespace qmtrain::jet {

using CommitCounters = std::array<std::uint8_t, 512>;

// The first two u16 counters after one more commit. Neither is 0. The first one counts, the second one is drawn, so
// that two copies of a file with as many commits each can be told apart. `nonce`: of the transaction's journal.
inline std::uint32_t RaisedCounters(std::uint32_t counters, std::uint64_t nonce) {
    const auto first = static_cast<std::uint16_t>(counters + 1);
    const auto second = static_cast<std::uint16_t>(nonce >> 48);
    return std::uint32_t{second != 0 ? second : std::uint16_t{1}} << 16 | (first != 0 ? first : std::uint16_t{1});
}

// The same as earlier versions raised them.
inline std::uint32_t RaisedWithoutNonce(std::uint32_t counters) {
    const auto first = static_cast<std::uint16_t>(counters + 1);
    if (first != 0) return (counters & 0xFFFF0000U) | first;
    return ((counters & 0xFFFF0000U) + 0x10000U) | 1U;
}

}  // namespace qmtrain::jet
