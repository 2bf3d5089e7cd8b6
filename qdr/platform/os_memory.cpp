// The memory figures of the system, from /proc/meminfo.
#include <cstdio>

#include "os.h"

namespace os {

uint64_t AvailablePhysicalMemory() {
    FILE* meminfo = fopen("/proc/meminfo", "r");
    if (!meminfo) return 0;
    char line[128];
    unsigned long long kib = 0;
    bool found = false;
    while (!found && fgets(line, sizeof(line), meminfo))
        found = sscanf(line, "MemAvailable: %llu kB", &kib) == 1;
    fclose(meminfo);
    return found ? static_cast<uint64_t>(kib) * 1024u : 0;
}

}  // namespace os
