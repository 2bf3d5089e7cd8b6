// The rules on the real tick at its wrap: QDR_TICK_OFFSET starts this program's
// tick 1.5 s below 2^32. The first run of a rule is due at once, and a rule that
// ran before the wrap is not due again at the wrap (60000 ticks after its run is
// the table of retention_test.cpp).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "log_test_support.h"
#include "logfilelist.h"
#include "scratch_dir.h"

namespace {

namespace fs = std::filesystem;

// Set before anything reads the tick, since the offset is read once, at the first
// reading. The tick is CLOCK_MONOTONIC, as the steady clock is.
const bool g_tickNearTheWrap = [] {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    const uint32_t offset = 0u - static_cast<uint32_t>(ms) - 1500u;
    return setenv("QDR_TICK_OFFSET", std::to_string(offset).c_str(), 1) == 0;
}();

class TickWrap : public LogTest {};

TEST_F(TickWrap, TheRulesNeitherStopNorRunEarlyAcrossIt) {
    ASSERT_TRUE(g_tickNearTheWrap);
    ASSERT_GT(GetTickCount(), 0xFFFFF000u);
    ScratchDir dir("qdlog-tickwrap");
    std::ofstream(dir / "log20100101000000.log");
    ASSERT_EQ(1, QDLogSetDir(dir.Text().c_str()));
    ResetLogFileList(1);
    ASSERT_TRUE(SweepLogDirectory(GetLogContext()));

    QDLogEvent(0, "first");  // the ticks start 120 s back: the age rule runs
    EXPECT_FALSE(fs::exists(dir / "log20100101000000.log"));
    std::ofstream(dir / "log20100102000000.log");
    GetLogContext().logFileList_.List((dir.Text() + "\\log20100102000000.log").c_str());
    while (GetTickCount() > 0x80000000u) os::SleepMs(10);
    QDLogEvent(0, "after the wrap");  // 1.5 s after the first run: not due
    EXPECT_TRUE(fs::exists(dir / "log20100102000000.log"));
    QDLogSetDir(nullptr);
}

}  // namespace
