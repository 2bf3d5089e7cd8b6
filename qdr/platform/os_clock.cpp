// Clocks and calendar conversion, on clock_gettime and the C library.
#include "os.h"

#include <stdlib.h>
#include <time.h>

namespace os {

uint32_t ReadTickOffset() {
    const char* text = getenv("QDR_TICK_OFFSET");
    if (!text || !*text) return 0;
    return static_cast<uint32_t>(strtoull(text, nullptr, 0));
}

uint32_t TickCount() {
    return TickOf(CLOCK_MONOTONIC);
}

uint32_t CoarseTickLag() {
    timespec resolution;
    if (clock_getres(CLOCK_MONOTONIC_COARSE, &resolution) != 0 || resolution.tv_sec > 0)
        return UINT32_MAX / 2;
    return static_cast<uint32_t>((resolution.tv_nsec + 999999) / 1000000) * 2 + 1;
}

bool LocalTime(int64_t seconds, std::tm* out) {
    time_t t = static_cast<time_t>(seconds);
    return localtime_r(&t, out) != nullptr;
}

bool UtcTime(int64_t seconds, std::tm* out) {
    time_t t = static_cast<time_t>(seconds);
    return gmtime_r(&t, out) != nullptr;
}

int64_t MakeLocalTime(std::tm* fields) {
    const time_t t = mktime(fields);
    return t == static_cast<time_t>(-1) ? -1 : static_cast<int64_t>(t);
}

int StandardZoneMinutesWest() {
    tzset();
    return static_cast<int>(timezone / 60);
}

}  // namespace os
