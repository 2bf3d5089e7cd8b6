// The processor's clock rate, from /proc/cpuinfo or, where that does not list it
// (many ARM kernels), from the cpufreq driver in sysfs.
#include "os.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace os {

namespace {

// The first "cpu MHz : 2300.000" line, rounded to whole MHz.
bool MegahertzFromCpuinfo(uint32_t* mhz, int* error) {
    FILE* file = fopen("/proc/cpuinfo", "re");
    if (!file) {
        *error = errno;
        return false;
    }
    char* line = nullptr;
    size_t capacity = 0;
    bool found = false;
    while (!found && getline(&line, &capacity, file) > 0) {
        if (strncmp(line, "cpu MHz", 7) != 0) continue;
        const char* colon = strchr(line, ':');
        if (!colon) continue;
        const double value = strtod(colon + 1, nullptr);
        found = value >= 0.5 && value < 4.0e9;
        if (found) *mhz = static_cast<uint32_t>(value + 0.5);
    }
    free(line);
    fclose(file);
    return found;
}

// cpuinfo_max_freq is in kHz.
bool MegahertzFromSysfs(uint32_t* mhz) {
    FILE* file = fopen("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq", "re");
    if (!file) return false;
    unsigned long khz = 0;
    const bool read = fscanf(file, "%lu", &khz) == 1;
    fclose(file);
    if (!read || khz < 500) return false;
    *mhz = static_cast<uint32_t>((khz + 500) / 1000);
    return true;
}

}  // namespace

bool CpuMegahertz(uint32_t* mhz, char* error, int errorCap) {
    int cpuinfoError = 0;
    if (MegahertzFromCpuinfo(mhz, &cpuinfoError) || MegahertzFromSysfs(mhz)) return true;
    if (error && errorCap > 0) {
        if (cpuinfoError)
            snprintf(error, static_cast<size_t>(errorCap), "/proc/cpuinfo: %s",
                     strerror(cpuinfoError));
        else
            snprintf(error, static_cast<size_t>(errorCap),
                     "no \"cpu MHz\" in /proc/cpuinfo and no cpufreq in sysfs");
    }
    return false;
}

}  // namespace os
