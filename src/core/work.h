// Work that may take long. It ends early when it is cancelled, or when it exceeds its limits.
//
// Long loops check for that now and then, and what grows in memory says so; they need not know whose work they do.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace qmtrain {

// The limits of a piece of work.
struct WorkLimits {
    std::chrono::milliseconds time{0};  // zero: as long as it takes
    std::size_t memory = 0;             // bytes that it may hold at one time; zero: UsualMemoryLimit()
};

// Half of the machine's memory; in 32 bits, where a program can address little more, 512 MiB at most.
std::size_t UsualMemoryLimit();

// Bytes that are held at the moment.
using HeldBytes = std::shared_ptr<std::atomic<std::size_t>>;

// The time and memory that work spread over several calls has taken in all of them so far.
struct WorkTaken {
    std::chrono::steady_clock::duration time{};
    HeldBytes memory = std::make_shared<HeldBytes::element_type>(0);
};

class Work {
public:
    using Cancellations = std::atomic<std::uint32_t>;

    // While it lives, it is what its thread does; works nest. It ends when `cancellations` changes. `taken`: what the
    // earlier parts of the work have taken, to which this one adds; null where there were none.
    Work(const WorkLimits& limits, const Cancellations& cancellations, WorkTaken* taken = nullptr);
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    ~Work();

    // Raises OperationCancelled when the thread's work has been cancelled, or has taken its time.
    static void Look();

    // Raises SystemResourceExceeded when the thread's work may not hold so many bytes more.
    static void RequireRoom(std::size_t bytes);

private:
    friend class HeldMemory;

    // Held bytes count for the innermost work that is spread over several calls, else for the outermost one.
    const HeldBytes& Held();

    WorkLimits limits_;
    const Cancellations& cancellations_;
    std::uint32_t cancellations_before_;
    std::chrono::steady_clock::time_point start_;
    WorkTaken* taken_;
    Work* outer_;
    std::size_t memory_limit_;
    HeldBytes held_;  // made when it is needed
};

// The part of its work's memory limit that one object takes, for as long as it lives.
class HeldMemory {
public:
    HeldMemory() = default;
    HeldMemory(HeldMemory&& other) noexcept : held_(std::move(other.held_)), bytes_(std::exchange(other.bytes_, 0)) {}
    HeldMemory& operator=(HeldMemory&& other) noexcept {
        std::swap(held_, other.held_);
        std::swap(bytes_, other.bytes_);
        return *this;
    }
    ~HeldMemory() { GiveBack(); }

    // Notes that the object has that many bytes, or is about to. Raises SystemResourceExceeded when that is too much
    // for the work that the thread did at the first call.
    void Cover(std::size_t bytes) {
        if (bytes > bytes_) Grow(bytes);
    }

    // Notes that the object is empty again. A little stays counted, for it may soon be filled again.
    void Release() {
        if (bytes_ > kLittle) GiveBack();
    }

private:
    static constexpr std::size_t kLittle = 4096;

    void Grow(std::size_t bytes);
    void GiveBack();

    HeldBytes held_;  // null where there is no work
    std::size_t bytes_ = 0;
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
