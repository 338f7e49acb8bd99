#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "jet/support/program.h"

namespace qmtrain::test {

bool HasProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::string_view folders = path != nullptr ? path : "";
    while (!folders.empty()) {
        const std::string_view folder = folders.substr(0, folders.find(':'));
        if (access((std::filesystem::path(folder) / name).c_str(), X_OK) == 0) return true;
        folders.remove_prefix(std::min(folders.size(), folder.size() + 1));
    }
    return false;
}

std::optional<std::string> OutputOf(const std::vector<std::string>& command, int exit_code) {
    std::array<int, 2> ends;
    if (pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    pid_t process = 0;
    const int failure = posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string output;
    std::array<char, 65536> buffer;
    for (ssize_t count; failure == 0 && (count = read(ends[0], buffer.data(), buffer.size())) > 0;) {
        output.append(buffer.data(), static_cast<std::size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    if (failure != 0 || waitpid(process, &status, 0) != process) return std::nullopt;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != exit_code) return std::nullopt;
    return output;
}

}  // namespace qmtrain::test
