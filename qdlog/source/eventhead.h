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
    // The kept second is copied inline; its first event goes out of line.
    int Format(MSEL now, bool withMilli, char* out) {
        if (!IsValidMSEL(now) || now / 1000 != second_) return FormatNewSecond(now, withMilli, out);
        return CopySecond(now, withMilli, out);
    }

private:
    static constexpr int kSecondChars = 19;  // "2016-11-18 12:12:00": every valid time

    int FormatNewSecond(MSEL now, bool withMilli, char* out);
    int CopySecond(MSEL now, bool withMilli, char* out) const {
        memcpy(out, secondText_, kSecondChars);
        int length = kSecondChars;
        if (withMilli) {
            const int milli = static_cast<int>(now % 1000);
            out[length++] = '.';
            out[length++] = static_cast<char>('0' + milli / 100);
            out[length++] = static_cast<char>('0' + milli / 10 % 10);
            out[length++] = static_cast<char>('0' + milli % 10);
        }
        out[length] = 0;
        return length;
    }

    MSEL second_ = -1;  // the second whose text is kept, -1 for none
    char secondText_[kSystemTimeTextSize] = {};
};

// The cycle column for a counter difference, in ten thousands ("万"), with the
// zeros in front of the number blanked so that the column keeps its width:
//   125000  -> "|CPU-ticks       12.500万"
//   5000    -> "|CPU-ticks         .500万"
//   -125000 -> "|CPU-ticks -0000012.500万"
int FormatCpuTicks(int64_t difference, char (&out)[kCpuTicksChars]);

// "%s%s|%s%c" of time, cycles (none when cyclesLen is 0), title and separator;
// time and cycles come with their lengths. Returns its length.
// "|%s%c" of title and separator at `out`, which has room for kTitleChars + 2;
// returns the end of what it wrote.
char* PutEventTitle(const char (&title)[kTitleChars], uint32_t separator, char* out);

int BuildEventHead(const char (&time)[kSystemTimeTextSize], int timeLen,
                   const char (&cycles)[kCpuTicksChars], int cyclesLen,
                   const char (&title)[kTitleChars], uint32_t separator,
                   char (&out)[kEventHeadChars]);
