#include <cstdlib>

#include <unistd.h>

#include "core/format.h"
#include "core/system.h"
#include "core/text.h"

namespace qmtrain {

std::u16string EnvironmentVariable(std::string_view name) {
    const char* value = std::getenv(std::string(name).c_str());
    return value != nullptr ? FromUtf8(value) : std::u16string();
}

std::vector<std::string> CommandLineWords(int count, const char* const* words) {
    if (count == 0) return {};
    return {words + 1, words + count};
}

bool IsTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) != 0;
}

Utf8Streams::Utf8Streams() = default;
Utf8Streams::~Utf8Streams() = default;

std::u16string RegionalTime(Date time) {
    return Format(time, u"yyyy-mm-dd hh:nn:ss");
}

}  // namespace qmtrain
