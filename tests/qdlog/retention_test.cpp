// The deletion rules over the list of old log files: which files each rule takes,
// in which order and how often, and what becomes of names and files it cannot
// handle. Local time is UTC+8 (TZ=CST-8).
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "log_test_support.h"
#include "logfilelist.h"
#include "qdfdk.h"
#include "report_capture.h"
#include "scratch_dir.h"
#include "unwritable_dir.h"

namespace {

namespace fs = std::filesystem;
typedef std::vector<std::string> Paths;

// 2016-11-18 12:12:00.000 here: with the default life of 3 days a file born
// before 2016-11-15 12:12:00 is over age.
constexpr MSEL kNow = kSampleMSEL - 123;
constexpr uint32_t kTick = 1000000;

class Retention : public LogTest {
protected:
    void SetUp() override {
        LogTest::SetUp();
        ResetLogFileList(1);
        QDLogSetLife(3);
        QDLogSetReserve(0, 1);  // off
        QDLogSetMaxFileNum(0);
        SetTicks(kTick - 120000);  // each rule due at kTick, as at the start of a run
    }
    void TearDown() override {
        GetLogContext().logFile_.Close();
        NoteEventMSEL(GetLogContext(), 0, true);
        ResetLogFileList(1);
        QDLogSetLife(3);
        QDLogSetReserve(512, 0);
        QDLogSetMaxFileNum(0);
        QDLogSetFileSizeLimit(0x80000);
        QDLogSetDir(nullptr);
        LogTest::TearDown();
    }
    static void SetTicks(uint32_t last) {
        LogContext& log = GetLogContext();
        log.lastHoldCheckTick_ = log.lastReserveCheckTick_ = log.lastFileNumCheckTick_ = last;
    }
    // Makes the files (name, size; sparse) and lists them with the first sweep.
    static void Sweep(const ScratchDir& dir,
                      const std::vector<std::pair<std::string, int64_t>>& files) {
        for (const auto& file : files) SetFileLength((dir / file.first).c_str(), file.second, true);
        ASSERT_EQ(1, QDLogSetDir(dir.Text().c_str()));
        ASSERT_TRUE(SweepLogDirectory(GetLogContext()));
    }
    static void Clean(MSEL now, uint32_t tick) {
        LogContext& log = GetLogContext();
        LogLock lock(log);
        CleanLogFiles(log, now, tick);
    }
    std::string Listed(const std::string& name) const { return dir_.Text() + "\\" + name; }
    bool OnDisk(const std::string& name) const { return fs::exists(dir_ / name); }
    static int64_t Total() { return GetLogContext().logFileList_.totalLogBytes; }

