// The list of old log files: the sweep at start-up and the deletion rules.
#include "logfilelist.h"

LogContext::LogFileList::~LogFileList() {
    // A sweep still running in its worker is told to stop and waited for.
    if (initThread) {
        QDR_CHECK(!exitFlag);
        exitFlag = 1;
        OSWaitThread(initThread);
        initThread = 0;
    }
}

// No list is kept yet, so there is nothing to sweep: the first view of the
// directory is complete at once.
bool SweepLogDirectory(LogContext& /*log*/) {
    return true;
}

// No list, no deletion: the age, reserve and file count rules come with retention,
// and wait for initFinished.
void CleanLogFiles(LogContext& /*log*/, MSEL /*now*/, uint32_t /*tick*/) {}
