// The library's time units. MSEL: signed 64-bit milliseconds since 1970-01-01 UTC,
// valid from 0 through 2147443200000 (2038-01-18 16:00:00 UTC). Ticks: the 32-bit
// millisecond counter, which wraps. Cycles: the processor's time stamp counter.
#pragma once

#include <cstdint>

#include "platform/os.h"
#include "qdassert.h"

// Windows' eight-field broken-down time (SYSTEMTIME).
struct SYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek;
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
};

typedef int64_t MSEL;

// The high word must be 0..499, and at 499 the low word may not pass 0xFD96D000.
inline bool IsValidMSEL(int64_t msel) {
    const uint64_t u = static_cast<uint64_t>(msel);
    const uint32_t high = static_cast<uint32_t>(u >> 32);
    const uint32_t low = static_cast<uint32_t>(u);
    if (high > 499) return false;
    return high < 499 || low <= 0xFD96D000u;
}

// Milliseconds from a file time (100 ns units since 1601). The constant carries half
// a millisecond on top of the epoch distance, so a reading is that much behind
// before the division cuts it down; it is kept as it is.
inline MSEL FileTimeToMSEL(int64_t fileTime) {
    return (fileTime - 116444736000005000LL) / 10000;
}

// FileTimeToMSEL of a reading's file time. From 1970's second second on it is one
// division where the file time takes two (the clock read under the engine's lock
// waits for them): (s * 10^7 + ns / 100 - 5000) / 10000 = s * 1000 +
// (ns + 500000) / 10^6 - 1.
inline MSEL MSELOfReading(os::RealTimeReading t) {
    if (t.seconds >= 1)
        return t.seconds * 1000 +
               static_cast<int64_t>(static_cast<uint64_t>(t.nanoseconds + 500000) / 1000000u) - 1;
    return FileTimeToMSEL(os::FileTimeOf(t));
}

inline MSEL GetMSEL() {
    return MSELOfReading(os::RealTimeNow());
}

// The 32-bit millisecond tick; compare two of them only through IsElapsed.
inline uint32_t GetTickCount() {
    return os::TickCount();
}

// The time stamp counter, with no serialising instruction around the read.
inline uint64_t ReadCpuCycle() {
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_ia32_rdtsc();
#elif defined(__aarch64__)
    uint64_t value;
    __asm__ volatile("mrs %0, cntvct_el0" : "=r"(value));
    return value;
#else
    return static_cast<uint64_t>(os::SystemTimeAsFileTime());
#endif
}

inline bool MSELToSystemTime(MSEL msel, SYSTEMTIME* dest, bool isLocal) {
    if (!dest) {
        QDR_CHECK(false);
        return false;
    }
    if (!IsValidMSEL(msel)) {
        QDR_CHECK(IsValidMSEL(msel));
        return false;
    }
    std::tm tm = {};
    if (isLocal)
        os::LocalTime(msel / 1000, &tm);
    else
        os::UtcTime(msel / 1000, &tm);
    dest->wYear = static_cast<uint16_t>(tm.tm_year + 1900);
    dest->wMonth = static_cast<uint16_t>(tm.tm_mon + 1);
    dest->wDayOfWeek = static_cast<uint16_t>(tm.tm_wday);
    dest->wDay = static_cast<uint16_t>(tm.tm_mday);
    dest->wHour = static_cast<uint16_t>(tm.tm_hour);
    dest->wMinute = static_cast<uint16_t>(tm.tm_min);
    dest->wSecond = static_cast<uint16_t>(tm.tm_sec);
    dest->wMilliseconds = static_cast<uint16_t>(msel % 1000);
    return true;
}

// All fields 0 when the MSEL is not valid, so an event with a bad time still goes out.
inline SYSTEMTIME GetSystemTimeOfMSEL(MSEL msel, bool isLocal) {
    SYSTEMTIME st;
    if (!MSELToSystemTime(msel, &st, isLocal)) st = SYSTEMTIME();
    return st;
}
