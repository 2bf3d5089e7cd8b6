// The debugger channel: what OutputDebugString is on this platform.
#include "os.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <vector>

namespace os {

namespace {

enum class DebugTarget { kNowhere, kStderr, kSyslog };

// QDLOG_DEBUG_OUTPUT is read at every call, so that it can be switched while the
// process runs; it costs a scan of the environment and no allocation.
DebugTarget ChosenTarget() {
    const char* choice = getenv("QDLOG_DEBUG_OUTPUT");
    if (choice && strcmp(choice, "syslog") == 0) return DebugTarget::kSyslog;
    if (choice && strcmp(choice, "stderr") == 0) return DebugTarget::kStderr;
    return IsDebuggerAttached() ? DebugTarget::kStderr : DebugTarget::kNowhere;
}

// Reads TracerPid with open and read, not stdio: the event road must not allocate.
bool ReadTracerAttached() {
    int fd = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    char text[4096];
    ssize_t n = read(fd, text, sizeof(text) - 1);
    close(fd);
    if (n <= 0) return false;
    text[n] = 0;
    const char* field = strstr(text, "TracerPid:");
    if (!field) return false;
    field += strlen("TracerPid:");
    while (*field == ' ' || *field == '\t') ++field;
    return *field >= '1' && *field <= '9';
}

// The debugger reads texts as a stream and shows a line when it ends; syslog keeps
// records. So the texts of one thread are gathered up to each LF, and a line
// becomes one record: "12:00|信息:" then "lost\n" -> one record "12:00|信息:lost".
// A line longer than the buffer is sent in pieces.
void SendToSyslog(const char* text) {
    thread_local char pending[1024];
    thread_local size_t used = 0;
    for (const char* p = text; *p; ++p) {
        const bool lineEnd = *p == '\n';
        if (!lineEnd) pending[used++] = *p;
        if ((lineEnd && used > 0) || used == sizeof(pending) - 1) {
            pending[used] = 0;
            syslog(LOG_DEBUG, "%s", pending);
            used = 0;
        }
    }
}

void Send(DebugTarget target, const char* text) {
    if (target == DebugTarget::kSyslog)
        SendToSyslog(text);
    else if (target == DebugTarget::kStderr)
        WriteStderr(text, strlen(text));
}

}  // namespace

bool IsDebuggerAttached() {
    static std::atomic<bool> looked{false};
    static std::atomic<uint32_t> lookedAt{0};
    static std::atomic<bool> attached{false};
    const uint32_t now = TickCount();
    if (!looked.load(std::memory_order_relaxed) ||
        now - lookedAt.load(std::memory_order_relaxed) >= 1000u) {
        attached.store(ReadTracerAttached(), std::memory_order_relaxed);
        lookedAt.store(now, std::memory_order_relaxed);
        looked.store(true, std::memory_order_relaxed);
    }
    return attached.load(std::memory_order_relaxed);
}

void OutputDebugText(const char* text) {
    if (!text || !text[0]) return;
    Send(ChosenTarget(), text);
}

void OutputDebugTextW(const char16_t* text) {
    if (!text || !text[0]) return;
    const DebugTarget target = ChosenTarget();
    if (target == DebugTarget::kNowhere) return;
    char inlineRoom[1024];
    std::vector<char> heapRoom;
    char* narrow = inlineRoom;
    const int needed = Utf16ToUtf8(text, -1, nullptr, 0);
    if (needed > static_cast<int>(sizeof(inlineRoom))) {
        heapRoom.resize(static_cast<size_t>(needed));
        narrow = heapRoom.data();
    }
    if (Utf16ToUtf8(text, -1, narrow, needed) != needed) return;
    Send(target, narrow);
}

}  // namespace os
