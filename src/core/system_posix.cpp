#include <atomic>
#include <cstdlib>

#include <langinfo.h>
#include <locale.h>
#include <unistd.h>

#include "core/format.h"
#include "core/system.h"
#include "core/text.h"

namespace qmtrain {
namespace {

std::atomic<bool> environment_is_trusted = false;

}  // namespace

std::u16string EnvironmentVariable(std::string_view name) {
    const char* value = std::getenv(std::string(name).c_str());
    return value != nullptr ? FromUtf8(value) : std::u16string();
}

std::u16string Setting(std::string_view name) {
    if (environment_is_trusted) return EnvironmentVariable(name);
    const char* value = secure_getenv(std::string(name).c_str());
    return value != nullptr ? FromUtf8(value) : std::u16string();
}

void TrustEnvironment() {
    environment_is_trusted = true;
}

std::uint64_t MachineMemory() {
    return static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::vector<std::string> CommandLineWords(int count, const char* const* words) {
    if (count == 0) return {};
    return {words + 1, words + count};
}

bool IsTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) != 0;
}

void UseParentsConsole() {}

Utf8Streams::Utf8Streams() = default;
Utf8Streams::~Utf8Streams() = default;

std::u16string RegionalTime(Date time) {
    return Format(time, u"yyyy-mm-dd hh:nn:ss");
}

// The first one in the form of dates of the locale that the environment names ("%m/%d/%y"). Forms with words between
// the numbers ("%Y年%m月%d日") have none.
std::u16string DateSeparator() {
    locale_t locale = newlocale(LC_TIME_MASK, "", nullptr);
    if (locale == nullptr) return u"/";
    const std::string form = nl_langinfo_l(D_FMT, locale);
    freelocale(locale);
    const std::size_t found = form.find_first_of("/-.");
    return found == std::string::npos ? u"-" : std::u16string(1, static_cast<char16_t>(form[found]));
}

}  // namespace qmtrain
