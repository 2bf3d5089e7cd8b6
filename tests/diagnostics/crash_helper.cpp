// The crashing child of the crash handler's test: logs a line into the directory
// it is given, installs the handler and writes through a null pointer.
#include <cstdarg>

#include "diagnostics/stacktext.h"
#include "qdlog.h"

namespace {

void Log(int type, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    QDLogEventX(type, fmt, args);
    va_end(args);
}

// The sanitizers would stop at the null store first; the fault is the point.
__attribute__((noinline, no_sanitize("undefined"))) void CrashesHere() {
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    QDLogScreen(0);
    QDLogSetDir(argv[1]);
    QDLogSetFlushLines(1);  // a line still in the stream's buffer dies with the process
    Log(0, "before the crash");
    qdr_InstallCrashHandler();
    CrashesHere();
    return 0;
}
