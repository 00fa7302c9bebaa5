#pragma once

#include <functional>
#include <memory>
#include <string>

namespace platform {

/// Runs calls one after another, in the order in which they were queued, on one worker thread that is
/// started by the first call.
class SerialQueue {
public:
    /// `label` names the worker thread as far as the kernel's 15 characters go.
    explicit SerialQueue(std::string label);

    /// Runs what is queued, then ends the worker.
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    /// Queues a call and returns at once. Any thread.
    void async(std::function<void()> call);

    /// Queues a call and returns when it has run; from the worker itself, runs it at once. Any thread.
    void sync(const std::function<void()>& call);

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The process-wide pool for long work: calls run side by side, in no given order, each on a thread of
/// the pool. Threads are made as needed, up to a small number, and end when they have been idle.
class BackgroundQueue {
public:
    static BackgroundQueue& global();

    /// Queues a call and returns at once. Any thread.
    void async(std::function<void()> call);

    BackgroundQueue(const BackgroundQueue&) = delete;
    BackgroundQueue& operator=(const BackgroundQueue&) = delete;

private:
    BackgroundQueue();
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace platform
