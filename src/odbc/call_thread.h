// Calls of the library that wait for a server, made on a thread of their own: a server that hangs never answers, and
// who waits for it must be able to give up.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace qmtrain::odbc {

class CallThread {
public:
    CallThread();
    CallThread(const CallThread&) = delete;
    CallThread& operator=(const CallThread&) = delete;

    // A call that has been abandoned goes on by itself.
    ~CallThread();

    // False: it has not returned within the limit, or before it was abandoned. It may go on for any time, with what
    // it holds, and no other one may follow.
    bool Run(std::function<void()> call, std::optional<std::chrono::milliseconds> limit);

    // From any thread: nobody waits for a call any more.
    void GiveUp();

private:
    struct State;
    static void Serve(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state_;
};

}  // namespace qmtrain::odbc
