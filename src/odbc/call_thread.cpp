#include "odbc/call_thread.h"

#include <condition_variable>
#include <mutex>
#include <thread>

#include "odbc/library.h"

namespace qmtrain::odbc {

struct CallThread::State {
    std::mutex mutex;
    std::condition_variable changed;
    std::function<void()> call;
    bool busy = false;
    bool over = false;
    bool given_up = false;
};

CallThread::CallThread() : state_(std::make_shared<State>()) {
    KeepThisLoaded();
    std::thread([state = state_] { Serve(state); }).detach();
}

CallThread::~CallThread() {
    const std::scoped_lock lock(state_->mutex);
    state_->over = true;
    state_->changed.notify_all();
}

void CallThread::Serve(const std::shared_ptr<State>& state) {
    std::unique_lock lock(state->mutex);
    while (true) {
        state->changed.wait(lock, [&] { return state->busy || state->over; });
        if (!state->busy) return;
        lock.unlock();
        state->call();
        state->call = nullptr;  // what it holds is released here
        lock.lock();
        state->busy = false;
        state->changed.notify_all();
    }
}

bool CallThread::Run(std::function<void()> call, std::optional<std::chrono::milliseconds> limit) {
    std::unique_lock lock(state_->mutex);
    state_->call = std::move(call);
    state_->busy = true;
    state_->changed.notify_all();
    const auto ended = [&] { return !state_->busy || state_->given_up; };
    if (limit) {
        state_->changed.wait_for(lock, *limit, ended);
    } else {
        state_->changed.wait(lock, ended);
    }
    return !state_->busy;
}

void CallThread::GiveUp() {
    const std::scoped_lock lock(state_->mutex);
    state_->given_up = true;
    state_->changed.notify_all();
}

}  // namespace qmtrain::odbc
