#include "core/work.h"

#include "core/error.h"
#include "core/text.h"

namespace qmtrain {
namespace {

using Clock = std::chrono::steady_clock;

thread_local Work* current = nullptr;

std::u16string Seconds(std::chrono::milliseconds time) {
    const std::u16string tenths = ToText((time.count() + 50) / 100 % 10);
    return ToText((time.count() + 50) / 1000) + (tenths == u"0" ? u"" : u"." + tenths) + u" 秒";
}

}  // namespace

Work::Work(const WorkLimits& limits, const Cancellations& cancellations, Clock::duration* spent)
    : limits_(limits),
      cancellations_(cancellations),
      cancellations_before_(cancellations.load(std::memory_order_relaxed)),
      spent_(spent),
      outer_(current) {
    if (limits_.time.count() > 0) start_ = Clock::now() - (spent_ != nullptr ? *spent_ : Clock::duration());
    current = this;
}

Work::~Work() {
    current = outer_;
    if (spent_ != nullptr && limits_.time.count() > 0) *spent_ = Clock::now() - start_;
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

void Work::Hold(std::size_t bytes) {
    for (const Work* work = current; work != nullptr; work = work->outer_) {
        if (work->limits_.memory > 0 && bytes > work->limits_.memory) {
            Raise(ErrorNumber::SystemResourceExceeded, {u"语句需要的内存超过了限制。"});
        }
    }
}

}  // namespace qmtrain
