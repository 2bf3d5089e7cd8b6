// Calendar and time-text routines over the MSEL (qdr/qdmsel.h): validity of dates
// and broken-down times, conversion back to MSEL, the 14/17-digit date texts of the
// log file names, the head's time text, durations in two languages, process and
// thread start times, the processor's clock rate and a scoped priority change.
//
// The first use of CheckSystemTimeRange caches the range's bounds in local time, so
// a program that changes TZ afterwards keeps the bounds of the zone it started in.
#pragma once

#include <cstdint>
#include <string>

#include "cpp_templ0.h"
#include "qdr/qdmsel.h"
#include "qdr/qdthread.h"

bool IsLeapYear(int year);
// 28..31, or 0 for a month outside 1..12.
int GetMonthDays(int year, int month);
bool IsValidDate(int year, int month, int day);

// A broken-down time from its fields, with day of week 0; nothing is checked.
SYSTEMTIME MakeSystemTime(int year, int month, int day, int hour = 0, int minute = 0,
                          int second = 0, int milli = 0);
// Fields in their ranges and the instant inside the MSEL range (in local time or
// UTC); the day of week is tested (< 7) only with checkWeekDay.
bool IsValidSystemTime(const SYSTEMTIME& time, bool isLocal, bool checkWeekDay);
// -1 before the MSEL range, 0 inside, 1 after. The fields must be valid (see
// SystemTimeOrdinal).
int CheckSystemTimeRange(const SYSTEMTIME& time, bool isLocal);
// An ordering key that counts every month as 31 days: cheap, gapped, monotonic.
// Fields out of range are reported and the key is computed anyway.
int64_t SystemTimeOrdinal(int year, int month, int day, int hour, int minute, int second,
                          int milli);

// The MSEL of a broken-down time, or -1 when it is not valid. Fields in UTC
// (isLocal false) are read as local time and then shifted by GetLocalZoneOffset,
// which leaves daylight saving out: in a zone under summer time such a result lies
// one daylight shift early.
//   TZ=America/New_York, UTC 2024-01-15 12:00 -> 1705320000000 (exact)
//   TZ=America/New_York, UTC 2024-07-15 12:00 -> 1721041200000, not 1721044800000
MSEL SystemTimeToMSEL(const SYSTEMTIME& time, bool isLocal);
// Milliseconds east of UTC of the zone's standard time, without daylight saving.
int64_t GetLocalZoneOffset();
// Splits milliseconds of one day; returns the hours. A value of a day or more is
// reported and split all the same (hours then pass 23). Null outputs are skipped.
int SplitDayMilliseconds(uint32_t dw, int* hour, int* minute, int* second, int* milli);

// Start instant of a process (0: this one), or -1 when there is no such process,
// also for a zombie with checkAlive. Failing for this process is reported.
MSEL GetProcessStartMSEL(uint32_t pid, bool checkAlive);
// The same; the value of this process is computed once (a failure is tried again).
MSEL GetProcessStartMSELCached(uint32_t pid, bool checkAlive);
// Start instant of a thread by kernel id (0: the calling one), or -1.
MSEL GetThreadStartMSEL(uint32_t tid);

// Writes the date text of an instant into `dest`, which holds 32 characters:
//   "YYYYMMDDhhmmss", with the separator between date and time and with
//   milliseconds behind: "20240102 030405123". Null for a null dest (reported), an
//   invalid MSEL, or in UTC a value below one day (a zone shift cannot reach below
//   the range then).
//   MSELToDateText(0, d, false, false, 0, true)  -> "19700101080000" in UTC+8
//   MSELToDateText(0, d, false, false, 0, false) -> null
char* MSELToDateText(MSEL msel, char* dest, bool withMilli, bool withSeparator, char separator,
                     bool isLocal);
// Reads a date text back, or -1. The caller owes 14 characters (17 with withMilli)
// whatever the text's length: exactly that many bytes are read, terminator or not.
// They must be digits (a '#' passes this test too, and then the field reader stops
// short, which is reported) and a valid time.
//   DateTextToMSEL("20240102030405", false, true) == MSEL of 2024-01-02 03:04:05 local
//   DateTextToMSEL("20241302030405", false, true) == -1 (month 13)
MSEL DateTextToMSEL(const char* text, bool withMilli, bool isLocal);
// The same for a text of known length (negative: measured): one that is shorter
// than 14 (17) characters gives -1 without a report.
MSEL DateTextToMSEL(const char* text, int textLen, bool withMilli, bool isLocal);

