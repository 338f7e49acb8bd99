// Work that may take long. It ends early when somebody cancels it, or when it takes more than it may.
//
// Long loops check for that now and then; they need not know whose work they do.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace qmtrain {

// What a piece of work may take, each zero where there is no limit.
struct WorkLimits {
    std::chrono::milliseconds time{0};
    std::size_t memory = 0;  // bytes, for each of the tables that it holds in memory
};

class Work {
public:
    using Cancellations = std::atomic<std::uint32_t>;

    // While it lives, it is what its thread does; works nest. It ends when `cancellations` changes. `spent`: the time
    // that earlier parts of the work have taken, to which this one is added; null where there were none.
    Work(const WorkLimits& limits, const Cancellations& cancellations,
         std::chrono::steady_clock::duration* spent = nullptr);
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    ~Work();

    // Raises OperationCancelled when the thread's work has been cancelled, or has taken its time.
    static void Look();

    // Raises SystemResourceExceeded when the thread's work may not hold so many bytes in one table.
    static void Hold(std::size_t bytes);

private:
    WorkLimits limits_;
    const Cancellations& cancellations_;
    std::uint32_t cancellations_before_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::duration* spent_;
    Work* outer_;
};

// Counts the steps of a loop, and checks every so many of them.
class WorkSteps {
public:
    void Next() {
        if (++steps_ % kBetweenLooks == 0) Work::Look();
    }

private:
    static constexpr std::uint32_t kBetweenLooks = 256;

    std::uint32_t steps_ = 0;
};

}  // namespace qmtrain
