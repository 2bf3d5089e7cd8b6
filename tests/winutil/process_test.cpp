// The process utilities and the process-unique flag: the pure rules by tables, the
// rest against real processes, files and /proc; the flag, its counter and sweep, the
// named mutex and the store with helper processes on a store in a scratch directory
// (XDG_STATE_HOME of this process and its children).
#include "processflag.h"
#include "qdglib.h"

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
#include "qdfdk.h"
#include "qdr/platform/os.h"
#include "qdregistry.h"
#include "qdtime.h"
#include "report_capture.h"
#include "scratch_dir.h"
#include "smlib.h"
#include "unwritable_dir.h"

TEST(WindowsVersion, TableAndNames) {
    // clang-format off
    struct Case { VersionRecord record; int version; } cases[] = {
        {{2, 6, 0, 1, 0}, 7},          {{2, 6, 0, 3, 0}, 6},      {{2, 6, 1, 1, 0}, 8},
        {{2, 6, 2, 1, 0}, 9},          {{2, 5, 0, 1, 0}, 4},      {{2, 5, 2, 1, 0}, 5},
        {{2, 6, 3, 1, 0}, 3},          {{2, 4, 0, 1, 0}, 3},      {{1, 0, 0, 0, 0x80000004}, 2},
        {{1, 0, 0, 0, 0x80000003}, 1}, {{1, 0, 0, 0, 0x0106}, 8}, {{1, 0, 0, 0, 0x0105}, 5},
    };
    // clang-format on
    for (const Case& c : cases) EXPECT_EQ(c.version, ClassifyWindowsVersion(c.record));
    EXPECT_EQ(Windows_NT, GetWindowsVersion());
    EXPECT_STREQ("Windows_NT", GetWindowsVersionName());
    EXPECT_STREQ("Invalid_WinVer", WindowsVersionName(10));
    char name[64];
    EXPECT_STREQ("Global\\X_mpf", MakeGlobalName(name, "X", "_mpf"));
    EXPECT_EQ("Global\\X", MakeGlobalName("X", nullptr));
}

TEST(SmallHelpers, TextRules) {
    // clang-format off
    struct Trim { const char* in; const char* out; } trims[] = {
        {"文件不存在。", "文件不存在"}, {"Done.\r\n", "Done."}, {"a，；！ \t", "a"}, {"", ""}};
    // clang-format on
    for (const Trim& t : trims) {
        char text[64];
        strcpy(text, t.in);
        TrimSystemErrorText(text);
        EXPECT_STREQ(t.out, text);
    }
    EXPECT_EQ("No such file or directory(2)", FormatSystemError(2));
    char guid[40];
    EXPECT_STREQ("{12345678-ABCD-1234-0102-030405060708}",
                 FormatGuid(0x12345678, 0x1234ABCD, 0x04030201, 0x08070605, guid));
    EXPECT_EQ(-42, ParseIntW(u"  -42x"));
    EXPECT_EQ(0, ParseIntW(u"\t7"));
    char out[8];
    EXPECT_TRUE(ConvertCodePage(65001, "中文", out, sizeof(out)));
    EXPECT_STREQ("中文", out);
    EXPECT_FALSE(ConvertCodePage(0, "12345678", out, sizeof(out)));
    EXPECT_FALSE(ConvertCodePage(936, "ab", out, sizeof(out)));
    EXPECT_STREQ("ab", out);
    char path[512];
    for (const char* bad : {"", "a/b", "a:b", "a\"b"})
        EXPECT_STREQ("", BuildFilePathBesideModule(path, false, true, bad));
    EXPECT_STREQ("", BuildFilePathBesideModule(path, true, true, "no-such-file"));
    EXPECT_EQ(ComposeFileName(GetThisModuleDir(), "x.txt"),
              BuildFilePathBesideModule(path, false, true, "x.txt"));
}

TEST(CpuUsage, ArithmeticAndABusyChild) {
    int system, process;
    CpuUsageMeter::Compute({1000, 100, 50, 100, 0, 0, 0}, {2000, 150, 90, 150, 0, 100, 0}, 2,
                           &system, &process);
    EXPECT_EQ(50, system);  // 50 of 100: kernel time takes no part
    EXPECT_EQ(5, process);  // 100 over (2000 - 1000) * 2
    CpuUsageMeter& meter = CpuUsageMeter::Instance();
    meter.GetCpuUsage(nullptr);
    const uint32_t burner = StartProcess("exec timeout 1.2 sh -c 'while :; do :; done'");
    ASSERT_NE(0u, burner);
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
    meter.GetCpuUsage(nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(800));
    system = meter.GetCpuUsage(&process);
    EXPECT_EQ(system, meter.GetCpuUsage(nullptr));  // within 200 ms: no new sample
    const int cpus = static_cast<int>(std::thread::hardware_concurrency());
    EXPECT_GE(system, 50 / cpus);
    EXPECT_LE(system, 100);
    EXPECT_LE(process, 20);
    EXPECT_TRUE(WaitProcessExit(burner, 5000));
}

