// The spin lock and lazy construction under real contention; these also run under
// ThreadSanitizer. The engine's mutex is driven by its own concurrency tests (many
// threads logging, and passes that call the setters under the held lock while
// others log), its publication before the build ends by every first event.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "qdr/qdatomic.h"
#include "qdr/qdsync.h"
#include "report_capture.h"

namespace {

std::atomic<int> g_constructions{0};

struct SlowToBuild {
    SlowToBuild() {
        g_constructions.fetch_add(1);
        os::SleepMs(20);  // keep the others waiting on the spin lock
    }
    int value = 42;
};

LazyGlobal<SlowToBuild> g_lazy;

TEST(LazyGlobalConcurrency, RacingThreadsBuildTheObjectOnce) {
    ReportCapture reports;
    std::vector<std::thread> threads;
    std::vector<SlowToBuild*> seen(8, nullptr);
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&seen, i] {
            seen[static_cast<size_t>(i)] = g_lazy.Get([] {
                static SlowToBuild object;
                return &object;
            });
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(1, g_constructions.load());
    for (SlowToBuild* p : seen) {
        ASSERT_NE(nullptr, p);
        EXPECT_EQ(seen[0], p);
        EXPECT_EQ(42, p->value);
    }
    EXPECT_EQ(0, reports.Count());
}

TEST(LockConcurrency, MutexAndSpinLocksProtectACounterAcrossThreads) {
    ReportCapture reports;
    Mutex m;
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 20000; ++i) {
                AutoLock outer(&m);
                {
                    AutoLock inner(&m);  // recursion under contention
                    ++counter;
                }
                ++counter;  // giving up the inner level keeps the lock
            }
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(160000, counter);
    EXPECT_EQ(0, reports.Count());

    static OSSpinLock lock;
    long spinCounter = 0;
    std::vector<std::thread> spinThreads;
    for (int t = 0; t < 4; ++t)
        spinThreads.emplace_back([&, t] {
            for (int i = 0; i < 2000; ++i) {
                AutoSpinLock guard(&lock, t % 2);
                ++spinCounter;
            }
        });
    for (std::thread& t : spinThreads) t.join();
    EXPECT_EQ(8000, spinCounter);
}

}  // namespace
