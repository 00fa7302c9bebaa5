#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace platform {
class RunLoop;
}

/// A thread whose body sets up and serves a run loop of its own (platform::RunLoop::current()).
class DGALoopThread {
public:
    /// `name` is cut to the 15 characters that the kernel keeps. Nothing runs before start().
    DGALoopThread(std::string name, std::function<void()> body);

    /// cancel(), then waits for the body; on the thread itself it does not wait.
    ~DGALoopThread();
    DGALoopThread(const DGALoopThread&) = delete;
    DGALoopThread& operator=(const DGALoopThread&) = delete;

    /// Starts the body. Once.
    void start();

    /// Ends the loop that the body runs, also when it has not begun to run yet. Any thread.
    void cancel();

private:
    struct State;
    std::shared_ptr<State> state_;
    std::thread thread_;
};
