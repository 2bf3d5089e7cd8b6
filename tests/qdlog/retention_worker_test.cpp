// The first sweep and its worker: below 5000 files the first call lists the whole
// directory, from the 5000th on a worker thread sweeps it while events go on, and
// a process that ends during that sweep stops and joins the worker. Built twice:
// with directories of up to 5100 files for the quick run, and (QD_SLOW_TESTS) with
// 100,000 files for the slow one.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "child_process.h"
#include "log_test_support.h"
#include "logfilelist.h"
#include "scratch_dir.h"

namespace {

// Empty files with 14 digits after "log"; 5000 of them take a blink to make.
void MakeLogFiles(const ScratchDir& dir, int count) {
    char name[32];
    for (int i = 0; i < count; ++i) {
        snprintf(name, sizeof(name), "log20161118%06d.log", i);
        std::ofstream(dir / name);
    }
}

class FirstSweep : public LogTest, public testing::WithParamInterface<int> {
protected:
    void TearDown() override {
        ResetLogFileList(1);
        QDLogSetDir(nullptr);
        LogTest::TearDown();
    }
};

// initFinished is set by whoever ends the sweep: the worker, or else the caller.
TEST_P(FirstSweep, HandsTheDirectoryToAWorkerAtTheFiveThousandthFile) {
    const int files = GetParam();
    ScratchDir dir("qdlog-sweep");
    MakeLogFiles(dir, files);
    ResetLogFileList(0);
    ASSERT_EQ(1, QDLogSetDir(dir.Text().c_str()));
    LineRecorder recorder;
    LogContext& log = GetLogContext();
    const bool ranToItsEnd = SweepLogDirectory(log);
    EXPECT_EQ(files < kFirstSweepFiles, ranToItsEnd);
    EXPECT_EQ(ranToItsEnd, log.logFileList_.initThread == 0);
    for (int i = 0; i < 200; ++i) QDLogEvent(0, "event %d", i);
    if (ranToItsEnd) {
        EXPECT_EQ(0, log.logFileList_.initFinished);  // the caller's to set
    } else {
        for (int ms = 0; !log.logFileList_.initFinished && ms < 60000; ++ms) os::SleepMs(1);
        EXPECT_EQ(1, log.logFileList_.initFinished);
    }
    EXPECT_EQ(static_cast<size_t>(files), ListedPaths().size());
    EXPECT_EQ(200u, recorder.Texts().size());
}

// The process of the test below: builds the engine on QD_SWEEP_DIR, says whether the
// sweep goes on ("sweeping 1") and ends. Its first atexit routine runs after the
// engine's destructor and tells how many checks failed ("ended, reports 0").
TEST(SweepingProcess, EndsWhileTheWorkerSweeps) {
    const char* dir = getenv("QD_SWEEP_DIR");
    if (!dir) GTEST_SKIP() << "runs as the process of the test below";
    static std::atomic<int> reports{0};
    qdr_SetAssertReportHandler([](const qdr_AssertReport*) -> int {
        ++reports;
        return QDR_IDIGNORE;
    });
    atexit([] { printf("ended, reports %d\n", reports.load()); });
    ASSERT_EQ(1, QDLogSetDir(dir));
    printf("sweeping %d\n", GetLogContext().logFileList_.initFinished ? 0 : 1);
    fflush(stdout);
    exit(0);
}

class WorkerAtExit : public testing::TestWithParam<int> {};

// The process ends while the worker sweeps: the destructor stops the worker at its
// next file and joins it.
TEST_P(WorkerAtExit, AProcessEndingDuringTheSweepEndsPromptlyAndCleanly) {
    ScratchDir dir("qdlog-exit");
    MakeLogFiles(dir, GetParam());
    ChildProcess child({std::filesystem::read_symlink("/proc/self/exe").string(),
                        "--gtest_filter=SweepingProcess.*"},
                       {"QD_SWEEP_DIR=" + dir.Text()});
    std::string sweeping;
    while (child.ReadLine(&sweeping) && sweeping.rfind("sweeping", 0) != 0) {
    }
    const long long exiting = WallClockMs();
    const std::string end = child.ReadAll();
    const long long exitMs = WallClockMs() - exiting;
    EXPECT_EQ(0, child.Wait());
    EXPECT_EQ("sweeping 1", sweeping);  // the worker was still at it
    EXPECT_EQ("ended, reports 0\n", end);
    // A whole sweep of 100,000 files takes over 200 ms (its 195 pauses alone).
    EXPECT_LT(exitMs, GetParam() >= 100000 ? 100 : 1000);
}

#ifdef QD_SLOW_TESTS
INSTANTIATE_TEST_SUITE_P(HundredThousandFiles, FirstSweep, testing::Values(100000));
INSTANTIATE_TEST_SUITE_P(HundredThousandFiles, WorkerAtExit, testing::Values(100000));
#else
INSTANTIATE_TEST_SUITE_P(Files, FirstSweep, testing::Values(4999, 5000, 5100));
INSTANTIATE_TEST_SUITE_P(Files, WorkerAtExit, testing::Values(5000));
#endif

}  // namespace
