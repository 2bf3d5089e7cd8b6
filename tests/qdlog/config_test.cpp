// qdlog.ini overrules the application: the mask, the parameters, the gate of the
// setters, the pacing, and files that are bad in every way; the file that QDLOG_INI
// names, and an installed program's log directory where it cannot write beside itself.
#include <gtest/gtest.h>

#include <unistd.h>

#include <random>

#include "config_test_support.h"
#include "log_test_support.h"
#include "moduleinfo.h"
#include "qdfdk.h"
#include "report_capture.h"
#include "smlib.h"
#include "unwritable_dir.h"

namespace {

namespace fs = std::filesystem;

class Config : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }
    void TearDown() override { ResetEngine(); }
};

// A line still reaches the screen and the callbacks.
void ExpectLoggerWorks() {
    ScratchDir dir("qdlog-config");
    ASSERT_EQ(1, QDLogSetDir(dir.Text().c_str()));
    LineRecorder recorder;
    const std::string screen = ScreenOf([] { QDLogEvent(0, "still logging"); });
    EXPECT_EQ(std::vector<std::string>{"still logging"}, recorder.Texts());
    EXPECT_NE(std::string::npos, screen.find("still logging"));
    QDLogSetDir("");
}

// CTest runs every test in a process of its own: this builds the engine, whose first
// pass is due at once.
TEST(ConfigAtStart, AFileRulesFromTheFirstEvent) {
    WriteIni("[level]\ninfo=0\n");
    EXPECT_EQ(0x10000Eu, *GetQDLogMaskPtr());
    RemoveIni();
}

TEST_F(Config, MaskComesFromTheLevelKeysOnceAFileExists) {
    // clang-format off
    const std::pair<const char*, uint32_t> cases[] = {
        {nullptr, 0xFFFFFFFF},  // no file
        {"[params]\nflush_lines=20\n", 0x10000F},
        {"[level]\nerror=1\nwarning=0\ndebug=0\ninfo=0\ndevelop=0\n", 0x4},
        {"[level]\nerror=-1\nwarning=0\ndebug=0\ninfo=0\ndevelop=x\n", 0x4},
        {"[level]\ndevelop=0\n", 0xF}, {"[Level]\nerror=0\n", 0x10000F},
    };
    // clang-format on
    for (const auto& c : cases) {
        ResetEngine();
        if (c.first) WriteIni(c.first);
        EXPECT_EQ(c.second, Pass()) << (c.first ? c.first : "no file");
    }
}

int DiskReserve() {
    int isMemory = -1;
    const int mbytes = QDLogGetReserve(&isMemory);
    return isMemory == 0 ? mbytes : -1;
}

// Every gated parameter, its value below its range and above it, and what a file
// gives for each: without the key, with the low value, with the high one.
const struct {
    const char* key;
    int (*get)();
    const char* low;
    const char* high;
    int want[3];
} kParams[] = {
    {"flush_lines", QDLogGetFlushLines, "0", "9000", {50, 1, 8192}},
    // Not the constructor's 0x80000; the reader's range is wider than the setter's.
    {"switch_bytes", QDLogGetFileSizeLimit, "2000", "100000000", {0x800000, 16384, 0x800000}},
    {"to_screen", QDLogGetScreen, "0", "-1", {1, 0, -1}},
    {"to_file", QDLogGetToFile, "0", "-1", {1, 0, -1}},
    {"seconds", QDLogGetLife2, "-5", "40000000", {259200, 0, 31536000}},
    {"M_bytes", DiskReserve, "0", "2000000000", {512, 2, 0x40000000}},
    {"max_files", QDLogGetMaxFileNum, "-1", "200000000", {0, 0, 100000000}},
    {"to_debuger", QDLogIsOutputDebuger, "0", "7", {1, 0, 7}},
};

std::vector<int> GatedParameters() {
    std::vector<int> values;
    for (const auto& k : kParams) values.push_back(k.get());
    return values;
}

// Every gated setter, with values that neither a file nor the defaults give.
void SetEveryGatedParameter() {
    QDLogSetFlushLines(7);
    QDLogSetFileSizeLimit(30000);
    QDLogScreen(2);
    QDLogToFile(0);
    QDLogOutputToDebuger(0);
    QDLogSetLife(1);
    QDLogSetLife2(5);
    QDLogSetReserve(3, 1);
    QDLogSetMaxFileNum(9);
}

TEST_F(Config, EveryParameterHasItsRangeAndItsDefault) {
    std::string files[3] = {"[params]\n", "[params]\n", "[params]\n"};
    for (const auto& k : kParams) {
        files[1] += std::string(k.key) + "=" + k.low + "\n";
        files[2] += std::string(k.key) + "=" + k.high + "\n";
    }
    for (int f = 0; f < 3; ++f) {
        ResetEngine();
        SetEveryGatedParameter();  // what the application set does not survive a pass
        WriteIni(files[f]);
        Pass();
        for (const auto& k : kParams) EXPECT_EQ(k.want[f], k.get()) << k.key << " in " << files[f];
    }
}

