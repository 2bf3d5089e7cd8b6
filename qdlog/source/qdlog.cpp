// The 36 exports. Each reaches the singleton through GetLogContext(), except
// GetModuleTagInfo, QDLogGetDir, QDLogSetDir and a title call refused for its
// arguments. Setters marked gated do nothing while canModifyConfig_ is 0 (a
// qdlog.ini rules); the plain words are read and written without a lock.
#include "qdlog.h"

#include <algorithm>
#include <cstring>

#include "buildtag.h"
#include "eventroad.h"
#include "logconfig.h"
#include "logdir.h"
#include "qdr/platform/os.h"

namespace {

bool IsEventType(int type) {
    return type >= 0 && type < kEventTypes;
}

typedef Relaxed<int32_t> LogContext::*Setting;

// A gated setter: ignored while a qdlog.ini rules.
void SetGated(Setting setting, int value) {
    LogContext& log = GetLogContext();
    if (log.canModifyConfig_) log.*setting = value;
}

int Get(Setting setting) {
    return GetLogContext().*setting;
}

// Whether a configuration pass may be due, asked without lock_ and on the coarse
// clock, which is behind the tick by at most its lag: a "no" is certain, and a
// "maybe" goes on to ReadConfig, which decides under lock_ on the tick itself. In
// the few milliseconds after a pass the coarse clock may stand behind the pass's
// tick; the difference then wraps, and the answer is "maybe" too. An engine that has
// ended answers "maybe", so that ReadConfig's lock reports it, as every call did. It
// is told by the gate, which is 0 or 1 while the engine lives and 0xCDCDCDCD in the
// filled object: a word of the settings' cache line, which events only read, where
// the lock's magic sits on the line that the other thread's events keep taking.
bool ConfigPassMayBeDue(const LogContext& log) {
    static const uint32_t lag = std::min(os::CoarseTickLag(), 500u);
    return os::CoarseTickCount() - log.lastReadConfigTick_ >= 500u - lag ||
           static_cast<uint32_t>(static_cast<int32_t>(log.canModifyConfig_)) > 1;
}

}  // namespace

extern "C" {

void QDLogEventX(int type, const char* fmt, va_list args) {
    LogEventV(type, fmt, args);
}

// Not a copy: the same routine under a second name.
void QDLogEventX_A(int type, const char* fmt, va_list args) __attribute__((alias("QDLogEventX")));

void QDLogEventX_W(int type, const char16_t* fmt, va_list args) {
    LogEventV(type, fmt, args);
}

// The common path takes neither lock_ nor the precise clock: 10 ns instead of 31
// (bench/qdlog_bench, BM_MaskPointer), which every enabled event pays.
uint32_t* GetQDLogMaskPtr(void) {
    LogContext& log = GetLogContext();
    if (ConfigPassMayBeDue(log)) ReadConfig(log);
    return &log.logMask_;
}

int QDLogCanConfig(void) {
    return Get(&LogContext::canModifyConfig_);
}

int QDLogSetDir(const char* dir) {
    return SetLogDirectory(dir);
}

const char* QDLogGetDir(void) {
    return ShownLogDirectory();
}

const char* QDLogGetFileName(void) {
    return GetLogContext().logFile_.ShownName();
}

void QDLogFlushFile(void) {
    FlushLogFile(GetLogContext());
}

void QDLogSetFlushLines(int lines) {
    SetGated(&LogContext::flushLines_, std::max(lines, 1));
}

int QDLogGetFlushLines(void) {
    return Get(&LogContext::flushLines_);
}

void QDLogSetFileSizeLimit(int bytes) {
    SetGated(&LogContext::switchBytes_, std::clamp(bytes, 16384, 0x800000));
}

int QDLogGetFileSizeLimit(void) {
    return Get(&LogContext::switchBytes_);
}

void QDLogScreen(int on) {
    SetGated(&LogContext::toScreen_, on);
}

int QDLogGetScreen(void) {
    return Get(&LogContext::toScreen_);
}

void QDLogToFile(int on) {
    SetGated(&LogContext::toFile_, on);
}

int QDLogGetToFile(void) {
    return Get(&LogContext::toFile_);
}

void QDLogOutputToDebuger(int on) {
    SetGated(&LogContext::toDebuger_, on);
}

int QDLogIsOutputDebuger(void) {
    return Get(&LogContext::toDebuger_);
}

void QDLogSetLife(int days) {
    QDLogSetLife2(std::clamp(days, 0, 365) * 86400);
}

int QDLogGetLife(void) {
    return Get(&LogContext::holdSeconds_) / 86400;
}

void QDLogSetLife2(int seconds) {
    SetGated(&LogContext::holdSeconds_, std::max(seconds, 0));
}

int QDLogGetLife2(void) {
    return Get(&LogContext::holdSeconds_);
}

// The memory reserve is taken as given; the disk reserve is at least 2 MB.
//   (1, 0) -> 2 MB of disk;  (1, 1) -> 1 MB of memory;  (5, 7) -> 5 MB of memory
void QDLogSetReserve(int mbytes, int isMemory) {
    LogContext& log = GetLogContext();
    if (!log.canModifyConfig_) return;
    const int memory = std::clamp(isMemory, 0, 1);
    log.reserveIsMemory_ = memory;
    log.reserveMBytes_ = memory == 1 ? mbytes : std::max(mbytes, 2);
}

int QDLogGetReserve(int* isMemory) {
    LogContext& log = GetLogContext();
    if (isMemory) *isMemory = log.reserveIsMemory_;
    return log.reserveMBytes_;
}

void QDLogSetMaxFileNum(int count) {
    SetGated(&LogContext::maxFileNum_, count);
}

int QDLogGetMaxFileNum(void) {
    return Get(&LogContext::maxFileNum_);
}

// The count starts again when the column is switched on.
void QDLogSetPrintCpuCycle(int on) {
    LogContext& log = GetLogContext();
    log.printCpuCycle_ = on;
    if (on) log.lastCpuCycle_ = ReadCpuCycle();
}

int QDLogIsPrintCpuCycle(void) {
    return Get(&LogContext::printCpuCycle_);
}

void QDLogSetPrintMSEL(int on) {
    GetLogContext().printMSEL_ = on;
}

int QDLogIsPrintMSEL(void) {
    return Get(&LogContext::printMSEL_);
}

// Copied without a lock: a line written meanwhile may show a half-written title.
void QDLogSetEventTitle(int type, const char* title) {
    if (!IsEventType(type) || !title) return;
    size_t length = 0;
    while (length < kTitleChars && title[length]) ++length;
    if (length >= kTitleChars) return;
    memcpy(GetLogContext().titles_[type], title, length + 1);
}

const char* QDLogGetEventTitle(int type) {
    if (!IsEventType(type)) return "";
    return GetLogContext().titles_[type];
}

int QDLogAddCallback(QDLogCallback callback, void* userData) {
    return AddLogCallback(GetLogContext(), callback, userData);
}

int QDLogRemoveCallback(void* userData) {
    return RemoveLogCallback(GetLogContext(), userData);
}

const char* GetModuleTagInfo(void) {
    return ModuleTagInfo();
}

}  // extern "C"
