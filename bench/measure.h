// Timing of pieces of code and of whole programs.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace qmtrain::bench {

template <class Body>
double Seconds(Body body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The shortest of several runs.
template <class Body>
double BestOf(int runs, Body body) {
    double best = Seconds(body);
    while (--runs > 0) best = std::min(best, Seconds(body));
    return best;
}

struct Use {
    double seconds = 0;
    double mebibytes = 0;
};

// In a process of its own, so that one workload does not show the memory of another.
inline Use Measure(const std::function<void()>& body) {
    Use use;
    rusage usage{};
    int status = 1;
    use.seconds = Seconds([&] {
        const pid_t child = fork();
        if (child == 0) {
            body();
            _exit(0);
        }
        wait4(child, &status, 0, &usage);
    });
    if (status != 0) {
        std::fprintf(stderr, "a workload failed\n");
        std::exit(1);
    }
    use.mebibytes = static_cast<double>(usage.ru_maxrss) / 1024;
    return use;
}

struct ProgramRun {
    double seconds = 0;
    long peak_kib = 0;
    bool succeeded = false;
};

// Runs a program with its output thrown away; the fastest of several runs, and the largest memory of any.
inline ProgramRun RunProgram(const std::vector<std::string>& command, int runs = 5) {
    ProgramRun result;
    for (int i = 0; i < runs; ++i) {
        std::vector<char*> arguments;
        for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        pid_t child = 0;
        int status = 1;
        rusage usage{};
        const double seconds = Seconds([&] {
            if (posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0) {
                wait4(child, &status, 0, &usage);
            }
        });
        posix_spawn_file_actions_destroy(&actions);
        result.succeeded = status == 0;
        if (!result.succeeded) return result;
        result.seconds = i == 0 ? seconds : std::min(result.seconds, seconds);
        result.peak_kib = std::max(result.peak_kib, usage.ru_maxrss);
    }
    return result;
}

}  // namespace qmtrain::bench
