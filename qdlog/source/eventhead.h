// The head in front of every line of an event:
//   "2016-11-18 12:12:00.123|信息:"
//   "2016-11-18 12:12:00.123|CPU-ticks       12.500万|信息:"
// built narrow into fixed buffers; the wide road widens the finished head.
#pragma once

#include <cstdint>

#include "qdr/qdmsel.h"

constexpr int kEventHeadChars = 256;
constexpr int kCpuTicksChars = 64;

// The cycle column for a counter difference, in ten thousands ("万"), with the
// zeros in front of the number blanked so that the column keeps its width:
//   125000  -> "|CPU-ticks       12.500万"
//   5000    -> "|CPU-ticks         .500万"
//   -125000 -> "|CPU-ticks -0000012.500万"
int FormatCpuTicks(int64_t difference, char (&out)[kCpuTicksChars]);

// "%s%s|%s%c" of time, cycles (or ""), title and separator. Returns its length.
int BuildEventHead(const char* time, const char* cycles, const char* title, uint32_t separator,
                   char (&out)[kEventHeadChars]);
