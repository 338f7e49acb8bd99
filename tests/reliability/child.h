// A process of our own that a test may kill. What it reports comes through a pipe.
#pragma once

#include <csignal>
#include <cstdint>
#include <exception>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qmtrain::test {

struct Report {
    std::int32_t kind;
    std::int32_t value;
};

class Child {
public:
    // What has been reported survives the process.
    class Pipe {
    public:
        explicit Pipe(int end) : end_(end) {}
        void Send(std::int32_t kind, std::int32_t value) const {
            const Report report{kind, value};
            if (write(end_, &report, sizeof report) != sizeof report) _exit(3);
        }

    private:
        int end_;
    };

    // Requires: this process has no database open.
    explicit Child(const std::function<void(const Pipe&)>& body) {
        int ends[2];
        if (pipe(ends) != 0) throw std::runtime_error("no pipe");
        fcntl(ends[1], F_SETPIPE_SZ, 1 << 20);  // so that its output need not be read while it runs
        process_ = fork();
        if (process_ < 0) throw std::runtime_error("no process");
        if (process_ == 0) {
            close(ends[0]);
            try {
                body(Pipe(ends[1]));
            } catch (const std::exception&) {
                _exit(2);
            }
            _exit(0);
        }
        close(ends[1]);
        reading_ = ends[0];
    }
    Child(Child&& other) noexcept
        : process_(std::exchange(other.process_, -1)), reading_(std::exchange(other.reading_, -1)) {}
    Child& operator=(Child&&) = delete;
    ~Child() {
        if (reading_ >= 0) close(reading_);
        if (process_ <= 0) return;
        Kill();
        Wait();
    }

    pid_t Process() const { return process_; }

    void Kill() const { kill(process_, SIGKILL); }

    // The next report; false when the process has ended.
    bool Next(Report& report) const { return read(reading_, &report, sizeof report) == sizeof report; }
    std::vector<Report> Rest() const {
        std::vector<Report> reports;
        for (Report report{}; Next(report);) reports.push_back(report);
        return reports;
    }

    // 0 when it went well.
    int Wait() {
        int status = 0;
        waitpid(std::exchange(process_, -1), &status, 0);
        return status;
    }

private:
    pid_t process_ = -1;
    int reading_ = -1;
};

}  // namespace qmtrain::test
