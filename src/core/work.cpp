#include "core/work.h"

#include <algorithm>

#include "core/error.h"
#include "core/system.h"
#include "core/text.h"

namespace qmtrain {
namespace {

using Clock = std::chrono::steady_clock;

thread_local Work* current = nullptr;

std::u16string Seconds(std::chrono::milliseconds time) {
    const std::u16string tenths = ToText((time.count() + 50) / 100 % 10);
    return ToText((time.count() + 50) / 1000) + (tenths == u"0" ? u"" : u"." + tenths) + u" 秒";
}

[[noreturn]] void RaiseTooMuch(std::size_t limit) {
    Raise(ErrorNumber::SystemResourceExceeded, {u"语句需要的内存超过了 " + ToText(limit >> 20) + u" MiB 的限制。"});
}

}  // namespace

std::size_t UsualMemoryLimit() {
    constexpr std::uint64_t kMost = sizeof(void*) > 4 ? std::uint64_t{1} << 62 : std::uint64_t{512} << 20;
    static const auto limit = static_cast<std::size_t>(std::min(MachineMemory() / 2, kMost));
    return limit;
}

Work::Work(const WorkLimits& limits, const Cancellations& cancellations, WorkTaken* taken)
    : limits_(limits),
      cancellations_(cancellations),
      cancellations_before_(cancellations.load(std::memory_order_relaxed)),
      taken_(taken),
      outer_(current),
      memory_limit_(limits.memory > 0 ? limits.memory : UsualMemoryLimit()) {
    if (limits_.time.count() > 0) start_ = Clock::now() - (taken != nullptr ? taken->time : Clock::duration());
    if (taken == nullptr && outer_ != nullptr) memory_limit_ = std::min(memory_limit_, outer_->memory_limit_);
    current = this;
}

Work::~Work() {
    current = outer_;
    if (taken_ != nullptr && limits_.time.count() > 0) taken_->time = Clock::now() - start_;
}

const HeldBytes& Work::Held() {
    if (taken_ == nullptr && outer_ != nullptr) return outer_->Held();
    if (held_ == nullptr) held_ = taken_ != nullptr ? taken_->memory : std::make_shared<HeldBytes::element_type>(0);
    return held_;
}

void Work::Look() {
    for (const Work* work = current; work != nullptr; work = work->outer_) {
        if (work->cancellations_.load(std::memory_order_relaxed) != work->cancellations_before_) {
            Raise(ErrorNumber::OperationCancelled, {u"程序要求停止。"});
        }
        if (work->limits_.time.count() > 0 && Clock::now() - work->start_ > work->limits_.time) {
            Raise(ErrorNumber::OperationCancelled, {u"用时超过了 " + Seconds(work->limits_.time) + u"。"});
        }
    }
}

void Work::RequireRoom(std::size_t bytes) {
    if (current == nullptr) return;
    const std::size_t limit = current->memory_limit_;
    const std::size_t held = current->Held()->load(std::memory_order_relaxed);
    if (held > limit || bytes > limit - held) RaiseTooMuch(limit);
}

// Reserves somewhat more than was asked for where there is room: what has grown is likely to grow further.
void HeldMemory::Grow(std::size_t bytes) {
    const std::size_t ahead = std::max(bytes + std::min(bytes / 4, 4 * kLittle), kLittle);
    if (held_ == nullptr) {
        bytes_ = 0;
        if (current == nullptr) {
            bytes_ = ahead;
            return;
        }
        held_ = current->Held();
    }
    const std::size_t limit = current != nullptr ? current->memory_limit_ : SIZE_MAX;
    const std::size_t others = held_->load(std::memory_order_relaxed) - bytes_;
    if (others > limit || bytes > limit - others) RaiseTooMuch(limit);
    const std::size_t taken = std::min(ahead, limit - others);
    held_->fetch_add(taken - bytes_, std::memory_order_relaxed);
    bytes_ = taken;
}

void HeldMemory::GiveBack() {
    if (held_ != nullptr) held_->fetch_sub(bytes_, std::memory_order_relaxed);
    held_ = nullptr;
    bytes_ = 0;
}

}  // namespace qmtrain
