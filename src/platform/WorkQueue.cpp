#include "platform/WorkQueue.h"

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace platform {

struct SerialQueue::State {
    std::string label;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> calls;
    bool ending = false;
    std::thread worker;
    std::atomic<std::thread::id> workerId{};

    void work() {
        // The last part of a label in reverse domain notation says the most.
        const auto point = label.rfind('.');
        const std::string name = point == std::string::npos ? label : label.substr(point + 1);
        pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
        std::deque<std::function<void()>> taken;
        std::unique_lock<std::mutex> hold(mutex);
        for (;;) {
            changed.wait(hold, [this] { return ending || !calls.empty(); });
            if (calls.empty())
                return;
            taken.swap(calls);
            hold.unlock();
            for (auto& call : taken)
                call();
            taken.clear();
            hold.lock();
        }
    }
};

SerialQueue::SerialQueue(std::string label) : state_(std::make_unique<State>()) {
    state_->label = std::move(label);
}

SerialQueue::~SerialQueue() {
    {
        const std::lock_guard<std::mutex> hold(state_->mutex);
        state_->ending = true;
        state_->changed.notify_one();
    }
    if (state_->worker.joinable())
        state_->worker.join();
}

void SerialQueue::async(std::function<void()> call) {
    const std::lock_guard<std::mutex> hold(state_->mutex);
    state_->calls.push_back(std::move(call));
    if (!state_->worker.joinable()) {
        state_->worker = std::thread([state = state_.get()] { state->work(); });
        state_->workerId = state_->worker.get_id();
    }
    state_->changed.notify_one();
}

void SerialQueue::sync(const std::function<void()>& call) {
    if (state_->workerId.load() == std::this_thread::get_id()) {
        call();
        return;
    }
    struct Wait {
        std::mutex mutex;
        std::condition_variable changed;
        bool done = false;
    } wait;
    async([&] {
        call();
        const std::lock_guard<std::mutex> hold(wait.mutex);
        wait.done = true;
        wait.changed.notify_one();
    });
    std::unique_lock<std::mutex> hold(wait.mutex);
    wait.changed.wait(hold, [&] { return wait.done; });
}

struct BackgroundQueue::State {
    static constexpr unsigned kMaxThreads = 8;
    static constexpr std::chrono::seconds kIdleTime{5};

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> calls;
    unsigned threads = 0;
    unsigned idle = 0;

    void work() {
        pthread_setname_np(pthread_self(), "background");
        std::unique_lock<std::mutex> hold(mutex);
        for (;;) {
            ++idle;
            const bool called = changed.wait_for(hold, kIdleTime, [this] { return !calls.empty(); });
            --idle;
            if (!called) {
                --threads;
                return;
            }
            {
                const auto call = std::move(calls.front());
                calls.pop_front();
                hold.unlock();
                call();
            }
            hold.lock();
        }
    }
};

BackgroundQueue::BackgroundQueue() : state_(std::make_shared<State>()) {}

BackgroundQueue& BackgroundQueue::global() {
    static BackgroundQueue* const queue = new BackgroundQueue();
    return *queue;
}

void BackgroundQueue::async(std::function<void()> call) {
    const std::lock_guard<std::mutex> hold(state_->mutex);
    state_->calls.push_back(std::move(call));
    if (state_->calls.size() > state_->idle && state_->threads < State::kMaxThreads) {
        ++state_->threads;
        std::thread([state = state_] { state->work(); }).detach();
    }
    state_->changed.notify_one();
}

}  // namespace platform
