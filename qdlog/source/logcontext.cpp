// The singleton: its construction, its end in the atexit chain, and the lock guard
// that the rest of the engine takes.
#include "logcontext.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "logconfig.h"
#include "logfilelist.h"
#include "moduleinfo.h"
#include "qdr/qdatomic.h"
#include "qdr/qdfill.h"

namespace {

// The six titles with words; every other row shows its number ("0007").
struct TitleWord {
    int type;
    const char* title;
};
const TitleWord kTitleWords[] = {
    {0, "信息"}, {1, "警告"}, {2, "错误"}, {3, "调试"}, {20, "内部"}, {25, "事件"},
};

alignas(LogContext) unsigned char g_logStorage[sizeof(LogContext)];

// The key of the logger's flag, formatted into `out` (the member it is kept in).
const char* LoggerFlagName(char out[16]) {
    FormatLoggerFlagName(GetThisModuleDir(), out);
    return out;
}

// Runs under the singleton's spin lock, once.
LogContext* BuildLogContext() {
    LogContext* logObjPtr = new (g_logStorage) LogContext;
    atexit(DestroyLogContext);
    // Published before the configuration pass and the sweep: both call back into
    // the getter, as may other threads, and all of them must find the object now.
    g_logContext.Publish(logObjPtr);
    LogContext& logObj = *logObjPtr;
    QDR_CHECK(logObj.canModifyConfig_);
    ReadConfig(logObj);
    if (SweepLogDirectory(logObj)) logObj.logFileList_.initFinished = 1;
    return logObjPtr;
}

}  // namespace

LogContext::LogContext()
    : canModifyConfig_(1),
      firstReadConfig_(1),
      lastReadConfigTick_(GetTickCount() - 500),
      readingConfig_(0),
      logMask_(0xFFFFFFFF),
      flushLines_(50),
      switchBytes_(0x80000),
      toScreen_(1),
      toFile_(1),
      printCpuCycle_(0),
      lastCpuCycle_(ReadCpuCycle()),
      printMSEL_(1),
      holdSeconds_(259200),
      reserveMBytes_(512),
      reserveIsMemory_(0),
      maxFileNum_(0),
      toDebuger_(1),
      puf_(LoggerFlagName(pufName_)) {
    // A second copy of the library from the same directory in this process; if the
    // user lets it pass, the two copies log side by side.
    QDR_CHECK_MSG(puf_.IsCreatedBy(), "相同目录的模块重复构造LogContext单件: %s", GetThisModuleDir());

    for (int type = 0; type < kEventTypes; ++type)
        snprintf(titles_[type], kTitleChars, "%04d", type);
    for (const TitleWord& word : kTitleWords)
        snprintf(titles_[word.type], kTitleChars, "%s", word.title);
    titleSeparator_ = ':';
    NoteEventMSEL(*this, 0, true);
    eventTick_ = 0;
    // 120 s in the past: the first run of each deletion rule is due at once.
    const uint32_t tick = GetTickCount();
    lastHoldCheckTick_ = tick - 120000;
    lastReserveCheckTick_ = tick - 120000;
    lastFileNumCheckTick_ = tick - 120000;
}

// The members go in reverse order: the flag is released, the file is closed (which flushes it), a
// running sweep is stopped and waited for, the callbacks go, and last the lock,
// which must be free.
LogContext::~LogContext() {}

LazyGlobal<LogContext> g_logContext;

LogContext& BuildOrGetLogContext() {
    return *g_logContext.Get(BuildLogContext);
}

// The static pointer is not cleared: later calls find the filled object.
void DestroyLogContext() {
    LogContext* log = g_logContext.Peek();
    if (!log) return;
    log->~LogContext();
    FillDestroyed(log, sizeof(*log));
}

void FormatLoggerFlagName(const char* dir, char out[16]) {
    uint32_t h = 0;
    for (const char* p = dir; *p; ++p) {
        h = h * 16 + static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(*p)));
        const uint32_t g = h & 0xF0000000u;
        if (g) h = (h & ~0xF0000000u) ^ (g >> 24);
    }
    snprintf(out, 16, "%08X", h & 0x7FFFFFFFu);
}
