#include "platform/RunLoop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/DGALoopThread.h"
#include "platform/Report.h"
#include "platform/WorkQueue.h"

namespace {

using namespace std::chrono_literals;
using platform::RunLoop;
using platform::Timer;

TEST(Report, WarningsAndNothingLessReachStandardError) {
    platform::setReporter(nullptr);
    testing::internal::CaptureStderr();
    platform::reportWarning("first");
    platform::reportNotice("second");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "orvanedga: first\n");
}

TEST(RunLoop, CallsOfManyThreadsArriveOnceAndEachThreadsInOrder) {
    constexpr int kThreads = 4;
    constexpr int kCalls = 500;
    std::vector<int> last(kThreads, -1);
    int arrived = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kCalls; ++i) {
                platform::performOnMain([&, t, i] {
                    EXPECT_EQ(last[static_cast<size_t>(t)] + 1, i);
                    last[static_cast<size_t>(t)] = i;
                    if (++arrived == kThreads * kCalls)
                        RunLoop::main().stop();
                });
            }
        });
    }
    RunLoop::main().run();
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(arrived, kThreads * kCalls);
}

TEST(RunLoop, ANestedRunServesTheCallsQueuedBehindIt) {
    std::vector<int> order;
    platform::performOnMain([&] {
        order.push_back(1);
        RunLoop::main().run();
        order.push_back(3);
        RunLoop::main().stop();
    });
    platform::performOnMain([&] {
        order.push_back(2);
        RunLoop::main().stop();
    });
    RunLoop::main().run();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(RunLoop, ARunOfLimitedTimeEndsItselfAndNoRunInsideIt) {
    const auto limit = 20ms;
    bool isInside = false;
    Timer longer(RunLoop::main(), 5ms, false, [&] {
        const auto start = std::chrono::steady_clock::now();
        isInside = true;
        RunLoop::main().runFor(5 * limit);
        isInside = false;
        EXPECT_GE(std::chrono::steady_clock::now() - start, 5 * limit);
    });
    RunLoop::main().runFor(limit);
    EXPECT_FALSE(isInside);

    DGALoopThread nested("nested", [] {
        Timer inner(RunLoop::current(), 1ms, false, [] { RunLoop::current().runFor(1h); });
        RunLoop::current().run();
    });
    nested.start();
    std::this_thread::sleep_for(20ms);
    nested.cancel();  // its destructor waits for both
}

TEST(RunLoop, WaitingForTheMainThreadReturnsAfterTheCall) {
    std::atomic<bool> called{false};
    std::thread waiter([&] {
        platform::performOnMainAndWait([&] { called = true; });
        EXPECT_TRUE(called);
        RunLoop::main().perform([] { RunLoop::main().stop(); });
    });
    RunLoop::main().run();
    waiter.join();
    platform::performOnMainAndWait([&] { called = false; });
    EXPECT_FALSE(called) << "on the main thread itself it must not wait for the loop";
}

TEST(Timer, NextTickCanBeMovedToNowNeverAndAway) {
    int slow = 0;
    int paused = 0;
    int ended = 0;
    int repeated = 0;
    int delayed = 0;
    Timer far(RunLoop::main(), 1h, true, [&] { ++slow; });
    Timer never(RunLoop::main(), 10ms, true, [&] { ++paused; });
    Timer invalid(RunLoop::main(), 10ms, true, [&] { ++ended; });
    Timer ticks(RunLoop::main(), 20ms, true, [&] { ++repeated; });
    platform::performOnMainAfter(30ms, [&] { ++delayed; });
    far.fireNow();
    never.pause();
    invalid.invalidate();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 500 && (repeated < 3 || delayed == 0); ++i)
        RunLoop::main().runFor(10ms);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 55ms) << "not faster than every 20 ms";
    EXPECT_EQ(slow, 1) << "one tick at once, the next in an hour";
    EXPECT_EQ(paused, 0);
    EXPECT_EQ(ended, 0);
    EXPECT_GE(repeated, 3);
    EXPECT_EQ(delayed, 1);
    never.fireNow();
    for (int i = 0; i < 500 && paused == 0; ++i)
        RunLoop::main().runFor(5ms);
    EXPECT_GE(paused, 1) << "a paused timer resumes";
}

TEST(Timer, ATickMayPauseOrDestroyItsOwnTimer) {
    int ticks = 0;
    std::unique_ptr<Timer> doomed;
    doomed = std::make_unique<Timer>(RunLoop::main(), 5ms, true, [&] {
        ++ticks;
        doomed.reset();
    });
    int once = 0;
    Timer pausing(RunLoop::main(), 5ms, true, [&] {
        ++once;
        pausing.pause();
    });
    RunLoop::main().runFor(50ms);
    EXPECT_EQ(ticks, 1);
    EXPECT_EQ(once, 1);
}

TEST(LoopThread, ServesItsOwnLoopAndEndsWhenCancelled) {
    std::atomic<int> ticks{0};
    std::atomic<bool> ended{false};
    {
        DGALoopThread thread("test loop", [&] {
            Timer timer(RunLoop::current(), 5ms, true, [&] { ++ticks; });
            RunLoop::current().run();
            ended = true;
        });
        thread.start();
        while (ticks < 3)
            std::this_thread::sleep_for(1ms);
    }
    EXPECT_TRUE(ended);
    for (int i = 0; i < 50; ++i) {
        DGALoopThread hasty("hasty", [] { RunLoop::current().run(); });
        hasty.start();  // cancelled before, while or after it begins to run
    }
}

TEST(SerialQueue, RunsCallsOfAThreadInOrderAndSyncWaitsForThem) {
    platform::SerialQueue queue("com.example.test");
    std::vector<int> order;
    for (int i = 0; i < 1000; ++i)
        queue.async([&, i] { order.push_back(i); });
    size_t seen = 0;
    queue.sync([&] {
        seen = order.size();
        queue.sync([&] { ++seen; });
    });
    EXPECT_EQ(seen, 1001U) << "all of them, and a nested call without a deadlock";
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(BackgroundQueue, LongCallsRunSideBySide) {
    std::mutex mutex;
    std::condition_variable changed;
    int running = 0;
    int ended = 0;
    for (int i = 0; i < 4; ++i) {
        platform::BackgroundQueue::global().async([&] {
            std::unique_lock<std::mutex> hold(mutex);
            ++running;
            changed.notify_all();
            EXPECT_TRUE(changed.wait_for(hold, 5s, [&] { return running == 4; }))
                << "they wait for each other";
            ++ended;
            changed.notify_all();
        });
    }
    std::unique_lock<std::mutex> hold(mutex);
    EXPECT_TRUE(changed.wait_for(hold, 10s, [&] { return ended == 4; }));
}

}  // namespace
