// LogContext: the one object behind the 36 exports. It is built on the first
// export that needs it and destroyed in the library's atexit chain; it holds every
// setting, the callback map, the open log file and the engine's one lock.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "eventhead.h"
#include "logfile.h"
#include "processflag.h"
#include "qd_allocator.h"
#include "qdlog.h"
#include "qdr/qdatomic.h"
#include "qdr/qdmsel.h"
#include "qdr/qdsync.h"
#include "qdr/qdthread.h"

constexpr int kEventTypes = 32;
constexpr int kRawEventType = 31;

// A word that setters and getters touch without a lock while events read it:
// relaxed atomic loads and stores, which cost what plain ones do on x86-64 and aarch64 Linux.
template <class T>
class Relaxed {
public:
    Relaxed(T value = T()) : value_(value) {}
    Relaxed& operator=(T value) {
        value_.store(value, std::memory_order_relaxed);
        return *this;
    }
    Relaxed& operator=(const Relaxed& other) { return *this = T(other); }
    operator T() const { return value_.load(std::memory_order_relaxed); }

private:
    std::atomic<T> value_;
};

// The callbacks by user data, in the numeric order of the pointers. Nodes come
// from the map's own pool: 48 bytes each on 64-bit Linux (24 on the 32-bit build
// the pool was first sized for).
typedef WrapperAllocator<BlockAllocator<48, 1, sys_allocator_traits, 4096>> CallbackPool;
typedef std::map<void*, QDLogCallback, QDLess_<void*>,
                 qd_allocator<std::pair<void* const, QDLogCallback>, CallbackPool>>
    CallbackMap;

// The full paths of closed log files in plain byte order, which within one
// directory is the order of birth. Nodes come from the set's own pool: 64 bytes each
// on 64-bit Linux (48 on a 32-bit build).
typedef WrapperAllocator<BlockAllocator<64, 1, sys_allocator_traits, 4096>> LogPathPool;
typedef std::set<std::string, QDLess_<std::string>, qd_allocator<std::string, LogPathPool>>
    LogPathSet;

class LogContext {
public:
    // The closed log files of the directory, filled by the first sweep (and its
    // worker, for a directory of 5000 files or more) and by every switch; the
    // deletion rules of logfilelist.h take them from the oldest end.
    struct LogFileList {
        LogFileList() = default;
        ~LogFileList() { StopWorker(); }
        LogFileList(const LogFileList&) = delete;
        LogFileList& operator=(const LogFileList&) = delete;

        // Tells a worker that still sweeps to stop (exitFlag, which must be 0 until
        // then), waits for it and forgets its handle. Nothing when none was started.
        void StopWorker();

        // The worker's routine: sweeps the log directory again from the start,
        // then sets initFinished, also when exitFlag stopped it. `param` is unused.
        static unsigned InitWoker(void* param);

        // Adds a closed file's full path; true when it was not listed yet (the
        // caller then adds its size to totalLogBytes). The writer lists the file it
        // gives up, the sweeps what they find.
        bool List(const char* path) { return listSet.insert(path).second; }

        OSThread initThread = 0;
        OSThreadID initThreadID = 0;
        Relaxed<int32_t> exitFlag{0};
        LogPathSet listSet;
        int64_t totalLogBytes = 0;
        Relaxed<int32_t> initFinished{0};
    };

    LogContext();
    ~LogContext();
    LogContext(const LogContext&) = delete;
    LogContext& operator=(const LogContext&) = delete;

