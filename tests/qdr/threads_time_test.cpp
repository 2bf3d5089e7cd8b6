#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdlib>

#include "cpp_templ0.h"
#include "qdr/qdmsel.h"
#include "qdr/qdthread.h"
#include "report_capture.h"

namespace {

struct StackProbe {
    size_t stackBytes = 0;
    OSThreadID selfId = 0;
};

unsigned ProbeStack(void* arg) {
    StackProbe* probe = static_cast<StackProbe*>(arg);
    pthread_attr_t attr;
    pthread_getattr_np(pthread_self(), &attr);
    pthread_attr_getstacksize(&attr, &probe->stackBytes);
    pthread_attr_destroy(&attr);
    probe->selfId = OSThreadSelf();
    return 7;
}

size_t StackOfThreadCreatedWith(int stackBytes, OSThreadID* reportedId, OSThreadID* selfId) {
    StackProbe probe;
    OSThread thread = 0;
    EXPECT_NE(0, OSCreateThread(&thread, reportedId, ProbeStack, &probe, stackBytes));
    EXPECT_NE(0u, thread);
    OSWaitThread(thread);
    *selfId = probe.selfId;
    return probe.stackBytes;
}

TEST(Threads, StackSizeDefaultsTo512KiBBelowOne) {
    OSThreadID reported = 0, self = 0;
    EXPECT_EQ(0x80000u, StackOfThreadCreatedWith(0, &reported, &self));
    EXPECT_EQ(reported, self);
    EXPECT_NE(0u, reported);
    EXPECT_NE(OSThreadSelf(), reported);
    EXPECT_EQ(0x80000u, StackOfThreadCreatedWith(-5, &reported, &self));
    EXPECT_EQ(1024u * 1024u, StackOfThreadCreatedWith(1024 * 1024, &reported, &self));
}

TEST(Threads, NullHandleIsReported) {
    ReportCapture reports;
    EXPECT_EQ(0, OSCreateThread(nullptr, nullptr, ProbeStack, nullptr, 0));
    EXPECT_EQ(1, reports.Count("(thread)"));
}

TEST(Msel, FileTimeCarriesTheHalfMillisecondConstant) {
    EXPECT_EQ(1, FileTimeToMSEL(116444736000015000LL));
    EXPECT_EQ(0, FileTimeToMSEL(116444736000014999LL));
    EXPECT_EQ(0, FileTimeToMSEL(116444736000005000LL));
    MSEL now = GetMSEL();
    EXPECT_TRUE(IsValidMSEL(now));
    EXPECT_GT(now, 1700000000000LL);
}

TEST(Msel, ValidRangeEnds) {
    EXPECT_TRUE(IsValidMSEL(0));
    EXPECT_TRUE(IsValidMSEL(2147443200000LL));
    EXPECT_FALSE(IsValidMSEL(2147443200001LL));
    EXPECT_FALSE(IsValidMSEL(-1));
    EXPECT_FALSE(IsValidMSEL(500LL << 32));
}

TEST(Msel, SystemTimeOfValidAndInvalidValues) {
    ReportCapture reports;
    SYSTEMTIME st = GetSystemTimeOfMSEL(2147443200000LL, false);
    EXPECT_EQ(2038, st.wYear);
    EXPECT_EQ(1, st.wMonth);
    EXPECT_EQ(18, st.wDay);
    EXPECT_EQ(16, st.wHour);
    EXPECT_EQ(1, st.wDayOfWeek);  // a Monday
    st = GetSystemTimeOfMSEL(1234, false);
    EXPECT_EQ(1970, st.wYear);
    EXPECT_EQ(1, st.wSecond);
    EXPECT_EQ(234, st.wMilliseconds);
    EXPECT_EQ(0, reports.Count());

    SYSTEMTIME out;
    EXPECT_FALSE(MSELToSystemTime(-1, &out, true));
    EXPECT_EQ(1, reports.Count("(IsValidMSEL(msel))"));
    st = GetSystemTimeOfMSEL(-1, true);
    SYSTEMTIME zero = {};
    EXPECT_EQ(0, memcmp(&zero, &st, sizeof(st)));
    EXPECT_FALSE(MSELToSystemTime(0, nullptr, true));
    EXPECT_EQ(1, reports.Count("(false)"));
}

TEST(Msel, LocalTimeFollowsTZ) {
    const char* old = getenv("TZ");
    std::string saved = old ? old : "";
    setenv("TZ", "Asia/Shanghai", 1);
    tzset();
    SYSTEMTIME st = GetSystemTimeOfMSEL(0, true);
    EXPECT_EQ(8, st.wHour);
    if (old)
        setenv("TZ", saved.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();
}

TEST(Ticks, AdvanceAndWrapThroughIsElapsed) {
    uint32_t a = GetTickCount();
    os::SleepMs(5);
    uint32_t b = GetTickCount();
    EXPECT_TRUE(IsElapsed(b, a, 4u));
    EXPECT_GT(ReadCpuCycle(), 0u);
}

TEST(IsElapsed, ThirtyTwoBitFormCountsAcrossTheWrap) {
    EXPECT_TRUE(IsElapsed(5u, 0xFFFFFFFBu, 10u));
    EXPECT_FALSE(IsElapsed(4u, 0xFFFFFFFBu, 10u));
    EXPECT_TRUE(IsElapsed(10u, 0u, 10u));
    // A `last` in the future looks like a long time ago to the unsigned form.
    EXPECT_TRUE(IsElapsed(0u, 10u, 10u));
}

TEST(IsElapsed, SixtyFourBitFormMustBeExceeded) {
    EXPECT_FALSE(IsElapsed(int64_t(10), int64_t(0), int64_t(10)));
    EXPECT_TRUE(IsElapsed(int64_t(11), int64_t(0), int64_t(10)));
    EXPECT_FALSE(IsElapsed(int64_t(0), int64_t(10), int64_t(10)));
}

TEST(IsElapsed, IntervalAboveAQuarterOfTheRangeIsReported) {
    ReportCapture reports;
    IsElapsed(0u, 0u, 0x40000000u);
    EXPECT_EQ(0, reports.Count());
    IsElapsed(0u, 0u, 0x40000001u);
    IsElapsed(int64_t(0), int64_t(0), int64_t(0x4000000000000001LL));
    EXPECT_EQ(2, reports.Count("(interval <= upper_interval)"));
}

TEST(LimitValue, ClampsAndTellsWhetherItMoved) {
    ReportCapture reports;
    int v = 5;
    EXPECT_FALSE(LimitValue(v, 1, 10));
    EXPECT_EQ(5, v);
    v = -3;
    EXPECT_TRUE(LimitValue(v, 1, 10));
    EXPECT_EQ(1, v);
    v = 30;
    EXPECT_TRUE(LimitValue(v, 1, 10));
    EXPECT_EQ(10, v);
    EXPECT_EQ(0, reports.Count());

    v = 0;
    EXPECT_TRUE(LimitValue(v, 5, 2, false));  // empty range not reported without the flag
    EXPECT_EQ(5, v);
    EXPECT_EQ(0, reports.Count());
    LimitValue(v, 5, 2, true);
    EXPECT_EQ(1, reports.Count("(highest >= lowest)"));
}

TEST(RangesOverlap, ClosedAndOpen) {
    EXPECT_TRUE(RangesOverlap(1, 3, 3, 5, true));
    EXPECT_FALSE(RangesOverlap(1, 3, 3, 5, false));
    EXPECT_TRUE(RangesOverlap(1, 4, 3, 5, false));
    EXPECT_FALSE(RangesOverlap(1, 2, 3, 5, true));
    ReportCapture reports;
    RangesOverlap(3, 1, 0, 5, true);
    EXPECT_EQ(1, reports.Count("(right1 >= left1)"));
}

}  // namespace
