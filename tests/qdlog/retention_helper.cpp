// A process that ends while the log directory's worker still sweeps, for the
// worker tests: it builds the engine on DIR, says whether the sweep goes on
// ("sweeping 1") and returns from main. Its first atexit routine runs after the
// engine's destructor and tells how many checks failed ("ended, reports 0").
//
//   retention_helper DIR
#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "logcontext.h"

namespace {

std::atomic<int> g_reports{0};

int CountReport(const qdr_AssertReport*) {
    ++g_reports;
    return QDR_IDIGNORE;
}

void SayEnded() {
    std::printf("ended, reports %d\n", g_reports.load());
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    qdr_SetAssertReportHandler(CountReport);
    atexit(SayEnded);
    if (!QDLogSetDir(argv[1])) return 2;
    const LogContext& log = GetLogContext();
    std::printf("sweeping %d\n", log.logFileList_.initFinished ? 0 : 1);
    std::fflush(stdout);
    return 0;
}
