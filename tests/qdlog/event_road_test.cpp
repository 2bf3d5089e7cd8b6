// The event road: the head's bytes, the split into lines, the raw type, empty and
// bad events, and the narrow and wide roads alike. Local time is UTC+8 (TZ=CST-8).
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "eventhead.h"
#include "log_test_support.h"
#include "report_capture.h"

namespace {

TEST(EventHead, CycleColumnBlanksTheZerosInFrontOfTheNumber) {
    // clang-format off
    const struct { int64_t difference; const char* column; } rows[] = {
        {125000, "|CPU-ticks       12.500万"},  {100000, "|CPU-ticks       10.000万"},
        {5000, "|CPU-ticks         .500万"},    {0, "|CPU-ticks         .000万"},
        {-125000, "|CPU-ticks -0000012.500万"}, {1234567890123, "|CPU-ticks 123456789.012万"},
    };
    // clang-format on
    for (const auto& row : rows) {
        char column[kCpuTicksChars];
        FormatCpuTicks(row.difference, column);
        EXPECT_STREQ(row.column, column) << row.difference;
    }
}

// The column of the time is kept per second; it must still be the broken-down time
// of every moment: within a second, across seconds and years, backwards, over a
// change to summer time, and at the ends of the valid range. An invalid time shows
// zeros and is reported each time, as the conversion does.
TEST(EventHead, TimeColumnIsThatOfEveryMoment) {
    const char* const zones[] = {"CST-8", "America/New_York"};
    // 1457852400000 is New York's change to summer time on 2016-03-13.
    // clang-format off
    const MSEL moments[] = {kSampleMSEL, kSampleMSEL + 1, kSampleMSEL + 877, kSampleMSEL,
                            1457852399999LL, 1457852400000LL, 0, 2147443200000LL, -1,
                            kSampleMSEL + 86400000LL * 365};
    // clang-format on
    for (const char* zone : zones) {
        setenv("TZ", zone, 1);
        tzset();
        HeadClock clock;
        for (const MSEL now : moments)
            for (const bool withMilli : {true, false}) {
                ReportCapture reports;
                char expected[kSystemTimeTextSize];
                FormatSystemTime(expected, GetSystemTimeOfMSEL(now, true), withMilli, '-', ':',
                                 '.');
                const int expectedReports = reports.Count();
                char column[kSystemTimeTextSize];
                EXPECT_EQ(static_cast<int>(strlen(expected)), clock.Format(now, withMilli, column));
                EXPECT_STREQ(expected, column) << zone << " " << now;
                EXPECT_EQ(2 * expectedReports, reports.Count()) << now;
            }
    }
    setenv("TZ", "CST-8", 1);
    tzset();
}

// The file is checked at the first event of each whole second, "/ 1000" as the
// division cuts it (toward zero, so -999 .. 999 is one second); the road tests a
// kept range instead of dividing. It must agree at every edge, and an event of the
// same second must keep the range.
TEST(EventSecond, NewSecondAgreesWithTheDivision) {
    LogContext& log = GetLogContext();
    LogLock lock(log);
    const MSEL kept = log.lastEventMSEL_;
    // clang-format off
    const MSEL edges[] = {0, 1, 999, 1000, 1999, 2000, -1, -999, -1000, -1001, -2000,
                          kSampleMSEL, kSampleMSEL / 1000 * 1000, INT64_MAX, INT64_MIN};
    // clang-format on
    for (const MSEL last : edges) {
        NoteEventMSEL(log, last, true);
        NoteEventMSEL(log, last, false);
        for (const MSEL base : edges)
            for (const MSEL step : {-1001, -1000, -1, 0, 1, 999, 1000}) {
                if ((step < 0 && base < INT64_MIN - step) || (step > 0 && base > INT64_MAX - step))
                    continue;
                const MSEL now = base + step;
                EXPECT_EQ(last / 1000 != now / 1000, IsNewEventSecond(log, now))
                    << last << " " << now;
            }
    }
    NoteEventMSEL(log, kept, true);
}

class EventRoad : public LogTest {};

TEST_F(EventRoad, HeadBytesOnTheScreenAndToCallbacksForEachSetting) {
    // clang-format off
    const struct { int printMSEL; int printCpuCycle; int type; const char* head; } rows[] = {
        {1, 0, 0, "2016-11-18 12:12:00.123|信息:"}, {0, 0, 1, "2016-11-18 12:12:00|警告:"},
        {1, 1, 2, "2016-11-18 12:12:00.123|CPU-ticks       12.500万|错误:"},
        {0, 1, 25, "2016-11-18 12:12:00|CPU-ticks       12.500万|事件:"},
        {1, 0, 7, "2016-11-18 12:12:00.123|0007:"},
    };
    // clang-format on
    LogContext& log = GetLogContext();
    QDLogScreen(1);
    for (const auto& row : rows) {
        LineRecorder recorder;
        QDLogSetPrintMSEL(row.printMSEL);
        QDLogSetPrintCpuCycle(row.printCpuCycle);
        log.lastCpuCycle_ = 1000;
        const std::string shown =
            ScreenOf([&] { PrintAt(row.type, "connection lost", kSampleMSEL, 126000); });
        EXPECT_EQ(std::string(row.head) + "connection lost\n", shown);
        ASSERT_EQ(1u, recorder.Lines().size());
        const RecordedLine line = recorder.Lines()[0];
        EXPECT_EQ(row.head, line.head);
        EXPECT_TRUE(line.headTerminated);
        EXPECT_EQ("connection lost", line.text);
        EXPECT_EQ(row.type, line.type);
        // The column counts from the previous event that printed it.
        EXPECT_EQ(row.printCpuCycle ? 126000u : 1000u, log.lastCpuCycle_);
    }
}

TEST_F(EventRoad, BadEventsAreReportedAndDropped) {
    ReportCapture reports;
    LineRecorder recorder;
    QDLogEvent(32, "x");
    QDLogEvent(-1, "x");
    LogFormat(0, nullptr);
    QDLogEventW(32, u"x");
    EXPECT_EQ(4, reports.Count("(fmt && 0<=type && type<32)"));
    // An invalid wide format fails to measure.
    QDLogEventW(0, u"%n", nullptr);
    EXPECT_EQ(1, reports.Count("(0<=ret && ret<=fmtLen)"));
    // The print refuses a bad type on its own.
    PrintAt(40, "x", kSampleMSEL);
    EXPECT_EQ(1, reports.Count("(0<=type && type<32)"));
    EXPECT_TRUE(recorder.Lines().empty());
    EXPECT_EQ(6, reports.Count());
}

// Both widths go the same road and must give the same bytes.
template <class CHAR>
class BothRoads : public LogTest {};
typedef testing::Types<char, char16_t> Widths;
TYPED_TEST_SUITE(BothRoads, Widths);

TYPED_TEST(BothRoads, SplitAtLineFeedsOnly) {
    // clang-format off
    const struct { const char* text; std::vector<std::string> lines; } rows[] = {
        {"a\n", {"a"}}, {"\n\n", {"", ""}}, {"a\r\nb", {"a\r", "b"}},
        {"one\ntwo\nthree", {"one", "two", "three"}},
    };
    // clang-format on
    for (const auto& row : rows) {
        LineRecorder recorder;
        LogText<TypeParam>(0, row.text);
        EXPECT_EQ(row.lines, recorder.Texts()) << row.text;
        for (const RecordedLine& line : recorder.Lines())
            EXPECT_EQ(recorder.Lines()[0].head, line.head);  // one moment for all lines
    }
}

// The text is formatted into the inline room first, and formatted again only when
// it did not fit: around the room's size every argument must still come out once.
TYPED_TEST(BothRoads, TextsAroundTheInlineRoomComeOutWhole) {
    for (size_t length : {1020u, 1021u, 1022u, 1023u, 1024u, 5000u}) {
        LineRecorder recorder;
        const std::string text(length - 4, 't');
        if constexpr (sizeof(TypeParam) == 1)
            QDLogEvent(0, "%s|%d", text.c_str(), 42);
        else
            QDLogEventW(0, u"%s|%d", Widen(text).c_str(), 42);
        EXPECT_EQ(std::vector<std::string>{text + "|42"}, recorder.Texts()) << length;
    }
}

// Empty events change nothing, not even the time of the last event.
TYPED_TEST(BothRoads, RawTypeHasNoHeadAndNoLineEndAndEmptyEventsNothing) {
    QDLogScreen(1);
    LineRecorder recorder;
    LogContext& log = GetLogContext();
    QDLogSetPrintCpuCycle(1);
    NoteEventMSEL(log, 12345, true);
    const uint64_t before = log.lastCpuCycle_;
    const std::string shown = ScreenOf([] {
        LogText<TypeParam>(0, "");
        LogText<TypeParam>(31, "");
        EXPECT_EQ(12345, GetLogContext().lastEventMSEL_);
        LogText<TypeParam>(31, "ab\ncd");
    });
    EXPECT_EQ("abcd", shown);
    ASSERT_EQ(2u, recorder.Lines().size());
    for (const RecordedLine& line : recorder.Lines()) {
        EXPECT_EQ("", line.head);
        EXPECT_TRUE(line.headTerminated);
        EXPECT_EQ(31, line.type);
    }
    EXPECT_GT(log.lastCpuCycle_, before);  // the next column counts from here
}

TYPED_TEST(BothRoads, DebuggerGetsTheHeadThenTheTextWithItsLineFeed) {
    setenv("QDLOG_DEBUG_OUTPUT", "stderr", 1);
    const std::string head = std::string(kSampleTime) + "|信息:";
    testing::internal::CaptureStderr();
    PrintAt(0, TextOf<TypeParam>("x\n\ny").c_str(), kSampleMSEL);
    PrintAt(31, TextOf<TypeParam>("raw").c_str(), kSampleMSEL);
    PrintAt(31, TextOf<TypeParam>("\n").c_str(), kSampleMSEL);  // an empty raw line: nothing at all
    EXPECT_EQ(head + "x\n" + head + "\n" + head + "y\nraw", testing::internal::GetCapturedStderr());
    QDLogOutputToDebuger(0);
    testing::internal::CaptureStderr();
    PrintAt(0, TextOf<TypeParam>("off").c_str(), kSampleMSEL);
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

}  // namespace
