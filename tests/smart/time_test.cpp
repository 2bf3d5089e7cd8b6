// Calendar and time texts. The program runs in UTC+8 (Asia/Shanghai, no daylight
// saving since 1991), set before the first test, since the range bounds are cached
// in the zone of their first use.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <vector>

#include "unit_text.h"
#include "qdtime.h"
#include "report_capture.h"

namespace {

struct EastOfUtc {
    EastOfUtc() {
        setenv("TZ", "Asia/Shanghai", 1);
        tzset();
    }
} g_eastOfUtc;

constexpr MSEL kLast = 2147443200000LL;
constexpr MSEL k20240102030405 = 1704135845000LL;  // local, UTC+8

TEST(Calendar, MselRangeEndsDateTextSeparatorAndInvalidTexts) {
    EXPECT_TRUE(IsValidMSEL(0) && IsValidMSEL(kLast));
    EXPECT_FALSE(IsValidMSEL(kLast + 1) || IsValidMSEL(-1));
    // clang-format off
    struct Case { SYSTEMTIME time; bool local; int range; MSEL msel; } cases[] = {
        {MakeSystemTime(1969, 12, 31, 23, 59, 59, 999), false, -1, -1},
        {MakeSystemTime(1970, 1, 1), false, 0, 0},
        {MakeSystemTime(2038, 1, 18, 16), false, 0, kLast},
        {MakeSystemTime(2038, 1, 18, 16, 0, 0, 1), false, 1, -1},
        {MakeSystemTime(1970, 1, 1, 7, 59, 59, 999), true, -1, -1},
        {MakeSystemTime(2038, 1, 19), true, 0, kLast},
        {MakeSystemTime(2038, 1, 19, 0, 0, 0, 1), true, 1, -1},
    };
    // clang-format on
    for (const Case& c : cases) {
        EXPECT_EQ(c.range, CheckSystemTimeRange(c.time, c.local)) << c.msel;
        EXPECT_EQ(c.msel, SystemTimeToMSEL(c.time, c.local)) << c.msel;
    }
    EXPECT_EQ(8 * 3600 * 1000, GetLocalZoneOffset());
    SYSTEMTIME badWeekDay = MakeSystemTime(2024, 1, 2);
    badWeekDay.wDayOfWeek = 7;
    EXPECT_TRUE(IsValidSystemTime(badWeekDay, true, false));
    EXPECT_FALSE(IsValidSystemTime(badWeekDay, true, true));

    // The texts themselves are checked against Python's; here the separator and the
    // refused arguments.
    char text[32];
    EXPECT_STREQ("20380118T160000000", MSELToDateText(kLast, text, true, true, 'T', false));
    EXPECT_STREQ("20380119 000000", MSELToDateText(kLast, text, false, true, ' ', true));

    // Invalid texts give -1.
    ReportCapture reports;
    for (const char* bad : {"2024010203040X", "20241302030405", "20240230030405", "20240102240000",
                            "20240102036000", "19700101075959", "20380119000001", " 2024010203040"})
        EXPECT_EQ(-1, DateTextToMSEL(bad, false, true)) << bad;
    EXPECT_EQ(0, reports.Count());
    // A '#' passes the digit test and then stops the field reader.
    EXPECT_EQ(-1, DateTextToMSEL("2024010203040#", false, true));
    EXPECT_EQ(1, reports.Count("(7 == taken)"));
    // The counted form refuses a short text before reading it.
    EXPECT_EQ(-1, DateTextToMSEL("2024010203040", -1, false, true));
    EXPECT_EQ(-1, DateTextToMSEL("20240102030405", 14, true, true));
    EXPECT_EQ(k20240102030405, DateTextToMSEL("20240102030405.log", 14, false, true));
    EXPECT_EQ(1, reports.Count());
}

template <class CHAR>
class SystemTimeText : public ::testing::Test {};
TYPED_TEST_SUITE(SystemTimeText, TextUnits);

TYPED_TEST(SystemTimeText, FormatsTheHeadTime) {
    typedef TypeParam C;
    C text[kSystemTimeTextSize];
    const SYSTEMTIME t = MakeSystemTime(2024, 1, 2, 3, 4, 5, 67);
    EXPECT_EQ("2024-01-02 03:04:05.067", Bytes(FormatSystemTime(text, t, true)));
    EXPECT_EQ("2024/01/02 03.04.05", Bytes(FormatSystemTime(text, t, false, '/', '.', ',')));
    const SYSTEMTIME wild = MakeSystemTime(65535, 65535, 65535, 65535, 65535, 65535, 65535);
    EXPECT_EQ("65535-65535-65535 65535", Bytes(FormatSystemTime(text, wild, true)));  // cut
    if constexpr (sizeof(C) == 2) {  // a separator outside ASCII stays one unit
        const C year = static_cast<C>(0x5E74);
        EXPECT_EQ(year, FormatSystemTime(text, t, false, year, ':', '.')[4]);
    }
}

TEST(Duration, BothLanguagesLeaveOutZeroParts) {
    // clang-format off
    struct Case { const char* language; int64_t ms; bool withMilli; const char* text; } cases[] = {
        {"english", 0, false, "0Seconds"}, {"english", 0, true, "0MSELs"}, {"中文简体", 0, true, "0毫秒"},
        {"English", 90061001, true, "1Days1Hours1Minutes1Seconds1MSELs"},
        {"ENGLISH", 90061001, false, "1Days1Hours1Minutes1Seconds"},
        {"中文简体", 90061001, true, "1天1小时1分1秒1毫秒"},
        {"english", 86400000, true, "1Days"}, {"english", 86401000, true, "1Days1Seconds"},
        {"deutsch", 60000, true, "1Minutes"}, {nullptr, 999, false, "0Seconds"},
        {"english", kLast, true, "24854Days16Hours"},
    };
    // clang-format on
    char text[kDurationTextSize];
    for (const Case& c : cases)
        for (bool keepAll : {false, true})
            EXPECT_STREQ(c.text, FormatDuration(c.language, text, c.ms, c.withMilli, keepAll));
    int d = -1, h = -1, m = -1, s = -1, ms = -1;
    FormatDuration("english", text, 2 * 86400000LL + 3723004, false, false, &d, &h, &m, &s, &ms);
    EXPECT_EQ((std::vector<int>{2, 1, 2, 3, 0}), (std::vector<int>{d, h, m, s, ms}));
    EXPECT_EQ(nullptr, FormatDuration("english", text, -1, true, false));
    EXPECT_EQ(nullptr, FormatDuration("english", text, kLast + 1, true, false));

    EXPECT_STREQ("Saturday", GetWeekDayName(6, "EngLish"));
    EXPECT_STREQ("星期三", GetWeekDayName(3, "中文简体"));
    EXPECT_STREQ("", GetWeekDayName(7, "english"));
    EXPECT_STREQ("", GetWeekDayName(0, "deutsch"));
}

}  // namespace
