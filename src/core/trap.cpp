#include "core/trap.h"

#include <exception>
#include <new>

#include "core/error.h"
#include "core/log.h"
#include "core/text.h"

namespace qmtrain {
namespace {

thread_local TrapWatch* innermost = nullptr;

// Requires: an exception is being handled.
AutomationError CurrentError() {
    try {
        throw;
    } catch (const AutomationError& error) {
        return error;
    } catch (const std::bad_alloc&) {
        return {0, u"QmTrainInfo", u"内存不足。"};
    } catch (const std::exception& error) {
        const std::string_view text = error.what();
        return {0, u"QmTrainInfo", u"内部错误：" + FromUtf8(text)};
    } catch (...) {
        return {0, u"QmTrainInfo", u"内部错误。"};
    }
}

}  // namespace

TrapWatch::TrapWatch() : outer_(innermost) {
    innermost = this;
}

TrapWatch::~TrapWatch() {
    innermost = outer_;
}

void LogCurrentException(std::u16string_view log_name) noexcept {
    try {
        const AutomationError error = CurrentError();
        WriteLog(kLogError, error.Description(), log_name);
        for (TrapWatch* watch = innermost; watch != nullptr; watch = watch->outer_) {
            if (!watch->first_) watch->first_ = error;
        }
    } catch (...) {  // there is no room left even for the error
    }
}

}  // namespace qmtrain