TEST_F(Config, DirCountsOnTheFirstPassOnly) {
    const std::string name = "logs-" + std::to_string(getpid());
    const std::string made = SystemPath(GetExeDirA_()) + name;
    WriteIni("[params]\ndir=" + name + "\n");
    Pass();
    // Based on the executable's directory, in the path routines' normal form.
    const std::string dir = ComposeFileName(GetExeDirA_(), name.c_str());
    EXPECT_EQ(dir, LogDirectory());
    EXPECT_TRUE(fs::is_directory(made));
    WriteIni("[params]\ndir=" + name + "-later\n");
    Pass();
    EXPECT_EQ(dir, LogDirectory());
    EXPECT_FALSE(fs::exists(made + "-later"));
    fs::remove_all(made);
}

TEST_F(Config, AFileLocksTheGatedSettersForGood) {
    Pass();  // no file: the application rules
    QDLogSetFlushLines(7);
    EXPECT_EQ(7, QDLogGetFlushLines());
    WriteIni("[level]\ninfo=0\n[params]\nflush_lines=20\n");
    Pass();
    RemoveIni();  // a deleted file restores nothing
    EXPECT_EQ(0x10000Eu, Pass());
    EXPECT_EQ(0, QDLogCanConfig());
    const std::vector<int> locked = GatedParameters();
    EXPECT_EQ(20, locked[0]);
    SetEveryGatedParameter();
    EXPECT_EQ(locked, GatedParameters());
    // The columns, the titles and the directory are not gated.
    QDLogSetPrintMSEL(0);
    QDLogSetEventTitle(5, "five");
    EXPECT_EQ(0, QDLogIsPrintMSEL());
    EXPECT_STREQ("five", QDLogGetEventTitle(5));
    ExpectLoggerWorks();
    QDLogSetPrintMSEL(1);
    QDLogSetEventTitle(5, "0005");
}

// Each counts as a file without keys: the mask 0x10000F, the parameters at the
// file's defaults, the setters locked; and the logger goes on.
TEST_F(Config, BadFilesCountAsFilesWithoutKeys) {
    std::mt19937 random(7);
    std::string garbage(4096, 0);
    for (char& c : garbage) c = static_cast<char>(random());
    garbage[0] = 0x01;  // no byte-order mark
    const std::string keys = "[level]\ninfo=0\n[params]\nflush_lines=20\n";
    const std::pair<std::string, int> cases[] = {
        {"", 0}, {garbage, 0}, {"\xFF\xFE" + keys, 1},  // UTF-16 of odd length: reported, "(false)"
    };
    for (const auto& c : cases) {
        ResetEngine();
        QDLogSetFlushLines(7);
        WriteIni(c.first);
        ReportCapture reports;
        EXPECT_EQ(0x10000Fu, Pass()) << c.first.size();
        EXPECT_EQ(c.second, reports.Count("(false)"));
        EXPECT_EQ(c.second, reports.Count());
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
    // Root reads every file: the pass runs in a child that has given that up. It keeps
    // its user, since another one might not reach the program's directory.
    EXPECT_EXIT(std::_Exit(!DropRootsRightOverModes() ? 2
                           : unreadable()             ? 0
                                                      : 1),
                testing::ExitedWithCode(0), "");
}

TEST_F(Config, QdlogIniNamesTheFileThatOverrulesElseItLiesBesideTheExecutable) {
    ScratchDir dir("ini");
    Write(dir / "operator.ini", "[params]\nflush_lines=33\n");
    ASSERT_EQ(0, setenv("QDLOG_INI", (dir / "operator.ini").c_str(), 1));
    WriteIni("[params]\nflush_lines=44\n");
    Pass();
    EXPECT_EQ(33, QDLogGetFlushLines());
    EXPECT_EQ(0, QDLogCanConfig());
    unsetenv("QDLOG_INI");
    Pass();
    EXPECT_EQ(44, QDLogGetFlushLines());
}

TEST(DefaultLogDirectory, IsTheStateDirectoryWhereTheProgramCannotWriteAndAChoiceWins) {
    ScratchDir state("state", "XDG_STATE_HOME");
    fs::permissions(state.Path(), fs::perms::all);  // the unprivileged user makes it
    const std::string exeDir = SystemPath(GetExeDir());
    const std::string fallback = state / (std::string(GetExeName()) + "/logs");
    testing::internal::CaptureStderr();
    {
        UnwritableDir unwritable(exeDir);
        EXPECT_EQ(1, QDLogSetDir(""));
        EXPECT_EQ(fallback, QDLogGetDir());
        EXPECT_TRUE(fs::is_directory(fallback));
        EXPECT_EQ(1, QDLogSetDir(""));
        EXPECT_EQ(1, QDLogSetDir((state / "chosen").c_str()));
        EXPECT_EQ(state / "chosen", QDLogGetDir());
    }
    EXPECT_EQ("qdlog: no log files in " + exeDir + "; they go to " + fallback + "\n",
              testing::internal::GetCapturedStderr());  // once
    EXPECT_EQ(1, QDLogSetDir(""));
    EXPECT_EQ(exeDir, QDLogGetDir());
}

}  // namespace
