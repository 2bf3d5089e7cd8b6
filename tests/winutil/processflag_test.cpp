// The process-unique flag, its counter and sweep, and the named mutex, with helper
// processes on a store in a scratch directory (XDG_STATE_HOME of this process and
// its children).
#include "processflag.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "child_process.h"
#include "ilocker.h"
#include "moduleinfo.h"
#include "qdr/platform/os.h"
#include "qdregistry.h"
#include "qdtime.h"
#include "report_capture.h"
#include "scratch_dir.h"

namespace {

class ProcessFlagTest : public ::testing::Test {
protected:
    ProcessFlagTest() : scratch_("flagstore") {
        setenv("XDG_STATE_HOME", scratch_.Text().c_str(), 1);
    }

    std::string Run(const std::vector<std::string>& args) {
        std::vector<std::string> argv = {FLAG_HELPER};
        argv.insert(argv.end(), args.begin(), args.end());
        ChildProcess child(argv);
        std::string out = child.ReadAll();
        EXPECT_EQ(0, child.Wait()) << out;
        return out;
    }
    std::string Value(const char* name) {
        char data[kRegValueBytes];
        return GetRegKeyValue(HKEY_CURRENT_USER, kProcessFlagKey, name, data, nullptr) ? data
                                                                                       : "(none)";
    }
    void Put(const char* name, const char* data) {
        RegCreateKey(HKEY_CURRENT_USER, kProcessFlagKey);
        ASSERT_TRUE(RegWriteString(HKEY_CURRENT_USER, kProcessFlagKey, name, data));
    }

    ScratchDir scratch_;
};

}  // namespace

TEST_F(ProcessFlagTest, SecondFlagOfOneKeySeesTheFirstsModule) {
    auto first = std::make_unique<ProcessUniqueFlag>("K1");
    {
        ProcessUniqueFlag second("K1");
        EXPECT_TRUE(first->IsCreatedBy());
        EXPECT_FALSE(second.IsCreatedBy());
        EXPECT_STREQ(GetThisModulePathName(), second.CreatorPath());
        EXPECT_EQ(GetThisModulePathName(), Value(first->ValueName()));
    }
    const std::string name = first->ValueName();
    first.reset();
    EXPECT_EQ("(none)", Value(name.c_str()));
    ProcessUniqueFlag third("K1");
    EXPECT_TRUE(third.IsCreatedBy());
}

// Shutdowns in processes that run at the same time: the counter goes 1, 2, ... 29,
// 0, 1 without losing a step.
TEST_F(ProcessFlagTest, CounterCountsShutdownsOfConcurrentProcesses) {
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int i = 0; i < 32; ++i)
        children.push_back(std::make_unique<ChildProcess>(
            std::vector<std::string>{FLAG_HELPER, "flag", "K" + std::to_string(i % 3)}));
    for (auto& child : children) {
        EXPECT_EQ("created 1\n", child->ReadAll());
        EXPECT_EQ(0, child->Wait());
    }
    EXPECT_EQ("2", Value(kProcessFlagCounter));
}

// The shutdown that finds the counter at 0 deletes the flags of processes that no
// longer run: one killed, one whose pid lives with another start time, pid 0, and
// a stamp that is no MSEL; live flags and other values stay.
TEST_F(ProcessFlagTest, SweepDeletesFlagsOfProcessesThatNoLongerRun) {
    ChildProcess holder({FLAG_HELPER, "hold", "K"});
    std::string killed;
    ASSERT_TRUE(holder.ReadLine(&killed));
    holder.Kill();
    holder.Wait();

    const std::string self = std::to_string(os::CurrentProcessId());
    const MSEL start = GetProcessStartMSELCached(0, true);
    const std::string gone[] = {self + "-" + std::to_string(start - 10000) + "-K.puf", "0-1-x.puf",
                                self + "-99999999999999999-K.puf", killed};
    const std::string kept[] = {self + "-" + std::to_string(start) + "-K.puf", "other.txt"};
    for (const std::string& name : gone) Put(name.c_str(), "m");
    for (const std::string& name : kept) Put(name.c_str(), "m");
    Put(kProcessFlagCounter, "garbage");  // atoi: 0, so this shutdown sweeps
    Run({"flag", "Z"});
    for (const std::string& name : gone) EXPECT_EQ("(none)", Value(name.c_str())) << name;
    for (const std::string& name : kept) EXPECT_EQ("m", Value(name.c_str())) << name;
    EXPECT_EQ("1", Value(kProcessFlagCounter));
}

