#include "platform/DGALoopThread.h"

#include <pthread.h>

#include <mutex>
#include <utility>

#include "platform/RunLoop.h"

struct DGALoopThread::State {
    std::string name;
    std::function<void()> body;
    std::mutex mutex;
    platform::RunLoop* loop = nullptr;
    bool cancelled = false;
};

DGALoopThread::DGALoopThread(std::string name, std::function<void()> body)
    : state_(std::make_shared<State>()) {
    state_->name = std::move(name);
    state_->body = std::move(body);
}

DGALoopThread::~DGALoopThread() {
    cancel();
    if (!thread_.joinable())
        return;
    if (thread_.get_id() == std::this_thread::get_id())
        thread_.detach();
    else
        thread_.join();
}

void DGALoopThread::start() {
    thread_ = std::thread([state = state_] {
        pthread_setname_np(pthread_self(), state->name.substr(0, 15).c_str());
        {
            const std::lock_guard<std::mutex> hold(state->mutex);
            if (state->cancelled)
                return;
            state->loop = &platform::RunLoop::current();
        }
        state->body();
        const std::lock_guard<std::mutex> hold(state->mutex);
        state->loop = nullptr;
    });
}

void DGALoopThread::cancel() {
    const std::lock_guard<std::mutex> hold(state_->mutex);
    state_->cancelled = true;
    // Queued rather than done here: a body that is still setting up stops as soon as it runs its loop.
    if (state_->loop)
        state_->loop->perform([loop = state_->loop] { loop->stopAll(); });
}