    // The fields keep their designed names and order, which the reports quote
    // ("log.logFileList_.totalLogBytes >= sz"). Who writes which, after the
    // constructor; everyone else only reads:
    // - the setters of qdlog.cpp: the switches and limits (flushLines_ to
    //   toDebuger_, titles_), also on behalf of the configuration pass;
    // - the configuration pass, logconfig.cpp: canModifyConfig_, firstReadConfig_,
    //   lastReadConfigTick_, readingConfig_, and logMask_ through its pointer;
    // - the event road, eventroad.cpp: lastCpuCycle_ (also its setter),
    //   lastEventMSEL_, eventTick_, headClock_; logoutputs.cpp: callbackMap_;
    // - the log file writer, logfile.cpp: logFile_, and the writer's side of
    //   logFileList_ (the file it gives up, through LogFileList::List, and the old
    //   file it continues);
    // - the sweeps and rules, logfilelist.cpp: logFileList_ and the three check
    //   ticks. The rules ask the writer only whether a path is the open file.
    //
    // Three groups start on cache lines of their own: the lock, which every event
    // writes; the settings, which every event reads before it takes the lock; and
    // what the event road writes under the lock. A thread that formats its message
    // then never waits for a line that the other thread's lock or writes took away.
    alignas(64) Mutex lock_{0};
    alignas(64) Relaxed<int32_t> canModifyConfig_;
    Relaxed<int32_t> firstReadConfig_;
    // Read without the lock by GetQDLogMaskPtr's test whether a pass may be due.
    Relaxed<uint32_t> lastReadConfigTick_;
    int32_t readingConfig_;
    // Plain, since the application reads it through GetQDLogMaskPtr; the engine
    // stores it with one atomic store.
    uint32_t logMask_;
    Relaxed<int32_t> flushLines_;
    Relaxed<int32_t> switchBytes_;
    Relaxed<int32_t> toScreen_;
    Relaxed<int32_t> toFile_;
    Relaxed<int32_t> printCpuCycle_;
    Relaxed<uint64_t> lastCpuCycle_;
    Relaxed<int32_t> printMSEL_;
    Relaxed<int32_t> holdSeconds_;
    CallbackMap callbackMap_;
    char titles_[kEventTypes][kTitleChars];
    uint32_t titleSeparator_;
    Relaxed<int32_t> reserveMBytes_;
    Relaxed<int32_t> reserveIsMemory_;
    Relaxed<int32_t> maxFileNum_;
    Relaxed<int32_t> toDebuger_;
    alignas(64) MSEL lastEventMSEL_;
    // The MSELs of lastEventMSEL_'s whole second (the same value / 1000): from
    // lastSecondFrom_, lastSecondSpan_ of them. The road's test for a new second is
    // then a subtraction and a compare where two divisions were; NoteEventMSEL.
    MSEL lastSecondFrom_;
    uint64_t lastSecondSpan_;
    // The tick of the event road's events, read at the first event of each second
    // (the deletion rules count minutes); eventroad.cpp.
    uint32_t eventTick_;
    uint32_t lastHoldCheckTick_;
    uint32_t lastReserveCheckTick_;
    uint32_t lastFileNumCheckTick_;
    LogFileList logFileList_;
    LogFile logFile_;
    // The hash of this module's directory: the key of puf_.
    char pufName_[16];
    // The time column of the current second, under lock_.
    HeadClock headClock_;
    // Marks this directory's logger as taken in the process. Last, so that the
    // destructor releases it first.
    ProcessUniqueFlag puf_;
};

// lastEventMSEL_ = now, and its second's range when `newSecond`. The division
// cuts toward zero, so second 0 spans -999 .. 999, a negative second ends at its
// whole thousand, and the range stops at the ends of MSEL.
inline void NoteEventMSEL(LogContext& log, MSEL now, bool newSecond) {
    log.lastEventMSEL_ = now;
    if (!newSecond) return;
    const MSEL second = now / 1000;
    const MSEL edge = second * 1000;
    const MSEL low = second > 0 ? edge : edge < INT64_MIN + 999 ? INT64_MIN : edge - 999;
    const MSEL high = second < 0 ? edge : edge > INT64_MAX - 999 ? INT64_MAX : edge + 999;
    log.lastSecondFrom_ = low;
    log.lastSecondSpan_ = static_cast<uint64_t>(high) - static_cast<uint64_t>(low) + 1;
}

// Whether `now` / 1000 differs from lastEventMSEL_ / 1000.
inline bool IsNewEventSecond(const LogContext& log, MSEL now) {
    return static_cast<uint64_t>(now) - static_cast<uint64_t>(log.lastSecondFrom_) >=
           log.lastSecondSpan_;
}

// The singleton, built on first use. The common path is one pointer test, inline:
// every event and every GetQDLogMaskPtr asks for it.
extern LazyGlobal<LogContext> g_logContext;
LogContext& BuildOrGetLogContext();
inline LogContext& GetLogContext() {
    LogContext* const log = g_logContext.Peek();
    return log ? *log : BuildOrGetLogContext();
}
// The atexit routine: destroys the singleton and fills it with 0xCD, so that a
// later event fails the lock's check ("Invalid mutex object!!!") and is dropped.
void DestroyLogContext();

// lock_ as a scope guard that survives the engine's end: on a destroyed context
// the lock's check is reported and Held() is false; nothing else is touched.
class LogLock {
public:
    explicit LogLock(LogContext& log)
        : lock_(log.lock_.Raw()), self_(OSThreadSelf()), held_(OSMutexEnter(&lock_, self_)) {}
    ~LogLock() {
        if (held_) OSMutexLeave(&lock_, self_);
    }
    LogLock(const LogLock&) = delete;
    LogLock& operator=(const LogLock&) = delete;
    bool Held() const { return held_; }

private:
    OSMutex& lock_;
    const OSThreadID self_;
    const bool held_;
};

// The name of the process-unique flag of a directory: the ELF string hash of its
// bytes, taken as signed char, written with "%08X".
//   "" -> "00000000";  "abc" -> "00006783";  "/usr/lib/" -> "0A56198F"
void FormatLoggerFlagName(const char* dir, char out[16]);
