// Our library as an application uses it: the level macros of qdlog.h, screen and
// debugger output off, every other setting at its default.
#include "contender.h"
#include "qdlog.h"

namespace {

void Open(const std::string& dir, const char*) {
    QDLogSetDir((dir + "/").c_str());
    QDLogScreen(0);
    QDLogOutputToDebuger(0);
    uint32_t* mask = GetQDLogMaskPtr();
    __atomic_store_n(mask, __atomic_load_n(mask, __ATOMIC_RELAXED) & ~QDLOG_MASK_DEBUG,
                     __ATOMIC_RELAXED);
}

void Log(int index) {
    QDLOG_INFO("message %d from %s took %.3f ms", index, kSender, ValueOf(index));
}

void LogDisabled(int calls) {
    for (int i = 0; i < calls; ++i) {
        QDLOG_DEBUG("message %d from %s took %.3f ms", i, kSender, ValueOf(i));
        NextTurn();
    }
}

// The library closes its file, and so flushes it, when the process ends.
void Close() {}

}  // namespace

const Contender kQDLog = {"qdlog", Open, Log, LogDisabled, Close};
