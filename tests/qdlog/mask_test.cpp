// The mask pointer's pacing of configuration passes, which it tests without the
// lock on the coarse clock, and the level macros, which call it before every event
// and test a disabled level on the word alone.
#include <gtest/gtest.h>

#include "log_test_support.h"

namespace {

class MaskPointer : public LogTest {};

// Without qdlog.ini a pass only takes the tick, so a new tick tells that one ran.
bool PassRanAfter(uint32_t sinceLastPass, uint32_t (*call)()) {
    LogContext& log = GetLogContext();
    const uint32_t set = GetTickCount() - sinceLastPass;
    log.lastReadConfigTick_ = set;
    call();
    return log.lastReadConfigTick_ != set;
}

TEST_F(MaskPointer, RunsAPassExactlyWhenHalfASecondHasGone) {
    // clang-format off
    const struct { uint32_t sinceLastPass; bool runs; } rows[] = {
        {0, false}, {200, false}, {480, false}, {500, true}, {501, true}, {120000, true},
        // A tick ahead of the clock is a wrapped difference, which counts as elapsed.
        {0xFFFFFFF0u, true},
    };
    // clang-format on
    for (const auto& row : rows)
        EXPECT_EQ(row.runs, PassRanAfter(row.sinceLastPass, [] { return *GetQDLogMaskPtr(); }))
            << row.sinceLastPass;
    EXPECT_EQ(&GetLogContext().logMask_, GetQDLogMaskPtr());
}

TEST_F(MaskPointer, LevelMacrosAskBeforeEveryEventAndDisabledLevelsReadTheWord) {
    LineRecorder recorder;
    uint32_t* mask = GetQDLogMaskPtr();
    const uint32_t saved = *mask;
    *mask = QDLOG_MASK_INFO;
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(PassRanAfter(500, [] {
            QDLOG_INFO("asked");
            return 0u;
        }));
        EXPECT_FALSE(PassRanAfter(500, [] {
            QDLOG_DEBUG("never %d", 1);
            return 0u;
        }));
    }
    // The disabled level reads the word itself: a change shows at once.
    *mask = QDLOG_MASK_INFO | QDLOG_MASK_DEBUG;
    QDLOG_DEBUG("now %d", 2);
    *mask = saved;
    EXPECT_EQ((std::vector<std::string>{"asked", "asked", "asked", "now 2"}), recorder.Texts());
}

}  // namespace
