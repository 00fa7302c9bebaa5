#include "platform/RunLoop.h"

#include <glib.h>
#include <unistd.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>
#include <vector>

namespace platform {
namespace {

/// A GSource that calls a C++ object when its ready time has come.
template <typename Target>
struct TargetSource {
    GSource base;
    std::weak_ptr<Target>* target;

    static gboolean dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
        const auto target = reinterpret_cast<TargetSource*>(source)->target->lock();
        if (!target)
            return G_SOURCE_REMOVE;
        target->dispatch();
        return G_SOURCE_CONTINUE;
    }

    static void finalize(GSource* source) { delete reinterpret_cast<TargetSource*>(source)->target; }

    static GSource* attach(const std::shared_ptr<Target>& target, GMainContext* context) {
        static GSourceFuncs functions = {nullptr, nullptr, &dispatch, &finalize, nullptr, nullptr};
        GSource* source = g_source_new(&functions, sizeof(TargetSource));
        reinterpret_cast<TargetSource*>(source)->target = new std::weak_ptr<Target>(target);
        g_source_set_can_recurse(source, TRUE);
        g_source_set_ready_time(source, -1);
        g_source_attach(source, context);
        return source;
    }
};

bool isMainThread() {
    return gettid() == getpid();
}

gint64 readyTimeAfter(std::chrono::milliseconds delay) {
    return g_get_monotonic_time() + std::chrono::microseconds(delay).count();
}

}  // namespace

// Calls travel through a queue under a mutex of our own rather than through GLib's, so that race
// detectors see the hand-over.
struct RunLoop::State {
    GMainContext* context = nullptr;
    GSource* callSource = nullptr;
    std::mutex mutex;
    std::deque<std::function<void()>> calls;
    std::vector<GMainLoop*> runs;

    void dispatch() {
        std::function<void()> call;
        {
            const std::lock_guard<std::mutex> hold(mutex);
            // One call a dispatch: a call may run the loop again, and the calls behind it must then
            // be served by the nested run.
            if (!calls.empty()) {
                call = std::move(calls.front());
                calls.pop_front();
            }
            if (calls.empty())
                g_source_set_ready_time(callSource, -1);
        }
        if (call)
            call();
    }
};

RunLoop::RunLoop(_GMainContext* context) : state_(std::make_shared<State>()) {
    state_->context = g_main_context_ref(context);
    state_->callSource = TargetSource<State>::attach(state_, context);
}

RunLoop::~RunLoop() {
    g_source_destroy(state_->callSource);
    g_source_unref(state_->callSource);
    g_main_context_unref(state_->context);
}

RunLoop& RunLoop::main() {
    static RunLoop* const loop = new RunLoop(g_main_context_default());
    return *loop;
}

RunLoop& RunLoop::current() {
    if (isMainThread())
        return main();
    struct ThreadLoop {
        GMainContext* context = g_main_context_new();
        RunLoop loop{context};
        ThreadLoop() { g_main_context_push_thread_default(context); }
        ~ThreadLoop() {
            g_main_context_pop_thread_default(context);
            g_main_context_unref(context);
        }
        ThreadLoop(const ThreadLoop&) = delete;
        ThreadLoop& operator=(const ThreadLoop&) = delete;
    };
    thread_local ThreadLoop own;
    return own.loop;
}