    ScratchDir dir_{"qdlog-retention-a"};
};

// Exactly 3 days is not over age, and the walk ends there, before an older file of
// a directory that sorts later. Names other than "log" and 14 digits are never
// listed, so never deleted.
TEST_F(Retention, AgeDeletesFromTheOldestEndUpToTheFirstYoungFile) {
    ScratchDir later("qdlog-retention-b");
    Sweep(later, {{"log20100101000000.log", 7}});
    const char* strangers[] = {"LOG20161101000000.log", "log2016110100000.log",
                               "log201611010000000.log"};
    Sweep(dir_, {{"log20161114000000.log", 10},
                 {"log20161115121159.log", 20},
                 {"log20161115121200.log", 30},
                 {strangers[0], 1},
                 {strangers[1], 1},
                 {strangers[2], 1}});
    Clean(kNow, kTick);
    EXPECT_EQ((Paths{Listed("log20161115121200.log"), later.Text() + "\\log20100101000000.log"}),
              ListedPaths());
    EXPECT_EQ(37, Total());
    EXPECT_FALSE(OnDisk("log20161114000000.log"));
    for (const char* name : strangers) EXPECT_TRUE(OnDisk(name)) << name;
}

// The run ends at such a name without taking its tick, so every event tries again.
TEST_F(Retention, ANameWithoutAReadableDateStopsTheAgeRuleThereAtEveryEvent) {
    const std::pair<std::string, std::string> cases[] = {
        {Listed("log20161332000000.log"), "(false)"},  // month 13
        {Listed("logfile.log"), "(MatchingString(file_, \"log##############.log\"))"},
        {"log20161101000001.log", "(false)"},  // no separator
    };
    for (const auto& [path, report] : cases) {
        SCOPED_TRACE(path);
        ResetLogFileList(1);
        Sweep(dir_, {{"log20161101000000.log", 5}});
        GetLogContext().logFileList_.List(path.c_str());
        ReportCapture reports;
        Clean(kNow, kTick);
        Clean(kNow, kTick + 1);
        EXPECT_EQ(2, reports.Count(report));
        EXPECT_EQ(Paths{path}, ListedPaths());  // the older file before it went
    }
}

// Sparse files of a size that the free amount does not drift by between the
// test's query and the rule's: 1.5 files are missing, so two go.
TEST_F(Retention, ReserveDeletesOnlyWhatIsMissing) {
    for (const int isMemory : {0, 1}) {
        SCOPED_TRACE(isMemory);
        const int64_t fileBytes = int64_t(isMemory ? 8 : 1) << 30;
        ResetLogFileList(1);
        SetTicks(kTick - 120000);
        Sweep(dir_, {{"log20161118000000.log", fileBytes},
                     {"log20161118010000.log", fileBytes},
                     {"log20161118020000.log", fileBytes}});
        const int64_t freeBytes = static_cast<int64_t>(
            isMemory ? os::AvailablePhysicalMemory() : GetDiskSpace(dir_.Text().c_str()));
        QDLogSetReserve(static_cast<int>((freeBytes + fileBytes * 3 / 2) >> 20), isMemory);
        Clean(kNow, kTick);
        EXPECT_EQ(Paths{Listed("log20161118020000.log")}, ListedPaths());
        EXPECT_EQ(fileBytes, Total());
    }
}

// Not a minute later. The count rule then deletes from the oldest end, a vanished
// file too, and measures nothing.
TEST_F(Retention, AnAgeDeletionHoldsTheOtherRulesBackUntilTheNextEvent) {
    Sweep(dir_, {{"log20161101000000.log", 1},
                 {"log20161118000000.log", 2},
                 {"log20161118010000.log", 4},
                 {"log20161118020000.log", 8}});
    fs::remove(dir_ / "log20161118000000.log");
    QDLogSetReserve(2, 0);  // room to spare: the rule only looks
    QDLogSetMaxFileNum(1);
    const LogContext& log = GetLogContext();
    Clean(kNow, kTick);
    EXPECT_EQ(3u, ListedPaths().size());
    EXPECT_EQ(kTick - 120000, log.lastFileNumCheckTick_);
    Clean(kNow, kTick + 1);
    EXPECT_EQ(Paths{Listed("log20161118020000.log")}, ListedPaths());
    EXPECT_FALSE(OnDisk("log20161118010000.log"));
    EXPECT_EQ(14, Total());
    EXPECT_EQ(kTick + 1, log.lastReserveCheckTick_);
}

// Files that cannot be deleted, or vanished, leave the list all the same; a
// vanished one measures -1, which leaves its bytes, plus one, in the sum.
TEST_F(Retention, FilesItCannotDeleteLeaveTheListAndLoggingGoesOn) {
    QDLogSetFileSizeLimit(16384);  // none is small enough to be continued
    Sweep(dir_, {{"log20161101000000.log", 10000},
                 {"log20161102000000.log", 20000},
                 {"log20161103000000.log", 40000}});
    fs::remove(dir_ / "log20161102000000.log");
    SetTicks(GetTickCount());
    QDLogToFile(1);
    PrintAt(0, "before", kNow);  // opens the file; no rule is due
    SetTicks(GetTickCount() - 120000);
    ReportCapture reports;
    {
        UnwritableDir locked(dir_.Text());
        PrintAt(0, "while locked", kNow + 1);
    }
    EXPECT_TRUE(ListedPaths().empty());
    EXPECT_TRUE(OnDisk("log20161101000000.log") && OnDisk("log20161103000000.log"));
    EXPECT_EQ(20001, Total());
    EXPECT_EQ(0, reports.Count());
    GetLogContext().logFile_.Close();
    EXPECT_NE(std::string::npos, Contents(dir_ / "log20161118121200.log").find("while locked"));
}

// The worker lists whatever the directory holds, the file in use too, and the
// first opening continues the newest old file even when it is past its life. No
// rule may unlink it: Linux would, and every line after would be lost.
TEST_F(Retention, NoRuleDeletesTheOpenFile) {
    Sweep(dir_, {{"log20161101000000.log", 10}, {"log20161102000000.log", 20}});
    SetTicks(GetTickCount());
    QDLogToFile(1);
    PrintAt(0, "first", kNow);  // continues log20161102000000.log
    const std::string open = Listed("log20161102000000.log");
    ASSERT_EQ(dir_ / "log20161102000000.log", QDLogGetFileName());
    for (const auto& rule : {std::make_pair(3, 0), std::make_pair(0, 1)}) {
        LogContext& log = GetLogContext();
        log.logFileList_.List(open.c_str());  // as the worker would
        log.logFileList_.totalLogBytes += 20;
        QDLogSetLife(rule.first);
        QDLogSetMaxFileNum(rule.second);
        // All the room the disk has and more: the reserve rule would take every file.
        QDLogSetReserve(static_cast<int>(GetDiskSpace(dir_.Text().c_str()) >> 20) + 1024, 0);
        SetTicks(GetTickCount() - 120000);
        PrintAt(0, "after", kNow + 30LL * 86400 * 1000);
        EXPECT_TRUE(OnDisk("log20161102000000.log"));
        EXPECT_FALSE(OnDisk("log20161101000000.log"));
    }
    GetLogContext().logFile_.Close();
    const std::string lines = Contents(dir_ / "log20161102000000.log");
    EXPECT_EQ(3, std::count(lines.begin(), lines.end(), '\n'));
}

}  // namespace
