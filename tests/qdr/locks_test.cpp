#include <gtest/gtest.h>

#include <cstring>

#include "qdr/qdsync.h"
#include "report_capture.h"

namespace {

TEST(Mutex, InvalidRecordsReportAndAreLeftAlone) {
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
}

TEST(Mutex, DestroyingAHeldMutexOrUnlockingAnotherOnesIsReported) {
    ReportCapture reports;
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

}  // namespace
