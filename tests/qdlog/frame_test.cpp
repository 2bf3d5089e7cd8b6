// The frame: the start and the end of the singleton, the setters' clamps, the titles,
// the log directory and the flag's name.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <utility>

#include "logdir.h"
#include "log_test_support.h"
#include "scratch_dir.h"
#include "moduleinfo.h"
#include "report_capture.h"

namespace {

namespace fs = std::filesystem;

// CTest runs every test in a process of its own: the engine is fresh here. Its file
// limit is not the configuration's default (0x800000).
TEST(LogContextSingleton, StartsWithAHalfMegabyteFileLimit) {
    EXPECT_EQ(0x80000, QDLogGetFileSizeLimit());
}

TEST(LogContextSingleton, EventsAfterTheEndAreReportedAndDropped) {
    EXPECT_EXIT(
        {
            ReportCapture reports;
            LineRecorder recorder;
            QDLogOutputToDebuger(1);
            DestroyLogContext();
            QDLogEvent(0, "after the end");
            const bool ok =
                reports.CountMessage("Invalid mutex object!!!") == 1 && recorder.Lines().empty();
            std::_Exit(ok ? 0 : 1);  // atexit would destroy the object a second time
        },
        testing::ExitedWithCode(0), "");
}

class Setters : public LogTest {};

TEST_F(Setters, ClampWhatTheyStore) {
    // clang-format off
    const struct { void (*set)(int); int value; int (*get)(); int want; } rows[] = {
        {QDLogSetFileSizeLimit, 1, QDLogGetFileSizeLimit, 16384},
        {QDLogSetFileSizeLimit, 0x7FFFFFFF, QDLogGetFileSizeLimit, 0x800000},
        {QDLogSetFlushLines, 0, QDLogGetFlushLines, 1},
        {QDLogSetLife, 400, QDLogGetLife2, 31536000}, {QDLogSetLife, -3, QDLogGetLife2, 0},
        {QDLogSetLife2, 90000, QDLogGetLife, 1},
        {QDLogSetMaxFileNum, -4, QDLogGetMaxFileNum, -4},  // stored as given
    };
    // clang-format on
    for (const auto& row : rows) {
        row.set(row.value);
        EXPECT_EQ(row.want, row.get()) << &row - rows;
    }
    QDLogSetFlushLines(50);
}

TEST_F(Setters, ReserveKeepsTheMemoryFigureAndRaisesTheDiskFigure) {
    // Given megabytes and kind; the megabytes and kind stored.
    const std::tuple<int, int, int, int> rows[] = {
        {1, 0, 2, 0}, {1, 1, 1, 1}, {5, 7, 5, 1}, {-9, -1, 2, 0}, {0, 1, 0, 1}};
    for (const auto& [mbytes, kind, wantMBytes, wantKind] : rows) {
        QDLogSetReserve(mbytes, kind);
        int isMemory = -1;
        EXPECT_EQ(wantMBytes, QDLogGetReserve(&isMemory)) << mbytes << "," << kind;
        EXPECT_EQ(wantKind, isMemory);
        EXPECT_EQ(wantMBytes, QDLogGetReserve(nullptr));
    }
}

TEST(EventTitles, OutOfRangeAndOverlongTitlesAreRefused) {
    for (const int type : {32, -1}) {
        QDLogSetEventTitle(type, "x");
        EXPECT_STREQ("", QDLogGetEventTitle(type));
    }
    QDLogSetEventTitle(3, std::string(32, 'x').c_str());
    QDLogSetEventTitle(3, nullptr);
    EXPECT_STREQ("调试", QDLogGetEventTitle(3));

    const std::string longest(31, 'y');
    QDLogSetEventTitle(3, longest.c_str());
    EXPECT_EQ(longest, QDLogGetEventTitle(3));
    QDLogSetEventTitle(3, "调试");
}

class LogDirectory : public testing::Test {
protected:
    void TearDown() override {
        QDLogSetDir(nullptr);
        fs::remove_all(made_);
    }
    // One directory per process: CTest runs the tests of this fixture side by side.
    std::string made_ = SystemPath(GetExeDir()) + "frame-test-logs-" + std::to_string(getpid());
};

TEST_F(LogDirectory, StartsBesideTheExecutableAndIsMadeWhereItIsSet) {
    // Composed in the path routines' form, handed out with '/'.
    const auto shown = SystemPath;
    EXPECT_EQ(shown(GetExeDir()), QDLogGetDir());
    EXPECT_EQ(1, QDLogSetDir(("frame-test-logs-" + std::to_string(getpid()) + "/a").c_str()));
    const std::string composed = LibraryPath(made_ + "/a");
    EXPECT_EQ(composed, ::LogDirectory());
    EXPECT_EQ(shown(composed), QDLogGetDir());
    const std::string absolute = made_ + "\\b\\c";  // '\' separates in the library's grammar
    EXPECT_EQ(1, QDLogSetDir(absolute.c_str()));
    EXPECT_EQ(shown(absolute), QDLogGetDir());
    EXPECT_TRUE(fs::is_directory(made_ + "/a") && fs::is_directory(made_ + "/b/c"));
    EXPECT_EQ(1, QDLogSetDir(""));
    EXPECT_EQ(shown(GetExeDir()), QDLogGetDir());
}

TEST_F(LogDirectory, RefusedDirectoriesLeaveTheOldOne) {
    ASSERT_EQ(1, QDLogSetDir(made_.c_str()));
    std::ofstream(made_ + "/plain-file") << "x";
    EXPECT_EQ(0, QDLogSetDir((made_ + "/plain-file/sub").c_str()));  // a file in the way
    ReportCapture reports;
    EXPECT_EQ(0, QDLogSetDir(("/" + std::string(600, 'd')).c_str()));  // 512 or more
    EXPECT_EQ(0, QDLogSetDir(std::string(600, 'r').c_str()));          // too long composed
    EXPECT_EQ(made_, QDLogGetDir());
    // Too long to be a valid absolute path, both are composed with the executable's
    // directory, which ComposeFileName refuses.
    EXPECT_EQ(2, reports.Count("(len < kMaxPathChars)"));
}

TEST(LoggerFlagName, IsTheElfHashOfTheDirectory) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "00000000"},
        {"\xE4\xB8\xAD/", "0FF00D0F"},  // bytes above 0x7F count as negative
        {"/home/user/app/bin/", "0E5F03DF"}};
    for (const auto& [dir, want] : rows) {
        char name[16];
        FormatLoggerFlagName(dir, name);
        EXPECT_STREQ(want, name) << dir;
    }
}

}  // namespace
