// Where an installed program's files go: a state directory when it cannot write
// beside itself, and the qdlog.ini that QDLOG_INI names.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "config_test_support.h"
#include "moduleinfo.h"
#include "scratch_dir.h"
#include "unwritable_dir.h"

namespace {

namespace fs = std::filesystem;

TEST(DefaultLogDirectory, IsTheStateDirectoryWhereTheProgramCannotWriteAndAChoiceWins) {
    ScratchDir state("state");
    fs::permissions(state.Path(), fs::perms::all);  // the unprivileged user makes it
    ASSERT_EQ(0, setenv("XDG_STATE_HOME", state.Text().c_str(), 1));
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
    unsetenv("XDG_STATE_HOME");
}

TEST(ConfigFile, QdlogIniNamesTheFileThatOverrulesElseItLiesBesideTheExecutable) {
    ScratchDir dir("ini");
    std::ofstream(dir / "operator.ini") << "[params]\nflush_lines=33\n";
    ResetEngine();
    ASSERT_EQ(0, setenv("QDLOG_INI", (dir / "operator.ini").c_str(), 1));
    WriteIni("[params]\nflush_lines=44\n");
    Pass();
    EXPECT_EQ(33, QDLogGetFlushLines());
    EXPECT_EQ(0, QDLogCanConfig());
    unsetenv("QDLOG_INI");
    Pass();
    EXPECT_EQ(44, QDLogGetFlushLines());
    ResetEngine();
}

}  // namespace
