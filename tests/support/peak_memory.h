// What the program has needed.
#pragma once

#include <cstddef>

#ifdef _WIN32
#include <windows.h>
#include <psapi.h>
#else
#include <sys/resource.h>
#endif

namespace qmtrain::test {

// The most bytes of memory in use at one time so far.
inline std::size_t PeakMemory() {
#ifdef _WIN32
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.PeakWorkingSetSize;
#else
    rusage use{};
    getrusage(RUSAGE_SELF, &use);
    return static_cast<std::size_t>(use.ru_maxrss) << 10;
#endif
}

}  // namespace qmtrain::test
