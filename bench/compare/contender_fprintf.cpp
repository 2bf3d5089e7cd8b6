// The hand-written baseline: one fprintf per line under a mutex, with our head
// ("2026-01-02 03:04:05.678|信息:") and line end, the time broken down per call.
#include <chrono>
#include <cstdio>
#include <ctime>
#include <mutex>

#include "contender.h"

namespace {

std::mutex g_mutex;
FILE* g_file = nullptr;
int g_level = 1;  // 0 debug, 1 info; the baseline's own switch

void Open(const std::string& dir, const char*) {
    g_file = fopen((dir + "/fprintf.log").c_str(), "ab");
}

void Write(int index) {
    std::lock_guard<std::mutex> lock(g_mutex);
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const long long ms = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    const time_t seconds = static_cast<time_t>(ms / 1000);
    const std::tm* t = std::localtime(&seconds);  // under the mutex: no other caller
    fprintf(g_file, "%04d-%02d-%02d %02d:%02d:%02d.%03d|信息:message %d from %s took %.3f ms\r\n",
            t->tm_year + 1900, t->tm_mon + 1, t->tm_mday, t->tm_hour, t->tm_min, t->tm_sec,
            static_cast<int>(ms % 1000), index, kSender, ValueOf(index));
}

void Log(int index) {
    if (__atomic_load_n(&g_level, __ATOMIC_RELAXED) <= 1) Write(index);
}

void LogDisabled(int calls) {
    for (int i = 0; i < calls; ++i) {
        if (__atomic_load_n(&g_level, __ATOMIC_RELAXED) <= 0) Write(i);
        NextTurn();
    }
}

void Close() {
    fclose(g_file);
    g_file = nullptr;
}

}  // namespace

const Contender kFprintf = {"fprintf", Open, Log, LogDisabled, Close};
