// These also run under ThreadSanitizer. First use of the cached time state (range
// bounds, own start time, clock rate) from several threads at once: all see the same
// values, and the first-use writes must not race. UTC, so that the text names one
// instant. Binary copies dropped on several threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <thread>
#include <vector>

#include "binary.h"
#include "qdtime.h"
#include "report_capture.h"

namespace {

struct InUtc {
    InUtc() {
        setenv("TZ", "UTC", 1);
        tzset();
    }
} g_inUtc;

std::atomic<bool> g_go{false};

unsigned UseCachedTimeState(void* arg) {
    int64_t* seen = static_cast<int64_t*>(arg);
    while (!g_go.load()) {
    }
    seen[0] = DateTextToMSEL("20240102030405", false, false);
    seen[1] = GetProcessStartMSELCached(0, true);
    seen[2] = GetCpuFrequency();
    return 0;
}

TEST(TimeFirstUse, ThreadsAgreeOnTheCachedState) {
    ReportCapture reports;  // a machine without a clock rate reports that once
    int64_t seen[6][3];
    OSThread threads[6];
    for (int i = 0; i < 6; ++i)
        ASSERT_NE(0, OSCreateThread(&threads[i], nullptr, UseCachedTimeState, seen[i], 0));
    g_go = true;
    for (OSThread thread : threads) OSWaitThread(thread);
    EXPECT_EQ(1704164645000LL, seen[0][0]);
    EXPECT_TRUE(IsValidMSEL(seen[0][1]));
    for (int i = 1; i < 6; ++i)
        for (int k = 0; k < 3; ++k) EXPECT_EQ(seen[0][k], seen[i][k]);
    EXPECT_LE(reports.Count(), 1);
}

TEST(BinaryConcurrency, CopiesOfOneBlockAreDroppedOnManyThreads) {
    ReportCapture reports;
    int frees = 0;
    static std::atomic<int> s_frees;
    s_frees = 0;
    BinaryBlockFunction counting = [](void* block, size_t bytes) -> void* {
        if (!block) return malloc(bytes);
        s_frees.fetch_add(1);
        free(block);
        return nullptr;
    };
    {
        Binary original{BinaryAllocator(counting)};
        original.Set("shared bytes", 12);
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t)
            threads.emplace_back([original] {  // each thread starts with its own copy
                for (int i = 0; i < 1000; ++i) {
                    Binary copy = original;
                    Binary empty;  // the shared empty entity, counted from every thread
                    if (copy.Size() != 12) ADD_FAILURE();
                }
            });
        for (std::thread& t : threads) t.join();
        EXPECT_EQ(1, original.RefCount());
        frees = s_frees.load();
    }
    EXPECT_EQ(0, frees);           // nothing went while the original lived
    EXPECT_EQ(2, s_frees.load());  // then its entity and its block
    EXPECT_EQ(0, reports.Count());
}

}  // namespace
