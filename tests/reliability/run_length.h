// How long these tests run, and where their chance comes from.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace qmtrain::test {

// "./test --long" asks for it.
inline bool IsLongRun() {
    return std::getenv("QMTRAIN_LONG") != nullptr;
}

// The seed is printed, and taken from QMTRAIN_SEED to repeat a run.
inline std::mt19937_64 Chance() {
    const char* given = std::getenv("QMTRAIN_SEED");
    const std::uint64_t seed = given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device{}();
    std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
    return std::mt19937_64(seed);
}

}  // namespace qmtrain::test