class RunLoop::Run {
public:
    explicit Run(State& state) : state_(state), loop_(g_main_loop_new(state.context, FALSE)) {
        const std::lock_guard<std::mutex> hold(state_.mutex);
        state_.runs.push_back(loop_);
    }
    ~Run() {
        {
            const std::lock_guard<std::mutex> hold(state_.mutex);
            std::erase(state_.runs, loop_);
        }
        g_main_loop_unref(loop_);
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    void serve() { g_main_loop_run(loop_); }
    void end() { g_main_loop_quit(loop_); }

private:
    State& state_;
    GMainLoop* loop_;
};

void RunLoop::run() {
    Run(*state_).serve();
}

// The time ends this run, whatever runs inside it then.
void RunLoop::runFor(std::chrono::milliseconds time) {
    Run run(*state_);
    Timer limit(*this, time, false, [&run] { run.end(); });
    run.serve();
}

void RunLoop::stop() {
    const std::lock_guard<std::mutex> hold(state_->mutex);
    if (!state_->runs.empty())
        g_main_loop_quit(state_->runs.back());
}

void RunLoop::stopAll() {
    const std::lock_guard<std::mutex> hold(state_->mutex);
    for (GMainLoop* const run : state_->runs)
        g_main_loop_quit(run);
}

void RunLoop::perform(std::function<void()> call) {
    const std::lock_guard<std::mutex> hold(state_->mutex);
    state_->calls.push_back(std::move(call));
    g_source_set_ready_time(state_->callSource, 0);
}

_GMainContext* RunLoop::context() const {
    return state_->context;
}

void performOnMain(std::function<void()> call) {
    RunLoop::main().perform(std::move(call));
}

void performOnMainAndWait(const std::function<void()>& call) {
    if (isMainThread()) {
        call();
        return;
    }
    struct Wait {
        std::mutex mutex;
        std::condition_variable changed;
        bool done = false;
    } wait;
    RunLoop::main().perform([&] {
        call();
        const std::lock_guard<std::mutex> hold(wait.mutex);
        wait.done = true;
        wait.changed.notify_one();
    });
    std::unique_lock<std::mutex> hold(wait.mutex);
    wait.changed.wait(hold, [&] { return wait.done; });
}

// The timer is made on the thread it fires on: race detectors do not see GLib hand it over.
void performOnMainAfter(std::chrono::milliseconds delay, std::function<void()> call) {
    performOnMain([delay, call = std::move(call)]() mutable {
        auto timer = std::make_shared<std::unique_ptr<Timer>>();
        *timer =
            std::make_unique<Timer>(RunLoop::main(), delay, false, [timer, call = std::move(call)]() mutable {
                const auto last = std::move(timer);
                call();
                last->reset();
            });
    });
}

struct Timer::State {
    GSource* source = nullptr;
    std::chrono::milliseconds interval{0};
    bool repeats = false;
    std::mutex mutex;
    bool valid = true;
    std::function<void()> fire;

    void dispatch() {
        std::function<void()> call;
        {
            const std::lock_guard<std::mutex> hold(mutex);
            if (!valid)
                return;
            // Set before the call, so that the call can move the next tick.
            g_source_set_ready_time(source, repeats ? nextTick() : -1);
            call = fire;
        }
        if (call)
            call();
    }

    gint64 nextTick() const {
        const gint64 step = std::chrono::microseconds(interval).count();
        const gint64 onTime = g_source_get_ready_time(source) + step;
        const gint64 now = g_get_monotonic_time();
        return onTime > now ? onTime : now + step;
    }

    void moveTo(gint64 readyTime) {
        const std::lock_guard<std::mutex> hold(mutex);
        if (valid)
            g_source_set_ready_time(source, readyTime);
    }
};

Timer::Timer(RunLoop& loop, std::chrono::milliseconds interval, bool repeats, std::function<void()> fire)
    : state_(std::make_shared<State>()) {
    const std::lock_guard<std::mutex> hold(state_->mutex);
    state_->interval = interval;
    state_->repeats = repeats;
    state_->fire = std::move(fire);
    state_->source = TargetSource<State>::attach(state_, loop.context());
    g_source_set_ready_time(state_->source, readyTimeAfter(interval));
}

Timer::~Timer() {
    invalidate();
    g_source_unref(state_->source);
}

void Timer::fireNow() {
    state_->moveTo(0);
}

void Timer::pause() {
    state_->moveTo(-1);
}

void Timer::fireAfter(std::chrono::milliseconds delay) {
    state_->moveTo(readyTimeAfter(delay));
}

void Timer::invalidate() {
    std::function<void()> spent;
    const std::lock_guard<std::mutex> hold(state_->mutex);
    if (!state_->valid)
        return;
    state_->valid = false;
    spent.swap(state_->fire);
    g_source_destroy(state_->source);
}

}  // namespace platform
