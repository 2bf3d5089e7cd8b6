// The floor: only the work that any synchronous logger writing these lines must
// do. The message is formatted into a stack buffer with no lock held, by our own
// narrow formatter; then, under one plain mutex, the time is taken
// (clock_gettime, the date and time text kept per second and only the
// milliseconds written each time), head and message are copied into a 64 KiB
// buffer, and write(2) hands it over every 50 lines, our flush rule, so that it
// makes as many system calls as we do.
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdarg>
#include <cstring>
#include <ctime>

#include "contender.h"
#include "narrowformat.h"

namespace {

constexpr char kTitle[] = "|信息:";
constexpr int kFlushLines = 50;
constexpr size_t kBufferBytes = 65536;
constexpr int kSecondChars = 19;  // "2026-01-02 03:04:05"

pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
int g_fd = -1;
int g_level = 1;  // 0 debug, 1 info
time_t g_second = -1;
char g_secondText[kSecondChars + 1];
char g_buffer[kBufferBytes];
size_t g_pending = 0;
int g_lines = 0;

void WriteOut() {
    for (size_t done = 0; done < g_pending;) {
        const ssize_t n = write(g_fd, g_buffer + done, g_pending - done);
        if (n <= 0) break;
        done += static_cast<size_t>(n);
    }
    g_pending = 0;
}

void Open(const std::string& dir, const char*) {
    g_fd = open((dir + "/floor.log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
}

void Append(const char* text, size_t length) {
    memcpy(g_buffer + g_pending, text, length);
    g_pending += length;
}

void Line(const char* fmt, ...) {
    char message[1024];
    va_list args;
    va_start(args, fmt);
    int length = FormatNarrowV(message, sizeof(message), fmt, args);
    va_end(args);
    if (length < 1) return;
    if (length >= static_cast<int>(sizeof(message))) length = sizeof(message) - 1;

    pthread_mutex_lock(&g_mutex);
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (now.tv_sec != g_second) {
        tm t;
        localtime_r(&now.tv_sec, &t);
        strftime(g_secondText, sizeof(g_secondText), "%Y-%m-%d %H:%M:%S", &t);
        g_second = now.tv_sec;
    }
    const int milli = static_cast<int>(now.tv_nsec / 1000000);
    char head[kSecondChars + 4 + sizeof(kTitle)];
    memcpy(head, g_secondText, kSecondChars);
    head[kSecondChars] = '.';
    head[kSecondChars + 1] = static_cast<char>('0' + milli / 100);
    head[kSecondChars + 2] = static_cast<char>('0' + milli / 10 % 10);
    head[kSecondChars + 3] = static_cast<char>('0' + milli % 10);
    memcpy(head + kSecondChars + 4, kTitle, sizeof(kTitle) - 1);
    const size_t lineBytes = sizeof(head) - 1 + static_cast<size_t>(length) + 2;
    if (g_pending + lineBytes > kBufferBytes) WriteOut();
    Append(head, sizeof(head) - 1);
    Append(message, static_cast<size_t>(length));
    Append("\r\n", 2);
    if (++g_lines >= kFlushLines) {
        g_lines = 0;
        WriteOut();
    }
    pthread_mutex_unlock(&g_mutex);
}

void Log(int index) {
    if (__atomic_load_n(&g_level, __ATOMIC_RELAXED) <= 1)
        Line("message %d from %s took %.3f ms", index, kSender, ValueOf(index));
}

void LogDisabled(int calls) {
    for (int i = 0; i < calls; ++i) {
        if (__atomic_load_n(&g_level, __ATOMIC_RELAXED) <= 0)
            Line("message %d from %s took %.3f ms", i, kSender, ValueOf(i));
        NextTurn();
    }
}

void Close() {
    pthread_mutex_lock(&g_mutex);
    WriteOut();
    close(g_fd);
    g_fd = -1;
    pthread_mutex_unlock(&g_mutex);
}

}  // namespace

const Contender kFloor = {"floor", Open, Log, LogDisabled, Close};
