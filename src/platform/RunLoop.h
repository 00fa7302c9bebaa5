#pragma once

#include <chrono>
#include <functional>
#include <memory>

struct _GMainContext;  // NOLINT(bugprone-reserved-identifier): GLib's own name

namespace platform {

/// The event loop of one thread, over a GMainContext. The main thread's loop is the default main
/// context, so that a toolkit that joins that context is served by it too.
class RunLoop {
public:
    /// The main thread's loop. Lives for the whole process.
    static RunLoop& main();

    /// The calling thread's loop: main() on the process's main thread, on every other thread a loop of
    /// its own, made on first use and alive until the thread ends.
    static RunLoop& current();

    ~RunLoop();
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;

    /// Serves the loop until stop(). May be called again from inside a callback; the runs nest.
    /// Only on the loop's own thread.
    void run();

    /// Serves the loop for the given time, or until stop(). A run that was begun inside it is not ended when
    /// the time has passed; this one then ends with it. Only on the loop's own thread.
    void runFor(std::chrono::milliseconds time);

    /// Ends the innermost run() or runFor(). Does nothing when the loop is not running. Any thread.
    void stop();

    /// Ends all of them, from the innermost outwards. Any thread.
    void stopAll();

    /// Queues a call for the loop's thread; calls run in the order in which they were queued. A call
    /// queued by a thread that then waits for it is run by nested runs as well. Any thread.
    void perform(std::function<void()> call);

    /// The wrapped context, for the other services of this folder. Not owned by the caller.
    _GMainContext* context() const;

private:
    struct State;
    class Run;
    explicit RunLoop(_GMainContext* context);
    std::shared_ptr<State> state_;
};

/// Queues a call for the main thread. Any thread.
void performOnMain(std::function<void()> call);

/// Runs a call on the main thread and returns when it has ended; on the main thread, at once. The main
/// loop must be running, or the caller waits until it is.
void performOnMainAndWait(const std::function<void()>& call);

/// Runs a call on the main thread after a delay. Any thread.
void performOnMainAfter(std::chrono::milliseconds delay, std::function<void()> call);

/// A timer on a run loop. Its next fire time can be moved at any moment, from any thread.
class Timer {
public:
    /// Fires `fire` on the loop's thread, first after `interval`, then, if it repeats, every `interval`:
    /// a late tick is not made up for. A timer that does not repeat is spent after one tick.
    Timer(RunLoop& loop, std::chrono::milliseconds interval, bool repeats, std::function<void()> fire);

    /// As invalidate().
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// Moves the next tick to "at once" ("the distant past").
    void fireNow();

    /// Moves the next tick to "never" ("the distant future"); fireNow() and fireAfter() resume.
    void pause();

    /// Moves the next tick to the given time from now.
    void fireAfter(std::chrono::milliseconds delay);

    /// Ends the timer for good. On the loop's thread no tick follows; elsewhere a tick that is
    /// already running may still end after this returns.
    void invalidate();

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace platform
