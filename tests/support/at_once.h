// Several users of the same files at once.
#pragma once

#include <cstdio>
#include <exception>
#include <functional>
#include <new>
#include <vector>

#ifdef _WIN32
#include <thread>
#else
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace qmtrain::test {

using Work = std::function<int()>;

// Does all of it at the same time and returns the results, numbers from 0 to 125; -1 for work that broke off. Each is
// done in a process of its own, on Windows in a thread: two handles of one process are kept apart there as those of two
// processes are. Requires: the works share nothing but files.
inline std::vector<int> AtOnce(const std::vector<Work>& works) {
    std::vector<int> results(works.size(), -1);
    const auto guarded = [](const Work& work) {
        try {
            return work();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "work broke off: %s\n", error.what());
            return -1;
        }
    };
#ifdef _WIN32
    std::vector<std::thread> threads;
    threads.reserve(works.size());
    for (std::size_t i = 0; i < works.size(); ++i) {
        threads.emplace_back([&, i] { results[i] = guarded(works[i]); });
    }
    for (std::thread& thread : threads) thread.join();
#else
    std::vector<pid_t> processes;
    processes.reserve(works.size());
    for (const Work& work : works) {
        const pid_t process = fork();
        if (process == 0) _exit(guarded(work));
        processes.push_back(process);
    }
    for (std::size_t i = 0; i < works.size(); ++i) {
        int status = 0;
        const bool ended = waitpid(processes[i], &status, 0) == processes[i] && WIFEXITED(status);
        if (ended && WEXITSTATUS(status) < 126) results[i] = WEXITSTATUS(status);
    }
#endif
    return results;
}

// Whether works have nothing in common, as needed by those that use what is the program's own.
#ifdef _WIN32
inline constexpr bool kWorksAreProcesses = false;
#else
inline constexpr bool kWorksAreProcesses = true;
#endif

// An object that all works see.
template <class T>
class Shared {
public:
#ifdef _WIN32
    Shared() : object_(new T) {}
    ~Shared() {
        delete object_;
    }
#else
    Shared() {
        void* place = mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (place == MAP_FAILED) throw std::bad_alloc();
        object_ = new (place) T;
    }
    ~Shared() {
        object_->~T();
        munmap(object_, sizeof(T));
    }
#endif
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    T* operator->() const {
        return object_;
    }

private:
    T* object_;
};

}  // namespace qmtrain::test
