#include "core/trap.h"

#include <exception>
#include <new>

#include "core/error.h"
#include "core/log.h"
#include "core/text.h"

namespace qmtrain {

void LogCurrentException(std::u16string_view log_name) noexcept {
    try {
        throw;
    } catch (const AutomationError& error) {
        WriteLog(kLogError, error.Description(), log_name);
    } catch (const std::bad_alloc&) {
        WriteLog(kLogError, u"内存不足。", log_name);
    } catch (const std::exception& error) {
        const std::string_view text = error.what();
        WriteLog(kLogError, u"内部错误：" + FromUtf8(text), log_name);
    } catch (...) {
        WriteLog(kLogError, u"内部错误。", log_name);
    }
}

}  // namespace qmtrain
