// The crashing child of the crash handler's test: logs a line into the directory
// it is given, installs the handler and writes through a null pointer, either in
// plain code or, with "in-callback", inside a log callback, where the thread holds
// the engine's lock. An alarm ends a child whose handler hangs.
#include <unistd.h>

#include <cstring>

#include "diagnostics/stacktext.h"
#include "qdlog.h"

namespace {

// The sanitizers would stop at the null store first; the fault is the point.
__attribute__((noinline, no_sanitize("undefined"))) void CrashesHere() {
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

void CrashingCallback(void*, int, const char*, int, const char*, int) {
    CrashesHere();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    alarm(20);
    QDLogScreen(0);
    QDLogSetDir(argv[1]);
    QDLogSetFlushLines(1);  // a line still in the stream's buffer dies with the process
    QDLogEvent(0, "before the crash");
    qdr_InstallCrashHandler();
    if (argc > 2 && strcmp(argv[2], "in-callback") == 0) {
        QDLogAddCallback(CrashingCallback, nullptr);
        QDLogEvent(0, "into the callback");
    }
    CrashesHere();
    return 0;
}
