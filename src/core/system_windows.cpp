#include <algorithm>
#include <array>
#include <atomic>
#include <memory>

#include <windows.h>
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include "core/format.h"
#include "core/system.h"
#include "core/text.h"
#include "core/windows_text.h"

namespace qmtrain {
namespace {

std::atomic<bool> environment_is_trusted = false;

SYSTEMTIME ToSystemTime(Date time) {
    const CivilTime civil = ToCivil(time);
    SYSTEMTIME system{};
    system.wYear = static_cast<WORD>(civil.year);
    system.wMonth = static_cast<WORD>(civil.month);
    system.wDay = static_cast<WORD>(civil.day);
    system.wHour = static_cast<WORD>(civil.hour);
    system.wMinute = static_cast<WORD>(civil.minute);
    system.wSecond = static_cast<WORD>(civil.second);
    return system;
}

// Whether the user has confirmed (UAC) that this process gets rights that his others have not. Where Windows asks
// nobody, all processes of an administrator have full rights, and his environment is as trustworthy as they are.
bool IsElevated() {
    static const bool elevated = [] {
        HANDLE token = nullptr;
        if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE) return false;
        TOKEN_ELEVATION_TYPE type = TokenElevationTypeDefault;
        DWORD size = 0;
        const BOOL known = GetTokenInformation(token, TokenElevationType, &type, sizeof type, &size);
        CloseHandle(token);
        return known != FALSE && type == TokenElevationTypeFull;
    }();
    return elevated;
}

}  // namespace

std::u16string EnvironmentVariable(std::string_view name) {
    const std::wstring wide(name.begin(), name.end());
    std::wstring value(GetEnvironmentVariableW(wide.c_str(), nullptr, 0), L'\0');
    value.resize(std::min<std::size_t>(
        value.size(), GetEnvironmentVariableW(wide.c_str(), value.data(), static_cast<DWORD>(value.size()))));
    return FromWide(value);
}

std::u16string Setting(std::string_view name) {
    return environment_is_trusted || !IsElevated() ? EnvironmentVariable(name) : std::u16string();
}

void TrustEnvironment() {
    environment_is_trusted = true;
}

std::uint64_t MachineMemory() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    return GlobalMemoryStatusEx(&status) != FALSE ? status.ullTotalPhys : std::uint64_t{1} << 30;
}

// What main gets has been through the ANSI code page.
std::vector<std::string> CommandLineWords(int, const char* const*) {
    struct Freer {
        void operator()(LPWSTR* words) const { LocalFree(words); }
    };
    int count = 0;
    const std::unique_ptr<LPWSTR, Freer> words(CommandLineToArgvW(GetCommandLineW(), &count));
    std::vector<std::string> out;
    for (int i = 1; words && i < count; ++i) out.push_back(ToUtf8(FromWide(words.get()[i])));
    return out;
}

bool IsTerminal(std::FILE* stream) {
    return _isatty(_fileno(stream)) != 0;
}

void UseParentsConsole() {
    const bool console = AttachConsole(ATTACH_PARENT_PROCESS) != 0;
    for (std::FILE* stream : {stdout, stderr}) {
        if (_fileno(stream) < 0) static_cast<void>(std::freopen(console ? "CONOUT$" : "NUL", "w", stream));
    }
    if (_fileno(stdin) < 0) static_cast<void>(std::freopen("NUL", "r", stdin));
}

Utf8Streams::Utf8Streams() : before_(GetConsoleOutputCP()) {
    SetConsoleOutputCP(CP_UTF8);
    for (std::FILE* stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
}

Utf8Streams::~Utf8Streams() {
    std::fflush(nullptr);
    SetConsoleOutputCP(before_);
}

std::u16string RegionalTime(Date time) {
    const SYSTEMTIME system = ToSystemTime(time);
    std::array<wchar_t, 128> date{};
    std::array<wchar_t, 128> clock{};
    const int date_length = GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &system, nullptr, date.data(),
                                            static_cast<int>(date.size()), nullptr);
    const int clock_length =
        GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &system, nullptr, clock.data(), static_cast<int>(clock.size()));
    if (date_length == 0 || clock_length == 0) return Format(time, u"yyyy-mm-dd hh:nn:ss");
    return FromWide(date.data()) + u" " + FromWide(clock.data());
}

std::u16string DateSeparator() {
    std::array<wchar_t, 8> separator{};
    const int length =
        GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, LOCALE_SDATE, separator.data(), static_cast<int>(separator.size()));
    return length > 1 ? FromWide(separator.data()) : u"-";
}

}  // namespace qmtrain
