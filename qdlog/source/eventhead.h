// The head in front of every line of an event:
//   "2016-11-18 12:12:00.123|信息:"
//   "2016-11-18 12:12:00.123|CPU-ticks       12.500万|信息:"
// built narrow into fixed buffers; the wide road widens the finished head.
#pragma once

#include <cstdint>
#include <cstring>

#include "qdr/qdmsel.h"
#include "qdtime.h"

constexpr int kEventHeadChars = 256;
constexpr int kCpuTicksChars = 64;
constexpr int kTitleChars = 32;

// The time column, in local time, with or without milliseconds:
//   "2016-11-18 12:12:00.123", "2016-11-18 12:12:00"
// A second is broken down and written once, at its first event; the other events of
// that second copy its text and add their milliseconds, which saves the C library's
// local time conversion: 55 ns of an 80-byte event's 335 (bench/qdlog_bench,
// BM_ComparedMessage). A time that cannot be broken down gives zeros in every
// field, as the uncached conversion does, and is not kept. The zone is
// the C library's of that first event: a program that changes TZ and calls tzset
// sees the new zone from the next second on. The caller holds lock_.
class HeadClock {
public:
    // The column for `now` into `out`, which has room for kSystemTimeTextSize
    // characters (the file's buffer, for the common event); returns its length.
    // The kept second is copied inline, with no division: its milliseconds are the
    // distance from its start. Its first event goes out of line.
    int Format(MSEL now, bool withMilli, char* out) {
        const uint64_t intoSecond =
            static_cast<uint64_t>(now) - static_cast<uint64_t>(secondStart_);
        if (intoSecond >= 1000 || !IsValidMSEL(now)) return FormatNewSecond(now, withMilli, out);
        return CopySecond(static_cast<int>(intoSecond), withMilli, out);
    }

private:
    static constexpr int kSecondChars = 19;  // "2016-11-18 12:12:00": every valid time
    // No second kept: no valid time lies within 1000 ms after it.
    static constexpr MSEL kNoSecond = INT64_MIN;

    int FormatNewSecond(MSEL now, bool withMilli, char* out);
    int CopySecond(int milli, bool withMilli, char* out) const;

    MSEL secondStart_ = kNoSecond;  // the first millisecond of the kept second
    char secondText_[kSystemTimeTextSize] = {};
};

// ".000" to ".999", four characters each without a terminator.
struct MilliTexts {
    char text[1000][4];
};
constexpr MilliTexts MakeMilliTexts() {
    MilliTexts t{};
    for (int m = 0; m < 1000; ++m) {
        t.text[m][0] = '.';
        t.text[m][1] = static_cast<char>('0' + m / 100);
        t.text[m][2] = static_cast<char>('0' + m / 10 % 10);
        t.text[m][3] = static_cast<char>('0' + m % 10);
    }
    return t;
}
inline constexpr MilliTexts kMilliTexts = MakeMilliTexts();

inline int HeadClock::CopySecond(int milli, bool withMilli, char* out) const {
    memcpy(out, secondText_, kSecondChars);
    int length = kSecondChars;
    if (withMilli) {
        memcpy(out + length, kMilliTexts.text[milli], 4);
        length += 4;
    }
    out[length] = 0;
    return length;
}

// The cycle column for a counter difference, in ten thousands ("万"), with the
// zeros in front of the number blanked so that the column keeps its width:
//   125000  -> "|CPU-ticks       12.500万"
//   5000    -> "|CPU-ticks         .500万"
//   -125000 -> "|CPU-ticks -0000012.500万"
int FormatCpuTicks(int64_t difference, char (&out)[kCpuTicksChars]);

// "|%s%c" of title and separator at `out`, which has room for kTitleChars + 2;
// returns the end of what it wrote. The row is copied whole, a copy of fixed size
// that the compiler makes a few moves, and the end moves on by the title's length.
// Inline, with the length found a word at a time: the call and the C library's
// memchr were a tenth of the event road's own work, a loop byte by byte a sixth.
inline size_t TitleLength(const char (&title)[kTitleChars]) {
    static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first byte is the lowest");
    for (size_t at = 0; at < sizeof(title); at += 8) {
        uint64_t word;
        memcpy(&word, title + at, 8);
        // The lowest byte that is zero sets its top bit here, and no byte below it.
        const uint64_t zeros = (word - 0x0101010101010101ull) & ~word & 0x8080808080808080ull;
        if (zeros) return at + static_cast<size_t>(__builtin_ctzll(zeros) >> 3);
    }
    return sizeof(title);
}

inline char* PutEventTitle(const char (&title)[kTitleChars], uint32_t separator, char* out) {
    *out++ = '|';
    memcpy(out, title, sizeof(title));
    out += TitleLength(title);
    *out++ = static_cast<char>(separator);
    return out;
}

// "%s%s|%s%c" of time, cycles (none when cyclesLen is 0), title and separator;
// time and cycles come with their lengths. Returns its length.

int BuildEventHead(const char (&time)[kSystemTimeTextSize], int timeLen,
                   const char (&cycles)[kCpuTicksChars], int cyclesLen,
                   const char (&title)[kTitleChars], uint32_t separator,
                   char (&out)[kEventHeadChars]);
