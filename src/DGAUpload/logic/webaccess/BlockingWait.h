#pragma once

#include <memory>

namespace platform {
class RunLoop;
}

/// Somebody who waits for the end of a transfer while the thread's run loop goes on. Waits nest, and each
/// ends with its own end(), whatever the order. One thread.
class BlockingWait {
public:
    /// Serves the loop until end().
    static void run(platform::RunLoop& loop, const std::shared_ptr<BlockingWait>& wait);

    void end();

    /// Takes back an end() that run() has not seen yet. False when there is no run() to go on.
    bool resume();

private:
    platform::RunLoop* loop_ = nullptr;
    bool done_ = false;
};
