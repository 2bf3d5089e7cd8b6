// The mask pointer's pacing of configuration passes, which it tests without the
// lock on the coarse clock, and the level macros, which call it before every event
// and at every QDLOG_RECHECK_EVERY-th test of a disabled level.
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

uint32_t AskForTheMask() {
    return *GetQDLogMaskPtr();
}

TEST_F(MaskPointer, RunsAPassExactlyWhenHalfASecondHasGone) {
    const struct {
        uint32_t sinceLastPass;
        bool runs;
    } rows[] = {
        {0, false},
        {200, false},
        {480, false},
        {500, true},
        {501, true},
        {120000, true},
        // A tick ahead of the clock is a wrapped difference, which counts as elapsed.
        {0xFFFFFFF0u, true},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.runs, PassRanAfter(row.sinceLastPass, AskForTheMask)) << row.sinceLastPass;
    EXPECT_EQ(&GetLogContext().logMask_, GetQDLogMaskPtr());
}

TEST_F(MaskPointer, LevelMacrosAskBeforeEveryEventAndAtEveryRecheckOfADisabledLevel) {
    LineRecorder recorder;
    uint32_t* mask = GetQDLogMaskPtr();
    const uint32_t saved = *mask;
    *mask = QDLOG_MASK_INFO;
    // An enabled level asks at once.
    EXPECT_TRUE(PassRanAfter(500, [] {
        QDLOG_INFO("asked");
        return 0u;
    }));
    // A disabled one asks at its next recheck; from then on every QDLOG_RECHECK_EVERY
    // tests, and the tests in between read the word the last call returned.
    int tests = 0;
    while (!PassRanAfter(500, [] {
        QDLOG_DEBUG("never %d", 1);
        return 0u;
    }))
        ASSERT_LE(++tests, static_cast<int>(QDLOG_RECHECK_EVERY));
    for (unsigned round = 0; round < 3; ++round)
        for (unsigned test = 1; test <= QDLOG_RECHECK_EVERY; ++test)
            EXPECT_EQ(test == QDLOG_RECHECK_EVERY, PassRanAfter(500,
                                                                [] {
                                                                    QDLOG_DEBUG("never %d", 2);
                                                                    return 0u;
                                                                }))
                << test;
    *mask = saved;
    EXPECT_EQ(std::vector<std::string>{"asked"}, recorder.Texts());
}

}  // namespace