TEST(Processes, FindRunCaptureAndKill) {
    ChildProcess child({FLAG_HELPER, "hold", "P"});
    std::string line;
    ASSERT_TRUE(child.ReadLine(&line));
    const uint32_t childPid = static_cast<uint32_t>(atol(line.c_str()));
    uint32_t first = 0;
    std::vector<uint32_t> pids;
    EXPECT_TRUE(FindProcessByFile("FLAG_HELPER", &first, false, &pids));
    EXPECT_NE(pids.end(), std::find(pids.begin(), pids.end(), childPid));
    EXPECT_FALSE(FindProcessByFile("no-such-program", &first, false));
    char path[512];
    EXPECT_TRUE(GetProcessFileName(childPid, path));
    EXPECT_STREQ(FLAG_HELPER, path);
    EXPECT_TRUE(IsProcessAlive(childPid));
    EXPECT_TRUE(KillProcess(childPid));
    EXPECT_TRUE(WaitProcessExit(childPid, 5000));
    EXPECT_FALSE(IsProcessAlive(childPid));

    ScratchDir temp("capture", "TMPDIR");
    std::ofstream(temp / "stale.rss.tmp") << "x";
    Binary out;
    EXPECT_TRUE(RunCommandCapture("echo hi", &out));
    EXPECT_STREQ("hi\n", reinterpret_cast<const char*>(out.Data()));
    std::u16string wide;
    EXPECT_TRUE(RunCommandCapture(u"printf '\u4e2d'", &wide));
    EXPECT_EQ(u"\u4e2d", wide);
    EXPECT_TRUE(std::filesystem::is_empty(temp.Path()));

    EXPECT_TRUE(IsMainThread());
    bool other = true;
    std::thread([&] { other = IsMainThread(); }).join();
    EXPECT_FALSE(other);
}

TEST(Settings, SurviveAProcessAndFailCleanly) {
    ScratchDir temp("settings", "TMPDIR");
    auto run = [&](std::vector<std::string> args) {
        args.insert(args.begin(), FLAG_HELPER);
        return ChildProcess(args).ReadAll();
    };
    EXPECT_EQ("ok\n", run({"set", "Key", "value 1"}));
    EXPECT_EQ("ok\n", run({"set", "Other", "2"}));
    EXPECT_EQ("value 1\n", run({"get", "Key"}));
    EXPECT_EQ("none\n", run({"get", "Missing"}));
    {
        UnwritableDir locked(temp.Text());
        EXPECT_FALSE(WriteSetting("Key", "3"));
        char value[16];
        EXPECT_TRUE(ReadSetting("Key", value, sizeof(value), false, "dflt"));
        EXPECT_STREQ("dflt", value);
    }
    EXPECT_EQ("value 1\n", run({"get", "Key"}));
    std::ofstream(temp / "flag_helper.ini") << std::string(3 << 20, '#');
    EXPECT_EQ("failed\n", run({"set", "Key", "4"}));
    EXPECT_EQ("none\n", run({"get", "Key"}));

    RecentList three(3);
    for (const char* item : {"a", "b", "a", "c"}) three.Add(item);
    ASSERT_TRUE(three.Save());
    RecentList two(2);
    two.Load();
    EXPECT_EQ((std::vector<std::string>{"a", "b"}), two.Items());
    ASSERT_TRUE(WriteSetting("EXERecentInfoCount", "123456"));
    two.Load();
    EXPECT_TRUE(two.Items().empty());
}

namespace {

class ProcessFlagTest : public ::testing::Test {
protected:
    std::string Value(const char* name) {
        char data[kRegValueBytes];
        return GetRegKeyValue(HKEY_CURRENT_USER, kProcessFlagKey, name, data, nullptr) ? data
                                                                                       : "(none)";
    }
    void Put(const char* name, const char* data) {
        RegCreateKey(HKEY_CURRENT_USER, kProcessFlagKey);
        ASSERT_TRUE(RegWriteString(HKEY_CURRENT_USER, kProcessFlagKey, name, data));
    }

    ScratchDir scratch_{"flagstore", "XDG_STATE_HOME"};
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
    ChildProcess shutdown({FLAG_HELPER, "flag", "Z"});
    EXPECT_EQ("created 1\n", shutdown.ReadAll());
    EXPECT_EQ(0, shutdown.Wait());  // the sweep runs at the flag's end
    for (const std::string& name : gone) EXPECT_EQ("(none)", Value(name.c_str())) << name;
    for (const std::string& name : kept) EXPECT_EQ("m", Value(name.c_str())) << name;
    EXPECT_EQ("1", Value(kProcessFlagCounter));
}

// One of two processes takes the named mutex first; names the system cannot take
// are refused.
TEST_F(ProcessFlagTest, NamedMutexFirstComeAndBadNames) {
    const std::string start = std::to_string(WallClockMs() + 300);
    ChildProcess a({FLAG_HELPER, "lock", start}), b({FLAG_HELPER, "lock", start});
    const std::string answers = a.ReadAll() + b.ReadAll();
    EXPECT_TRUE(answers == "first\nsecond\n" || answers == "second\nfirst\n") << answers;
    ReportCapture reports;
    EXPECT_EQ(0, OSPMutexOpen("a\\b"));
    EXPECT_EQ(0, OSPMutexOpen(std::string(480, 'n').c_str()));
    const OSPMutex fine = OSPMutexOpen(std::string(200, 'n').c_str());
    EXPECT_NE(0, fine);
    OSPMutexClose(fine);
    EXPECT_EQ(2, reports.Count("(false)"));
}

// A writer killed at any moment leaves the old value or the new one; bad keys and
// values of megabytes are refused.
TEST_F(ProcessFlagTest, StoreSurvivesKilledWritersAndRefusesBadKeysAndOversizedValues) {
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