TEST_F(ProcessFlagTest, OneOfTwoProcessesTakesTheNamedMutexFirst) {
    const std::string start = std::to_string(WallClockMs() + 300);
    ChildProcess a({FLAG_HELPER, "lock", start}), b({FLAG_HELPER, "lock", start});
    const std::string answers = a.ReadAll() + b.ReadAll();
    EXPECT_TRUE(answers == "first\nsecond\n" || answers == "second\nfirst\n") << answers;
    a.Wait();
    b.Wait();
}

TEST_F(ProcessFlagTest, BadMutexNamesAreRefused) {
    ReportCapture reports;
    EXPECT_EQ(0, OSPMutexOpen("a\\b"));
    EXPECT_EQ(0, OSPMutexOpen(std::string(480, 'n').c_str()));
    const OSPMutex fine = OSPMutexOpen(std::string(200, 'n').c_str());
    EXPECT_NE(0, fine);
    OSPMutexClose(fine);
    EXPECT_EQ(2, reports.Count("(false)"));
}

// A writer killed at any moment leaves the old value or the new one.
TEST_F(ProcessFlagTest, StoreValueSurvivesKillDuringWrite) {
    for (int round = 0; round < 5; ++round) {
        ChildProcess writer({FLAG_HELPER, "write", "Software\\W"});
        std::string line;
        ASSERT_TRUE(writer.ReadLine(&line));
        std::this_thread::sleep_for(std::chrono::milliseconds(2 + round * 3));
        writer.Kill();
        writer.Wait();
        char data[kRegValueBytes];
        ASSERT_TRUE(GetRegKeyValue(HKEY_CURRENT_USER, "Software\\W", "v", data, nullptr));
        const std::string v = data;
        EXPECT_TRUE(v == std::string(1000, 'A') || v == std::string(1000, 'B'));
    }
}

TEST_F(ProcessFlagTest, StoreRefusesBadKeysAndOversizedValues) {
    EXPECT_TRUE(RegCreateKey(HKEY_CURRENT_USER, "Software\\T"));
    EXPECT_FALSE(RegCreateKey(HKEY_CURRENT_USER, "Software\\T"));  // existed: false
    for (const char* bad : {"", "Software\\..\\x", "Software\\\\T", "\\Software"})
        EXPECT_FALSE(RegCreateKey(HKEY_CURRENT_USER, bad)) << bad;
    EXPECT_FALSE(RegWriteString(HKEY_CURRENT_USER, "Software\\T", "v", ""));
    EXPECT_FALSE(RegWriteString(HKEY_CURRENT_USER, "Software\\Missing", "v", "x"));
    EXPECT_TRUE(RegWriteString(HKEY_CURRENT_USER, "Software\\T", "v", "abc"));
    EXPECT_EQ(3, std::filesystem::file_size(scratch_.Path() /
                                            "qdregistry/HKEY_CURRENT_USER/Software/T/v"));
    // A value file of megabytes, written behind the store's back, is no value.
    std::ofstream(scratch_.Path() / "qdregistry/HKEY_CURRENT_USER/Software/T/big")
        << std::string(3 << 20, 'x');
    char data[kRegValueBytes];
    EXPECT_FALSE(GetRegKeyValue(HKEY_CURRENT_USER, "Software\\T", "big", data, nullptr));
    EXPECT_FALSE(RegValueExists(HKEY_CURRENT_USER, "Software\\T", "big"));
    EXPECT_FALSE(RegDeleteKey(HKEY_CURRENT_USER, "Software"));  // has a sub-key
    EXPECT_TRUE(RegDeleteKey(HKEY_CURRENT_USER, "Software\\T"));
    EXPECT_FALSE(RegKeyExists(HKEY_CURRENT_USER, "Software\\T"));
}
