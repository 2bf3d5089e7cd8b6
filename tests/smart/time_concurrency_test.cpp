// First use of the cached time state (range bounds, own start time, clock rate)
// from several threads at once: all see the same values, and under ThreadSanitizer
// the first-use writes must not race. UTC, so that the text names one instant.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <ctime>

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

}  // namespace
