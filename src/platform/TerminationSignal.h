#pragma once

#include <functional>

namespace platform {

/// While it lives, SIGTERM and SIGINT (the end of the user's session) call `handler` on the main thread's
/// run loop instead of ending the process. One at a time; main thread.
class TerminationSignal {
public:
    explicit TerminationSignal(std::function<void()> handler);
    ~TerminationSignal();
    TerminationSignal(const TerminationSignal&) = delete;
    TerminationSignal& operator=(const TerminationSignal&) = delete;

private:
    std::function<void()> handler_;
    unsigned sources_[2];
};

}  // namespace platform
