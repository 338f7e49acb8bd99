// The time that a practice has used.
//
// It runs while the practice is open, whatever covers its window, and stands still while it is left. A clock that never
// goes back measures it, so that neither a late timer nor a change of the time of day counts.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <utility>

namespace qmtrain::host {

class PracticeClock {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Source = std::function<Time()>;

    explicit PracticeClock(std::int32_t used = 0, Source now = std::chrono::steady_clock::now)
        : now_(std::move(now)), used_(std::chrono::seconds(used)), since_(now_()) {}

    void Stop() {
        used_ = Passed();
        running_ = false;
    }
    // Whole seconds, from now on as well.
    void Used(std::int32_t seconds) {
        used_ = std::chrono::seconds(seconds);
        since_ = now_();
    }

    // What has been used, in whole seconds that are over.
    std::int32_t Used() const { return Seconds(std::chrono::floor<std::chrono::seconds>(Passed())); }

    // What is stored when the practice is left: a second that has begun counts, or leaving often enough would stop
    // the time.
    std::int32_t UsedToKeep() const { return Seconds(std::chrono::ceil<std::chrono::seconds>(Passed())); }

private:
    std::chrono::nanoseconds Passed() const { return running_ ? used_ + (now_() - since_) : used_; }
    static std::int32_t Seconds(std::chrono::seconds seconds) { return static_cast<std::int32_t>(seconds.count()); }

    Source now_;
    std::chrono::nanoseconds used_;
    Time since_;
    bool running_ = true;
};

}  // namespace qmtrain::host
