#include "core/log.h"

#include <string>

#include "core/date.h"
#include "core/files.h"
#include "core/system.h"
#include "core/text.h"

namespace qmtrain {
namespace {

std::filesystem::path& ComponentFolder() {
    static std::filesystem::path folder = ProgramFolder();
    return folder;
}

std::u16string Entry(std::int32_t type, std::u16string_view message, std::u16string_view function) {
    std::u16string entry = u"[" + RegionalTime(Now()) + u"]";
    if (!function.empty()) entry.append(u" 函数名:[").append(function).append(u"]");
    entry.append(u"\r\n").append(ToText(type)).append(u" ").append(message).append(u"\r\n");
    return entry;
}

}  // namespace

std::filesystem::path LogFile() {
    return ComponentFolder() / "QmTrainInfo.Log";
}

void SetComponentFolder(std::filesystem::path folder) {
    ComponentFolder() = std::move(folder);
}

void WriteLog(std::int32_t type, std::u16string_view message, std::u16string_view function) noexcept {
    try {
        AppendToFile(LogFile(), ToAnsi(Entry(type, message, function)));
    } catch (...) {  // a failure to log must not fail the operation
    }
}

}  // namespace qmtrain