// The head's time text, "YYYY-MM-DD hh:mm:ss" and ".mmm" with withMilli, with the
// given separators. `dest` holds kSystemTimeTextSize units; fields beyond their
// ranges, which no valid time has, make a text that is cut to fit.
constexpr int kSystemTimeTextSize = 24;
template <class CHAR>
CHAR* FormatSystemTime(CHAR* dest, const SYSTEMTIME& time, bool withMilli,
                       NonDeduced<CHAR> dateSeparator = '-', NonDeduced<CHAR> timeSeparator = ':',
                       NonDeduced<CHAR> milliSeparator = '.');
template <class CHAR>
std::basic_string<CHAR>& FormatSystemTime(std::basic_string<CHAR>& dest, const SYSTEMTIME& time,
                                          bool withMilli, NonDeduced<CHAR> dateSeparator = '-',
                                          NonDeduced<CHAR> timeSeparator = ':',
                                          NonDeduced<CHAR> milliSeparator = '.');

// A duration as text from its first non-zero part on, leaving out parts that are 0:
//   90061001, withMilli -> "1Days1Hours1Minutes1Seconds1MSELs" ("1天1小时1分1秒1毫秒")
//   0 -> "0Seconds" ("0MSELs" withMilli)
// `language` "english" (any case) or "中文简体"; any other key means English.
// Without withMilli the milliseconds are dropped first. The parts go to the outputs
// that are not null; the days do not wrap. `keepAll` changes nothing visible. `dest`
// holds kDurationTextSize bytes. Null for a null dest (reported) or a value outside
// the MSEL range.
constexpr int kDurationTextSize = 64;
char* FormatDuration(const char* language, char* dest, int64_t milliseconds, bool withMilli,
                     bool keepAll, int* days = nullptr, int* hours = nullptr,
                     int* minutes = nullptr, int* seconds = nullptr, int* millis = nullptr);
// "Sunday".."Saturday" for "english" (any case), "星期日".."星期六" for "中文简体";
// empty for a day outside 0..6 or another language.
const char* GetWeekDayName(int day, const char* language);

// The processor's clock rate in Hz, read once. When it cannot be read that is
// reported once and the result is 0x80000000.
int64_t GetCpuFrequency();

// Priority classes and thread priorities, with Windows' values.
enum : uint32_t {
    IDLE_PRIORITY_CLASS = 0x40,
    BELOW_NORMAL_PRIORITY_CLASS = 0x4000,
    NORMAL_PRIORITY_CLASS = 0x20,
    ABOVE_NORMAL_PRIORITY_CLASS = 0x8000,
    HIGH_PRIORITY_CLASS = 0x80,
    REALTIME_PRIORITY_CLASS = 0x100,
};
enum : int {
    THREAD_PRIORITY_IDLE = -15,
    THREAD_PRIORITY_LOWEST = -2,
    THREAD_PRIORITY_BELOW_NORMAL = -1,
    THREAD_PRIORITY_NORMAL = 0,
    THREAD_PRIORITY_ABOVE_NORMAL = 1,
    THREAD_PRIORITY_HIGHEST = 2,
    THREAD_PRIORITY_TIME_CRITICAL = 15,
};

// Scope guard that runs the constructing thread at another priority and puts the
// old one back. Linux has one nice value per thread, so class and thread priority
// together choose it (the mapping is in docs/platform.md). A change the system refuses
// is not an error: an unprivileged thread may lower its priority but not raise
// it, so Restore after a lowering is refused there and the thread stays low.
class AutoPriority {
public:
    // An unknown class or thread priority is reported and counts as normal.
    AutoPriority(bool raiseNow, uint32_t priorityClass, int threadPriority);
    ~AutoPriority();
    AutoPriority(const AutoPriority&) = delete;
    AutoPriority& operator=(const AutoPriority&) = delete;

    void Raise();
    void Restore();

private:
    int targetNice_;
    OSThreadID thread_;
    int savedNice_;
    bool raised_;
};
