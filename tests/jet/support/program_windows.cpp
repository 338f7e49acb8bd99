#include <array>

#include <windows.h>

#include "core/text.h"
#include "core/windows_text.h"
#include "jet/support/program.h"

namespace qmtrain::test {
namespace {

struct Pipe {
    HANDLE read = nullptr;
    HANDLE write = nullptr;

    Pipe() {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        CreatePipe(&read, &write, &inherited, 0);
        SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        CloseHandle(read);
        CloseWriteEnd();
    }
    void CloseWriteEnd() {
        if (write != nullptr) CloseHandle(write);
        write = nullptr;
    }

    std::string ReadAll() const {
        std::string output;
        std::array<char, 65536> buffer{};
        DWORD count = 0;
        while (ReadFile(read, buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr) && count > 0) {
            output.append(buffer.data(), count);
        }
        return output;
    }
};

// A word, quoted as programs parse it: backslashes count only before a quote.
std::string Quoted(const std::string& word) {
    std::string out = "\"";
    std::size_t backslashes = 0;
    for (const char c : word) {
        if (c == '"') out.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        out += c;
    }
    return out.append(backslashes, '\\') + "\"";
}

}  // namespace

bool HasProgram(const std::string& name) {
    const std::wstring file = ToWide(FromUtf8(name + ".exe"));
    return SearchPathW(nullptr, file.c_str(), nullptr, 0, nullptr, nullptr) != 0;
}

std::optional<std::string> OutputOf(const std::vector<std::string>& command, int exit_code) {
    std::string line;
    for (const std::string& word : command) line += Quoted(word) + " ";
    std::wstring wide = ToWide(FromUtf8(line));
    Pipe output;
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    start.hStdOutput = output.write;
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, wide.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process)) {
        return std::nullopt;
    }
    output.CloseWriteEnd();
    std::string text = output.ReadAll();
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    if (code != static_cast<DWORD>(exit_code)) return std::nullopt;
    return text;
}

}  // namespace qmtrain::test
