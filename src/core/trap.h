// The error trap of every public operation that touches a database: nothing is raised to the caller and nothing is
// shown; a failure leaves an entry in the log and the operation's empty result.
//
// Record sets are locals of the body, so that they are closed when it ends in whatever way.
#pragma once

#include <optional>
#include <string_view>

#include "core/error.h"

namespace qmtrain {

// While it lives, it keeps the first error that a trap on its thread catches, so that a window can say why it has
// nothing to show.
class TrapWatch {
public:
    TrapWatch();
    TrapWatch(const TrapWatch&) = delete;
    TrapWatch& operator=(const TrapWatch&) = delete;
    ~TrapWatch();

    const std::optional<AutomationError>& First() const { return first_; }

private:
    friend void LogCurrentException(std::u16string_view log_name) noexcept;

    std::optional<AutomationError> first_;
    TrapWatch* outer_;
};

// Writes the exception that is being handled to the log, under the operation's log name.
void LogCurrentException(std::u16string_view log_name) noexcept;

// Runs `body(result)` and returns what `result` then holds: what the body had stored before a failure is kept.
template <class Result, class Body>
Result Trapped(std::u16string_view log_name, Result result, Body body) {
    try {
        body(result);
    } catch (...) {
        LogCurrentException(log_name);
    }
    return result;
}

// For an operation without a result.
template <class Body>
void Trapped(std::u16string_view log_name, Body body) {
    try {
        body();
    } catch (...) {
        LogCurrentException(log_name);
    }
}

}  // namespace qmtrain
