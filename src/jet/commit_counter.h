// The first commit counters of page 0: every user of a file, ours or not, sees from them that a page he keeps is old.
#pragma once

#include <array>
#include <cstdint>

namespace qmtrain::jet {

using CommitCounters = std::array<std::uint8_t, 512>;

// The first two u16 counters after one more commit. The first is never 0.
inline std::uint32_t RaisedCounters(std::uint32_t counters) {
    const auto first = static_cast<std::uint16_t>(counters + 1);
    if (first != 0) return (counters & 0xFFFF0000U) | first;
    return ((counters & 0xFFFF0000U) + 0x10000U) | 1U;
}

}  // namespace qmtrain::jet
