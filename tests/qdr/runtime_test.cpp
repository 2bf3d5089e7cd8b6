// The runtime's threads, clocks, time values, mutex records and text conversion.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "cpp_templ0.h"
#include "qdr/platform/os.h"
#include "qdr/qdmsel.h"
#include "qdr/qdsync.h"
#include "qdr/qdthread.h"
#include "report_capture.h"

namespace {

// clang-format off
struct StackProbe { size_t stackBytes = 0; OSThreadID selfId = 0; };
// clang-format on

unsigned ProbeStack(void* arg) {
    StackProbe* probe = static_cast<StackProbe*>(arg);
    pthread_attr_t attr;
    pthread_getattr_np(pthread_self(), &attr);
    pthread_attr_getstacksize(&attr, &probe->stackBytes);
    pthread_attr_destroy(&attr);
    probe->selfId = OSThreadSelf();
    return 7;
}

TEST(Threads, StackSizeDefaultsTo512KiBBelowOneAndTheIdIsTheThreadsOwn) {
    for (int asked : {0, -5, 1024 * 1024}) {
        StackProbe probe;
        OSThread thread = 0;
        OSThreadID reported = 0;
        EXPECT_NE(0, OSCreateThread(&thread, &reported, ProbeStack, &probe, asked));
        OSWaitThread(thread);
        EXPECT_EQ(asked > 0 ? size_t(asked) : 0x80000u, probe.stackBytes) << asked;
        EXPECT_EQ(reported, probe.selfId);
        EXPECT_NE(OSThreadSelf(), reported);
    }
}

TEST(Msel, FileTimeRoundingAndSystemTimesOfValidAndInvalidValues) {
    EXPECT_EQ(1, FileTimeToMSEL(116444736000015000LL));  // half a millisecond rounds up
    EXPECT_EQ(0, FileTimeToMSEL(116444736000014999LL));
    EXPECT_EQ(0, FileTimeToMSEL(116444736000005000LL));
    // A clock reading converts as its file time does, around each half millisecond,
    // at 1970's first seconds and before them.
    for (const int64_t seconds : {-2, -1, 0, 1, 2, 1479442320, 2147443199})
        for (const int64_t nanoseconds :
             {0, 99, 100, 499999, 500000, 1499999, 1500000, 999999999}) {
            const os::RealTimeReading t{seconds, nanoseconds};
            EXPECT_EQ(FileTimeToMSEL(os::FileTimeOf(t)), MSELOfReading(t))
                << seconds << " " << nanoseconds;
        }

    ReportCapture reports;
    SYSTEMTIME st = GetSystemTimeOfMSEL(2147443200000LL, false);  // a Monday
    EXPECT_EQ((std::vector<int>{2038, 1, 18, 1, 16, 0, 0}),
              (std::vector<int>{st.wYear, st.wMonth, st.wDay, st.wDayOfWeek, st.wHour, st.wSecond,
                                st.wMilliseconds}));
    EXPECT_EQ(0, reports.Count());

    EXPECT_FALSE(MSELToSystemTime(-1, &st, true));
    EXPECT_EQ(1, reports.Count("(IsValidMSEL(msel))"));
    st = GetSystemTimeOfMSEL(-1, true);
    SYSTEMTIME zero = {};
    EXPECT_EQ(0, memcmp(&zero, &st, sizeof(st)));
}

// The mask pointer's test whether a pass may be due relies on both: the coarse tick
// is never ahead of the tick, and at most its lag behind.
TEST(Ticks, TheCoarseTickIsNeverAheadAndAtMostItsLagBehind) {
    const uint32_t lag = os::CoarseTickLag();
    EXPECT_GE(lag, 1u);
    EXPECT_LT(lag, 100u);
    // Between two precise reads, so that a thread put aside in between proves nothing
    // wrong: the coarse tick lies at most its lag before the first, and not after the
    // second.
    for (int i = 0; i < 20000; ++i) {
        const uint32_t before = GetTickCount();
        const uint32_t coarse = os::CoarseTickCount();
        const uint32_t after = GetTickCount();
        ASSERT_LE(static_cast<int32_t>(before - coarse), static_cast<int32_t>(lag)) << i;
        ASSERT_LE(static_cast<int32_t>(coarse - after), 0) << i;
    }
}

TEST(Intervals, ElapsedAtTheWrapClampedValuesAndOverlappingRanges) {
    EXPECT_TRUE(IsElapsed(5u, 0xFFFFFFFBu, 10u));  // across the 32-bit wrap
    EXPECT_FALSE(IsElapsed(4u, 0xFFFFFFFBu, 10u));
    EXPECT_TRUE(IsElapsed(10u, 0u, 10u));
    EXPECT_TRUE(IsElapsed(0u, 10u, 10u));  // a `last` in the future: long ago, unsigned
    EXPECT_FALSE(IsElapsed(int64_t(10), int64_t(0), int64_t(10)));  // must be exceeded
    EXPECT_TRUE(IsElapsed(int64_t(11), int64_t(0), int64_t(10)));
    EXPECT_FALSE(IsElapsed(int64_t(0), int64_t(10), int64_t(10)));

    ReportCapture reports;
    IsElapsed(0u, 0u, 0x40000000u);
    EXPECT_EQ(0, reports.Count());
    IsElapsed(0u, 0u, 0x40000001u);
    IsElapsed(int64_t(0), int64_t(0), int64_t(0x4000000000000001LL));
    EXPECT_EQ(2, reports.Count("(interval <= upper_interval)"));

    // LimitValue clamps, tells whether it moved and reports an empty range on request; ranges
    // overlap closed or open.
    ReportCapture ranges;
    // {value, lowest, highest, check} -> {moved, value}; the empty range unreported first.
    // clang-format off
    for (auto [v, lowest, highest, check, moved, want] :
         {std::tuple{5, 1, 10, true, false, 5}, {-3, 1, 10, true, true, 1},
          {30, 1, 10, true, true, 10}, {0, 5, 2, false, true, 5}, {0, 5, 2, true, true, 5}}) {
        // clang-format on
        EXPECT_EQ(moved, LimitValue(v, lowest, highest, check));
        EXPECT_EQ(want, v);
    }
    EXPECT_EQ(1, ranges.Count("(highest >= lowest)"));
    EXPECT_EQ(1, ranges.Count());

    EXPECT_TRUE(RangesOverlap(1, 3, 3, 5, true));
    EXPECT_FALSE(RangesOverlap(1, 3, 3, 5, false));
    EXPECT_TRUE(RangesOverlap(1, 4, 3, 5, false));
    EXPECT_FALSE(RangesOverlap(1, 2, 3, 5, true));
    RangesOverlap(3, 1, 0, 5, true);
    EXPECT_EQ(1, ranges.Count("(right1 >= left1)"));
}

// The whole of a text through one of the conversions, measured first.
template <class To, class From>
std::basic_string<To> Converted(int (*convert)(const From*, int, To*, int),
                                const std::basic_string<From>& s) {
    const int n = convert(s.data(), static_cast<int>(s.size()), nullptr, 0);
    std::basic_string<To> out(static_cast<size_t>(n), To(0));
    EXPECT_EQ(n, convert(s.data(), static_cast<int>(s.size()), &out[0], n));
    return out;
}

TEST(Mutex, InvalidRecordsAndMisuseAreReported) {
    ReportCapture reports;
    OSMutex neverInitialised;
    memset(&neverInitialised, 0, sizeof(neverInitialised));
    OSMutexLock(&neverInitialised);
    OSMutexUnlock(&neverInitialised);

    OSMutex overrun;
    OSMutexInit(&overrun, 0);
    overrun.syncDWORD2 = 0x41414141;
    OSMutexLock(&overrun);
    overrun.syncDWORD2 = kOSMutexMagic;
    OSMutexDestroy(&overrun);

    OSMutex destroyed;
    OSMutexInit(&destroyed, 0);
    OSMutexDestroy(&destroyed);
    for (size_t i = 0; i < sizeof(destroyed); ++i)
        ASSERT_EQ(0xCD, reinterpret_cast<unsigned char*>(&destroyed)[i]);
    OSMutexLock(&destroyed);

    EXPECT_EQ(4, reports.CountMessage("Invalid mutex object!!!"));
    EXPECT_EQ(4, reports.Count());

    // Destroying a held mutex, or unlocking another thread's.
    OSMutex held;
    OSMutexInit(&held, 0);
    OSMutexLock(&held);
    OSMutexDestroy(&held);
    EXPECT_EQ(1, reports.Count("(mutex->lockedThreadID == 0)"));
    EXPECT_EQ(1, reports.Count("(mutex->lockedCount == 0)"));
    Mutex m;
    m.Unlock();  // never locked: not the owner, and no level to give up
    EXPECT_EQ(1, reports.Count("(OSMutexOwner(mutex) == OSThreadSelf())"));
    EXPECT_EQ(1, reports.Count("(mutex->lockedCount >= 1)"));
}

TEST(TextConversion, ReplacementCharactersTerminatorsAndSmallBuffers) {
    // Unpaired surrogates, high and low.
    EXPECT_EQ("a\xEF\xBF\xBDx\xEF\xBF\xBD",
              Converted(os::Utf16ToUtf8, std::u16string(u"a\xD800x\xDC00")));
    // A stray continuation byte, a truncated sequence, an overlong slash, a surrogate.
    EXPECT_EQ(u"\xFFFDx", Converted(os::Utf8ToUtf16, std::string("\x80x")));
    EXPECT_EQ(u"\xFFFD", Converted(os::Utf8ToUtf16, std::string("\xE4\xB8")));
    EXPECT_EQ(u"\xFFFD\xFFFD", Converted(os::Utf8ToUtf16, std::string("\xC0\xAF")));
    EXPECT_EQ(u"\xFFFD\xFFFD\xFFFD", Converted(os::Utf8ToUtf16, std::string("\xED\xA0\x80")));

    // The terminator counts for negative lengths; too small a buffer fails.
    char16_t wide[8];
    EXPECT_EQ(3, os::Utf8ToUtf16("ab", -1, wide, 8));
    EXPECT_EQ(0, wide[2]);
    EXPECT_EQ(0, os::Utf8ToUtf16("abc", 3, wide, 2));
    char narrow[8];
    EXPECT_EQ(0, os::Utf16ToUtf8(u"\x4E2D", 1, narrow, 2));
    EXPECT_EQ(4, os::Utf16ToUtf8(u"\x4E2D", -1, narrow, 8));
}

}  // namespace
