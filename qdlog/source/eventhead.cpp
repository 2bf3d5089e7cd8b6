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

int BuildEventHead(const char* time, const char* cycles, const char* title, uint32_t separator,
                   char (&out)[kEventHeadChars]) {
    const int length =
        snprintf(out, sizeof(out), "%s%s|%s%c", time, cycles, title, static_cast<int>(separator));
    return length < static_cast<int>(sizeof(out)) ? length : static_cast<int>(sizeof(out)) - 1;
}
