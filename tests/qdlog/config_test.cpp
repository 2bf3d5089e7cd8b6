// The configuration reader: qdlog.ini beside the executable overrules the
// application, its mask and parameters, the gate of the setters, its pacing, and
// files that are bad in every way.
#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "config_test_support.h"
#include "log_test_support.h"
#include "report_capture.h"
#include "smlib.h"

namespace {

namespace fs = std::filesystem;

class Config : public testing::Test {
protected:
    void SetUp() override {
        RemoveIni();
        ResetEngine();
    }
    void TearDown() override {
        RemoveIni();
        ResetEngine();
    }
};

// A line still reaches the screen and the callbacks.
void ExpectLoggerWorks() {
    const std::string dir = testing::TempDir() + "qdlog-config-" + std::to_string(getpid());
    ASSERT_EQ(1, QDLogSetDir(dir.c_str()));
    LineRecorder recorder;
    const std::string screen = ScreenOf([] { QDLogEvent(0, "still logging"); });
    EXPECT_EQ(std::vector<std::string>{"still logging"}, recorder.Texts());
    EXPECT_NE(std::string::npos, screen.find("still logging"));
    QDLogSetDir("");
    fs::remove_all(dir);
}

TEST_F(Config, MaskComesFromTheLevelKeysOnceAFileExists) {
    const struct {
        const char* name;
        const char* ini;  // null: no file
        uint32_t mask;
    } cases[] = {
        {"no file", nullptr, 0xFFFFFFFF},
        {"no level keys", "[params]\nflush_lines=20\n", 0x10000F},
        {"only error", "[level]\nerror=1\nwarning=0\ndebug=0\ninfo=0\ndevelop=0\n", 0x4},
        {"any non-zero number", "[level]\nerror=-1\nwarning=0\ndebug=0\ninfo=0\ndevelop=x\n", 0x4},
        {"one bit off", "[level]\ndevelop=0\n", 0xF},
        {"the section's case", "[Level]\nerror=0\n", 0x10000F},
    };
    for (const auto& c : cases) {
        ResetEngine();
        if (c.ini) WriteIni(c.ini);
        EXPECT_EQ(c.mask, Pass()) << c.name;
        EXPECT_EQ(c.ini ? 0 : 1, QDLogCanConfig()) << c.name;
        RemoveIni();
    }
}

int Reserve() {
    int isMemory = -1;
    const int mbytes = QDLogGetReserve(&isMemory);
    return isMemory == 0 ? mbytes : -1;
}

TEST_F(Config, EveryParameterHasItsRangeAndItsDefault) {
    const struct {
        const char* params;  // the body of [params]
        int (*get)();
        int want;
    } cases[] = {
        {"", QDLogGetFlushLines, 50},
        {"flush_lines=0", QDLogGetFlushLines, 1},
        {"flush_lines=9000", QDLogGetFlushLines, 8192},
        {"flush_lines=abc", QDLogGetFlushLines, 1},
        {"flush_lines = 20 # many", QDLogGetFlushLines, 20},
        {"flush_lines=20\nflush_lines=30", QDLogGetFlushLines, 20},
        {"#flush_lines=20", QDLogGetFlushLines, 50},
        {"  # flush_lines=20", QDLogGetFlushLines, 50},
        // The file's default, not the constructor's 0x80000.
        {"", QDLogGetFileSizeLimit, 0x800000},
        {"switch_bytes=2000", QDLogGetFileSizeLimit, 16384},
        {"switch_bytes=20000", QDLogGetFileSizeLimit, 20000},
        {"switch_bytes=100000000", QDLogGetFileSizeLimit, 0x800000},
        {"", QDLogGetScreen, 1},
        {"to_screen=0", QDLogGetScreen, 0},
        {"", QDLogGetToFile, 1},
        {"to_file=-1", QDLogGetToFile, -1},
        {"", QDLogIsOutputDebuger, 1},
        {"to_debuger=0", QDLogIsOutputDebuger, 0},
        {"", QDLogGetLife2, 259200},
        {"seconds=0", QDLogGetLife2, 0},
        {"seconds=-5", QDLogGetLife2, 0},
        {"seconds=40000000", QDLogGetLife2, 31536000},
        {"", Reserve, 512},
        {"M_bytes=0", Reserve, 2},
        {"M_bytes=2000000000", Reserve, 0x40000000},
        {"", QDLogGetMaxFileNum, 0},
        {"max_files=-1", QDLogGetMaxFileNum, 0},
        {"max_files=200000000", QDLogGetMaxFileNum, 100000000},
    };
    for (const auto& c : cases) {
        // What the application set does not survive a pass.
        ResetEngine();
        QDLogSetFlushLines(7);
        QDLogSetFileSizeLimit(30000);
        QDLogSetLife2(5);
        QDLogSetReserve(3, 1);
        QDLogSetMaxFileNum(9);
        QDLogOutputToDebuger(0);
        WriteIni(std::string("[params]\n") + c.params + "\n");
        Pass();
        EXPECT_EQ(c.want, c.get()) << c.params;
    }
    // The same keys under another section, or after a broken header, are not found.
    for (const char* ini : {"[Params]\nflush_lines=20\n", "[level]\n[params\nflush_lines=20\n"}) {
        ResetEngine();
        WriteIni(ini);
        Pass();
        EXPECT_EQ(50, QDLogGetFlushLines()) << ini;
    }
}

TEST_F(Config, EveryEncodingOfTheFileIsRead) {
    for (TextFileType type : {tft_ansi, tft_utf_16, tft_utf_16_be, tft_utf_8}) {
        ResetEngine();
        ASSERT_TRUE(WriteWholeTextFileEx(IniPath().c_str(), type,
                                         "[level]\r\ninfo=0\r\n[params]\r\nflush_lines=33"));
        EXPECT_EQ(0x10000Eu, Pass()) << type;
        EXPECT_EQ(33, QDLogGetFlushLines()) << type;
    }
}

TEST_F(Config, DirCountsOnTheFirstPassOnly) {
    const std::string name = "logs-" + std::to_string(getpid());
    const std::string made = std::string(GetExeDirA_()) + name;
    WriteIni("[params]\ndir=" + name + "\n");
    Pass();
    EXPECT_EQ(made, QDLogGetDir());
    EXPECT_TRUE(fs::is_directory(made));

    WriteIni("[params]\ndir=" + name + "-later\n");
    Pass();
    EXPECT_EQ(made, QDLogGetDir());
    EXPECT_FALSE(fs::exists(made + "-later"));
    fs::remove_all(made);
}

TEST_F(Config, AFileLocksTheGatedSettersOnly) {
    Pass();  // no file: the application rules
    QDLogSetFlushLines(7);
    EXPECT_EQ(7, QDLogGetFlushLines());

    WriteIni("[params]\nflush_lines=20\n");
    Pass();
    EXPECT_EQ(0, QDLogCanConfig());
    QDLogSetFlushLines(7);
    QDLogSetFileSizeLimit(20000);
    QDLogToFile(0);
    QDLogSetLife(1);
    EXPECT_EQ(20, QDLogGetFlushLines());
    EXPECT_EQ(0x800000, QDLogGetFileSizeLimit());
    EXPECT_EQ(1, QDLogGetToFile());
    EXPECT_EQ(259200, QDLogGetLife2());

    QDLogSetPrintMSEL(0);
    QDLogSetPrintCpuCycle(1);
    QDLogSetEventTitle(5, "five");
    EXPECT_EQ(0, QDLogIsPrintMSEL());
    EXPECT_EQ(1, QDLogIsPrintCpuCycle());
    EXPECT_STREQ("five", QDLogGetEventTitle(5));
    ExpectLoggerWorks();  // QDLogSetDir works too
    QDLogSetPrintMSEL(1);
    QDLogSetPrintCpuCycle(0);
    QDLogSetEventTitle(5, "0005");
}

TEST_F(Config, ADeletedFileKeepsTheLastSettingsAndTheLock) {
    WriteIni("[level]\ninfo=0\n[params]\nflush_lines=20\n");
    EXPECT_EQ(0x10000Eu, Pass());
    RemoveIni();
    EXPECT_EQ(0x10000Eu, Pass());
    EXPECT_EQ(20, QDLogGetFlushLines());
    EXPECT_EQ(0, QDLogCanConfig());
    QDLogSetFlushLines(7);
    EXPECT_EQ(20, QDLogGetFlushLines());
}

// Real time: the pacing is the only thing between the file and the process.
TEST_F(Config, AReplacedFileTakesEffectWithinASecond) {
    using Clock = std::chrono::steady_clock;
    WriteIni("[params]\nflush_lines=20\n");
    Pass();
    WriteIni("[params]\nflush_lines=30\n");
    const Clock::time_point replaced = Clock::now();
    GetQDLogMaskPtr();  // within 500 ms of the last pass: no parse
    EXPECT_EQ(20, QDLogGetFlushLines());
    while (QDLogGetFlushLines() != 30 && Clock::now() - replaced < std::chrono::seconds(2)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        GetQDLogMaskPtr();
    }
    EXPECT_EQ(30, QDLogGetFlushLines());
    EXPECT_LT(Clock::now() - replaced, std::chrono::seconds(1));
}

// Each of these counts as a file without keys: the mask 0x10000F, every parameter
// at the file's default, the setters locked, and the logger goes on.
TEST_F(Config, BadFilesCountAsFilesWithoutKeys) {
    std::mt19937 random(7);
    std::string garbage(4096, 0);
    for (char& c : garbage) c = static_cast<char>(random());
    garbage[0] = 0x01;  // no byte-order mark
    const std::string keys = "[level]\ninfo=0\n[params]\nflush_lines=20\n";
    const struct {
        const char* name;
        std::string bytes;
        int reports;
    } cases[] = {
        {"empty", "", 0},
        {"binary garbage", garbage, 0},
        {"10 MB long", keys + std::string(10 * 1024 * 1024, '\n'), 0},
        // Reported as the breach it is: "(false)".
        {"UTF-16 of odd length", "\xFF\xFE" + keys, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ResetEngine();
        QDLogSetFlushLines(7);
        WriteIni(c.bytes);
        ReportCapture reports;
        EXPECT_EQ(0x10000Fu, Pass());
        EXPECT_EQ(c.reports, reports.Count("(false)"));
        EXPECT_EQ(c.reports, reports.Count());
        EXPECT_EQ(50, QDLogGetFlushLines());
        EXPECT_EQ(0, QDLogCanConfig());
        ExpectLoggerWorks();
    }
}

TEST_F(Config, AnUnreadableFileCountsAsAFileWithoutKeys) {
    WriteIni("[level]\ninfo=0\n[params]\nflush_lines=20\n");
    fs::permissions(IniPath(), fs::perms::none);
    const auto unreadable = [] {
        return Pass() == 0x10000F && QDLogGetFlushLines() == 50 && QDLogCanConfig() == 0;
    };
    if (geteuid() != 0) {
        EXPECT_TRUE(unreadable());
        return;
    }
    // Root reads every file: the pass runs in a child that has given that up.
    EXPECT_EXIT(
        {
            if (setuid(65534) != 0) std::_Exit(2);
            std::_Exit(unreadable() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
