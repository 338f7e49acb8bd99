#include "odbc/pool.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace qmtrain::odbc {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostIdle = 8;
constexpr std::chrono::seconds kLongestIdle{60};

// After one has waited for a server until the time limit, others need not: for so long they get the same answer.
constexpr std::chrono::seconds kInVain{1};
constexpr std::chrono::seconds kNoNewAttempt{15};

// A process that forks shares its connections with the new one, where they must not be touched.
long CurrentProcess() {
#ifdef _WIN32
    return 0;
#else
    return getpid();
#endif
}

class Pool {
public:
    std::unique_ptr<Connection> Take(const std::u16string& text) {
        const std::scoped_lock lock(mutex_);
        Tidy();
        const auto found = std::ranges::find_if(idle_, [&](const Idle& idle) { return idle.text == text; });
        if (found == idle_.end()) return nullptr;
        std::unique_ptr<Connection> connection = std::move(found->connection);
        idle_.erase(found);
        return connection;
    }

    // When one has been lost, those that have waited beside it have been lost too.
    void Give(const std::u16string& text, std::unique_ptr<Connection> connection) {
        std::vector<Idle> gone;
        const std::scoped_lock lock(mutex_);
        Tidy();
        if (!connection->IsAlive()) {
            const auto same =
                std::partition(idle_.begin(), idle_.end(), [&](const Idle& idle) { return idle.text != text; });
            std::move(same, idle_.end(), std::back_inserter(gone));
            idle_.erase(same, idle_.end());
            return;
        }
        if (connection->InTransaction() || idle_.size() == kMostIdle) return;
        connection->TimeLimit({});
        idle_.push_back({text, std::move(connection), Clock::now()});
    }

    void RaiseIfSilent(const std::u16string& text) {
        const std::scoped_lock lock(mutex_);
        std::erase_if(silent_, [](const Silent& silent) { return Clock::now() - silent.since > kNoNewAttempt; });
        const auto found = std::ranges::find_if(silent_, [&](const Silent& silent) { return silent.text == text; });
        if (found != silent_.end()) throw AutomationError(found->error);
    }

    void NoteSilent(const std::u16string& text, const AutomationError& error) {
        const std::scoped_lock lock(mutex_);
        silent_.push_back({text, error, Clock::now()});
    }

private:
    struct Silent {
        std::u16string text;
        AutomationError error;
        Clock::time_point since;
    };

    struct Idle {
        std::u16string text;
        std::unique_ptr<Connection> connection;
        Clock::time_point since;
    };

    void Tidy() {
        if (process_ != CurrentProcess()) {
            for (Idle& idle : idle_) (void)idle.connection.release();
            idle_.clear();
            process_ = CurrentProcess();
        }
        std::erase_if(idle_, [](const Idle& idle) { return Clock::now() - idle.since > kLongestIdle; });
    }

    std::mutex mutex_;
    std::vector<Idle> idle_;
    std::vector<Silent> silent_;
    long process_ = CurrentProcess();
};

// Never destroyed: when the process ends, the library behind the connections may have left it.
Pool& ThePool() {
    static Pool& pool = *new Pool;
    return pool;
}

std::atomic<int> login_timeout = 5;  // seconds

// Those who have come together do not come back together.
void Pause() {
    constexpr int kLongest = 1000;  // milliseconds
    thread_local std::minstd_rand random(std::random_device{}());
    std::this_thread::sleep_for(std::chrono::milliseconds(std::uniform_int_distribution<>(0, kLongest)(random)));
}

std::unique_ptr<Connection> OpenNew(const ConnectString& connect, const std::u16string& text) {
    constexpr std::chrono::seconds kAttempt{5};
    ThePool().RaiseIfSilent(text);
    const std::chrono::seconds limit(login_timeout);
    const Clock::time_point first = Clock::now();
    while (true) {
        const Clock::time_point begin = Clock::now();
        const auto rest = std::max(kInVain, std::chrono::ceil<std::chrono::seconds>(first + limit - begin));
        const std::chrono::seconds attempt = limit.count() == 0 ? kAttempt : std::min(kAttempt, rest);
        try {
            return Connection::Open(connect, attempt);
        } catch (const AutomationError& error) {
            const Clock::time_point now = Clock::now();
            const bool time_left = limit.count() == 0 || now + kInVain < first + limit;
            const bool silent = now - begin >= attempt;
            if (!silent || !time_left) {
                if (now - begin >= kInVain) ThePool().NoteSilent(text, error);
                throw;
            }
        }
        Pause();
    }
}

}  // namespace

void LoginTimeout(std::chrono::seconds limit) {
    login_timeout = static_cast<int>(limit.count());
}

std::chrono::seconds LoginTimeout() {
    return std::chrono::seconds(login_timeout);
}

std::shared_ptr<Connection> TakeConnection(const ConnectString& connect) {
    const std::u16string text = connect.Text();
    std::unique_ptr<Connection> connection = ThePool().Take(text);
    if (connection == nullptr) connection = OpenNew(connect, text);
    return {connection.release(),
            [text](Connection* done) { ThePool().Give(text, std::unique_ptr<Connection>(done)); }};
}

}  // namespace qmtrain::odbc
