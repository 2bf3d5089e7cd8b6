// The pieces of an event's head.
#include "eventhead.h"

#include <cstdio>
#include <cstring>

int FormatCpuTicks(int64_t difference, char (&out)[kCpuTicksChars]) {
    const int length = snprintf(out, sizeof(out), "|CPU-ticks %012.3f万",
                                static_cast<double>(difference) / 10000.0);
    // From just after the first blank, zeros become blanks up to the first other
    // character: "00000012.500" -> "      12.500", "00000000.500" -> "        .500".
    char* p = strchr(out, ' ');
    if (p)
        for (++p; *p == '0'; ++p) *p = ' ';
    return length;
}

// The pieces copied one after the other: the bytes of "%s%s|%s%c", without
// snprintf, which cost 78 ns of an 80-byte event's 358 (BM_ComparedMessage). Each
// piece is copied by the whole size of its buffer, a copy of fixed size that the
// compiler makes a few moves, and the write position then goes on by its length:
// a copy of the length itself became "rep movsq", which cost 30 ns more. All three
// buffers together (24 + 64 + 32 bytes and two) fit the head.
int BuildEventHead(const char (&time)[kSystemTimeTextSize], int timeLen,
                   const char (&cycles)[kCpuTicksChars], int cyclesLen,
                   const char (&title)[kTitleChars], uint32_t separator,
                   char (&out)[kEventHeadChars]) {
    static_assert(kSystemTimeTextSize + kCpuTicksChars + kTitleChars + 2 <= kEventHeadChars,
                  "the pieces' buffers must fit the head");
    char* p = out;
    memcpy(p, time, sizeof(time));
    p += timeLen;
    if (cyclesLen > 0) {
        memcpy(p, cycles, sizeof(cycles));
        p += cyclesLen;
    }
    p = PutEventTitle(title, separator, p);
    *p = 0;
    return static_cast<int>(p - out);
}

int HeadClock::FormatNewSecond(MSEL now, bool withMilli, char* out) {
    // An invalid time is reported here, at every event, as it always was.
    const SYSTEMTIME st = GetSystemTimeOfMSEL(now, true);
    FormatSystemTime(secondText_, st, false, '-', ':', '.');
    const bool keep = IsValidMSEL(now) && strlen(secondText_) == kSecondChars;
    secondStart_ = keep ? now - now % 1000 : kNoSecond;
    if (!keep) {
        FormatSystemTime(out, st, withMilli, '-', ':', '.');
        return static_cast<int>(strlen(out));
    }
    return CopySecond(static_cast<int>(now % 1000), withMilli, out);
}
