// Process and thread start instants, from the start tick in /proc/<id>/stat and the
// boot time in /proc/stat.
#include "os.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

namespace os {

namespace {

// btime of /proc/stat: the wall-clock second of the boot.
bool BootTimeSeconds(int64_t* seconds) {
    FILE* file = fopen("/proc/stat", "re");
    if (!file) return false;
    char* line = nullptr;
    size_t capacity = 0;
    bool found = false;
    while (!found && getline(&line, &capacity, file) > 0) {
        if (strncmp(line, "btime ", 6) == 0) {
            *seconds = strtoll(line + 6, nullptr, 10);
            found = *seconds > 0;
        }
    }
    free(line);
    fclose(file);
    return found;
}

// The state letter (field 3) and the start tick (field 22) of a stat line. The
// command name in parentheses may hold blanks and parentheses itself, so the
// fields are counted from the last ')'.
//   "9214 (a b) R 9210 ... 50173 ..." -> 'R', 50173
bool ParseStatLine(const char* line, char* state, uint64_t* startTick) {
    const char* p = strrchr(line, ')');
    if (!p) return false;
    ++p;
    for (int field = 3; field <= 22; ++field) {
        while (*p == ' ') ++p;
        if (!*p) return false;
        if (field == 3) *state = *p;
        if (field == 22) {
            char* end = nullptr;
            *startTick = strtoull(p, &end, 10);
            return end != p;
        }
        while (*p && *p != ' ') ++p;
    }
    return false;
}

bool StartMsOfStatFile(const char* path, bool mustBeRunning, int64_t* ms) {
    FILE* file = fopen(path, "re");
    if (!file) return false;
    char line[1024];
    const bool read = fgets(line, sizeof(line), file) != nullptr;
    fclose(file);
    char state = 0;
    uint64_t startTick = 0;
    int64_t bootSeconds = 0;
    const long ticksPerSecond = sysconf(_SC_CLK_TCK);
    if (!read || !ParseStatLine(line, &state, &startTick) || ticksPerSecond <= 0 ||
        !BootTimeSeconds(&bootSeconds))
        return false;
    if (mustBeRunning && (state == 'Z' || state == 'X')) return false;
    *ms = bootSeconds * 1000 +
          static_cast<int64_t>(startTick * 1000 / static_cast<uint64_t>(ticksPerSecond));
    return true;
}

// Reads /proc/<id>/stat, or `ownPath` for id 0.
bool StartMsOfId(uint32_t id, const char* ownPath, bool mustBeRunning, int64_t* ms) {
    char path[64];
    if (id == 0)
        snprintf(path, sizeof(path), "%s", ownPath);
    else
        snprintf(path, sizeof(path), "/proc/%u/stat", id);
    return StartMsOfStatFile(path, mustBeRunning, ms);
}

}  // namespace

bool ProcessStartMs(uint32_t pid, bool mustBeRunning, int64_t* ms) {
    return StartMsOfId(pid, "/proc/self/stat", mustBeRunning, ms);
}

bool ThreadStartMs(uint32_t tid, int64_t* ms) {
    return StartMsOfId(tid, "/proc/thread-self/stat", false, ms);
}

}  // namespace os
