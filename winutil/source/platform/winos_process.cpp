// Processes over /proc, posix_spawn and kill.
#include <dirent.h>
#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "winos.h"

extern char** environ;

namespace winos {

namespace {

// 100-ns units per clock tick of /proc.
int64_t TickUnits() {
    const long hz = sysconf(_SC_CLK_TCK);
    return 10000000 / (hz > 0 ? hz : 100);
}

uint32_t Spawn(const char* path, char* const argv[], bool searchPath, bool wait, int* exitCode) {
    pid_t pid = 0;
    const int r = searchPath ? posix_spawnp(&pid, path, nullptr, nullptr, argv, environ)
                             : posix_spawn(&pid, path, nullptr, nullptr, argv, environ);
    if (r != 0) {
        errno = r;
        return 0;
    }
    if (wait) {
        int status = 0;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        if (exitCode) *exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return static_cast<uint32_t>(pid);
}

// The number behind "key:" in a "key: value" file such as /proc/meminfo, kB -> bytes.
bool ReadKilobytesField(const char* path, const char* key, uint64_t* bytes) {
    std::ifstream in(path);
    std::string line;
    const size_t keyLen = strlen(key);
    while (std::getline(in, line)) {
        if (line.compare(0, keyLen, key) == 0 && line.size() > keyLen && line[keyLen] == ':') {
            *bytes = strtoull(line.c_str() + keyLen + 1, nullptr, 10) * 1024;
            return true;
        }
    }
    return false;
}

}  // namespace

bool ListProcessIds(std::vector<uint32_t>* pids, int limit) {
    pids->clear();
    DIR* d = opendir("/proc");
    if (!d) return false;
    while (struct dirent* e = readdir(d)) {
        if (static_cast<int>(pids->size()) >= limit) break;
        char* end;
        const unsigned long pid = strtoul(e->d_name, &end, 10);
        if (*end == 0 && pid > 0) pids->push_back(static_cast<uint32_t>(pid));
    }
    closedir(d);
    return true;
}

int ProcessImagePath(uint32_t pid, char* buffer, int capacity) {
    char link[32];
    snprintf(link, sizeof(link), "/proc/%u/exe", pid);
    const ssize_t n = readlink(link, buffer, static_cast<size_t>(capacity) - 1);
    if (n <= 0) return 0;
    buffer[n] = 0;
    return static_cast<int>(n);
}

uint32_t MainThreadId() {
    return static_cast<uint32_t>(getpid());
}

bool CommandLine(std::vector<std::string>* args) {
    args->clear();
    std::ifstream in("/proc/self/cmdline", std::ios::binary);
    if (!in) return false;
    std::string arg;
    while (std::getline(in, arg, '\0')) args->push_back(arg);
    return true;
}

uint32_t SpawnShell(const char* cmdLine, bool wait, int* exitCode) {
    char sh[] = "/bin/sh", dashC[] = "-c";
    char* argv[] = {sh, dashC, const_cast<char*>(cmdLine), nullptr};
    return Spawn(sh, argv, false, wait, exitCode);
}

uint32_t SpawnDocumentOpener(const char* file) {
    char opener[] = "xdg-open";
    char* argv[] = {opener, const_cast<char*>(file), nullptr};
    return Spawn(opener, argv, true, false, nullptr);
}

void ErrorText(int code, char* buffer, int capacity) {
    // The GNU strerror_r returns its text, which may not be `buffer`.
    const char* text = strerror_r(code, buffer, static_cast<size_t>(capacity));
    if (text != buffer) snprintf(buffer, static_cast<size_t>(capacity), "%s", text);
}

bool SystemTimes(int64_t* idle, int64_t* kernel, int64_t* user) {
    std::ifstream in("/proc/stat");
    std::string cpu;
    long long t[8] = {};
    if (!(in >> cpu) || cpu != "cpu") return false;
    for (long long& v : t)
        if (!(in >> v)) return false;
    const int64_t unit = TickUnits();
    *user = (t[0] + t[1]) * unit;
    *kernel = (t[2] + t[5] + t[6]) * unit;
    *idle = (t[3] + t[4]) * unit;
    return true;
}

bool ProcessTimes(int64_t* creation, int64_t* kernel, int64_t* user) {
    std::ifstream in("/proc/self/stat");
    std::string line;
    if (!std::getline(in, line)) return false;
    const size_t paren = line.rfind(')');
    if (paren == std::string::npos) return false;
    // Fields from the third (state) on: utime is the 14th, stime the 15th,
    // starttime the 22nd of the line.
    unsigned long long utime = 0, stime = 0, start = 0;
    char state;
    if (sscanf(line.c_str() + paren + 1,
               " %c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %llu %llu %*d %*d %*d %*d %*d %*d %llu",
               &state, &utime, &stime, &start) != 4)
        return false;
    std::ifstream stat("/proc/stat");
    std::string key;
    long long btime = -1;
    while (stat >> key)
        if (key == "btime") {
            stat >> btime;
            break;
        }
    if (btime < 0) return false;
    const int64_t unit = TickUnits();
    // File time: 100-ns units since 1601; 11644473600 s lie between 1601 and 1970.
    *creation = (btime + 11644473600LL) * 10000000 + static_cast<int64_t>(start) * unit;
    *kernel = static_cast<int64_t>(stime) * unit;
    *user = static_cast<int64_t>(utime) * unit;
    return true;
}

int ProcessorCount() {
    const long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? static_cast<int>(n) : 0;
}

bool PhysicalMemory(uint64_t* total, uint64_t* available) {
    return ReadKilobytesField("/proc/meminfo", "MemTotal", total) &&
           ReadKilobytesField("/proc/meminfo", "MemAvailable", available);
}

bool ProcessMemory(uint32_t pid, uint64_t* residentBytes, uint64_t* dataBytes) {
    char path[40];
    if (pid == 0)
        snprintf(path, sizeof(path), "/proc/self/status");
    else
        snprintf(path, sizeof(path), "/proc/%u/status", pid);
    return ReadKilobytesField(path, "VmRSS", residentBytes) &&
           ReadKilobytesField(path, "VmData", dataBytes);
}

uint32_t ParentProcessId() {
    return static_cast<uint32_t>(getppid());
}

bool KillProcess(uint32_t pid) {
    if (pid == static_cast<uint32_t>(getpid())) _exit(255);
    return pid > 0 && kill(static_cast<pid_t>(pid), SIGKILL) == 0;
}

bool ReapIfChildEnded(uint32_t pid) {
    int status;
    const pid_t r = waitpid(static_cast<pid_t>(pid), &status, WNOHANG);
    return r == static_cast<pid_t>(pid);
}

bool ProcessorName(char* buffer, int capacity) {
    std::ifstream in("/proc/cpuinfo");
    std::string line;
    for (const char* key : {"model name", "Hardware", "CPU implementer"}) {
        in.clear();
        in.seekg(0);
        while (std::getline(in, line)) {
            if (line.compare(0, strlen(key), key) != 0) continue;
            const size_t colon = line.find(':');
            if (colon == std::string::npos) continue;
            size_t begin = line.find_first_not_of(" \t", colon + 1);
            if (begin == std::string::npos) begin = line.size();
            snprintf(buffer, static_cast<size_t>(capacity), "%s", line.c_str() + begin);
            return true;
        }
    }
    return false;
}

}  // namespace winos
