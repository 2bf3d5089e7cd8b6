// The operating-system layer of the runtime: every call into Linux that the qdr
// primitives and the assertion report need goes through here, named by what it does.
// Nothing else in qdr includes a POSIX header; the callers read like the steps of
// their routines and this file says how each step is done on this platform.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <time.h>

namespace os {

// ---- threads ---------------------------------------------------------------

// Kernel thread id of the caller (gettid), cached per thread and reset in a
// forked child. Inline, since the engine asks five times per event: only a
// thread's first call makes the system call. The variable keeps the default TLS
// model, so that a library loaded late with dlopen (or several copies of it) finds
// room for it; on x86-64 the build uses TLS descriptors (-mtls-dialect=gnu2), whose
// lookup of an already allocated block costs a few instructions.
extern __thread uint32_t t_knownThreadId;
uint32_t QueryCurrentThreadId();
inline uint32_t CurrentThreadId() {
    const uint32_t id = t_knownThreadId;
    return id ? id : QueryCurrentThreadId();
}
uint32_t CurrentProcessId();

// Sleep(ms): 0 gives up the rest of the time slice.
void SleepMs(unsigned milliseconds);

// Starts a joinable thread with exactly `stackBytes` of stack. `handle` receives an
// opaque non-zero value, `tid` (may be null) the new thread's kernel id. The thread
// runs at once. Returns false when no thread came up.
bool StartThread(uintptr_t* handle, uint32_t* tid, unsigned (*routine)(void*), void* arg,
                 size_t stackBytes);
// Waits for the thread without limit and releases its handle; false if the join failed.
bool JoinThread(uintptr_t handle);

// ---- the lock inside OSMutex -----------------------------------------------

// An adaptive pthread mutex, embedded by value in its owner. It is not recursive:
// OSMutex counts the levels of its owner itself. Its own size (40 bytes on x86-64
// and aarch64) lets a whole OSMutex fit one cache line, so that a lock handed from
// one thread to the other moves one line, not two.
struct CriticalSection {
    pthread_mutex_t mutex;
};
void CriticalSectionInit(CriticalSection* cs, unsigned spinCount);
void CriticalSectionDelete(CriticalSection* cs);
// Inline: every event enters and leaves once, and a call each way was a tenth of
// the lock's own cost.
inline void CriticalSectionEnter(CriticalSection* cs) {
    pthread_mutex_lock(&cs->mutex);
}
inline void CriticalSectionLeave(CriticalSection* cs) {
    pthread_mutex_unlock(&cs->mutex);
}

// ---- clocks ----------------------------------------------------------------

constexpr int64_t kFileTimeOfUnixEpoch = 116444736000000000LL;  // 1601 to 1970
// CLOCK_REALTIME: seconds since 1970 and the nanoseconds of the second.
struct RealTimeReading {
    int64_t seconds;
    int64_t nanoseconds;
};
// Inline: every event reads it once under the engine's lock.
inline RealTimeReading RealTimeNow() {
    timespec ts;
    clock_gettime(CLOCK_REALTIME, &ts);
    return {static_cast<int64_t>(ts.tv_sec), static_cast<int64_t>(ts.tv_nsec)};
}
inline int64_t FileTimeOf(RealTimeReading t) {
    return kFileTimeOfUnixEpoch + t.seconds * 10000000LL + t.nanoseconds / 100;
}
// CLOCK_REALTIME as 100-nanosecond units since 1601-01-01 UTC (a Windows file time).
inline int64_t SystemTimeAsFileTime() {
    return FileTimeOf(RealTimeNow());
}
// QDR_TICK_OFFSET as a number (0 when unset), read from the environment once.
uint32_t ReadTickOffset();
inline uint32_t TickOffset() {
    static const uint32_t offset = ReadTickOffset();
    return offset;
}
// Milliseconds of a monotonic clock cut to 32 bits, plus TickOffset().
inline uint32_t TickOf(clockid_t clock) {
    timespec ts;
    clock_gettime(clock, &ts);
    const uint64_t ms =
        static_cast<uint64_t>(ts.tv_sec) * 1000u + static_cast<uint64_t>(ts.tv_nsec) / 1000000u;
    return static_cast<uint32_t>(ms) + TickOffset();
}
// CLOCK_MONOTONIC in milliseconds cut to 32 bits, plus QDR_TICK_OFFSET.
uint32_t TickCount();
// CLOCK_MONOTONIC_COARSE in the units of TickCount, with the same offset: a quarter
// of its cost, and never ahead of it. It moves at the kernel's clock tick, so it is
// behind TickCount by at most CoarseTickLag() milliseconds. Inline: every enabled
// event asks it in GetQDLogMaskPtr.
inline uint32_t CoarseTickCount() {
    return TickOf(CLOCK_MONOTONIC_COARSE);
}
// Twice the coarse clock's resolution plus a millisecond (9 ms at 250 Hz).
uint32_t CoarseTickLag();
// Broken-down time of `seconds` since 1970; false if the C library refused.
bool LocalTime(int64_t seconds, std::tm* out);
bool UtcTime(int64_t seconds, std::tm* out);
// mktime: the fields read as local time (tm_isdst -1 lets the zone decide), in
// seconds since 1970; -1 when the C library refused them.
int64_t MakeLocalTime(std::tm* fields);
// The zone's standard offset in minutes west of UTC (the C library's `timezone`
// after tzset, which is what TZ names); daylight saving is not part of it.
//   TZ=Asia/Shanghai -> -480, TZ=America/New_York -> 300 in winter and summer alike
int StandardZoneMinutesWest();

// ---- process and thread start instants -------------------------------------

// When process `pid` (0: this one) started, in milliseconds since 1970 UTC: its
// start tick in /proc/<pid>/stat on top of the boot time (btime of /proc/stat), so
// the value is the same on every call and in every process, with the 10 ms
// resolution of the clock tick. A stepped wall clock moves btime and so the value.
// With `mustBeRunning` a zombie counts as gone. False when there is no such process.
bool ProcessStartMs(uint32_t pid, bool mustBeRunning, int64_t* ms);
// The same for a thread by kernel id (0: the calling thread).
bool ThreadStartMs(uint32_t tid, int64_t* ms);

// ---- processor -------------------------------------------------------------

// Clock rate of the first processor in MHz, rounded: "cpu MHz" of /proc/cpuinfo,
// else cpuinfo_max_freq of cpu0 in sysfs (processors that do not list it). On
// failure `error` receives a short reason, cut to `errorCap`.
bool CpuMegahertz(uint32_t* mhz, char* error, int errorCap);

// ---- scheduling priority ---------------------------------------------------

// The nice value of thread `tid` (kernel id), -20..19; Linux keeps it per thread.
bool GetThreadNice(uint32_t tid, int* nice);
// False when refused: a lower nice value needs privilege (or RLIMIT_NICE).
bool SetThreadNice(uint32_t tid, int nice);

// ---- memory ----------------------------------------------------------------

// Physical memory that new work can take without swapping: MemAvailable of
// /proc/meminfo, in bytes (64-bit). 0 when it cannot be read.
uint64_t AvailablePhysicalMemory();

// ---- text conversion -------------------------------------------------------

// The platform's MultiByteToWideChar / WideCharToMultiByte for code pages 0 and
// 65001, which are both UTF-8 here. A negative `srcLen` converts up to and including
// the terminator (which is counted in the result). With a null `dst` or a capacity
// of 0 the result is the number of units needed. Otherwise the result is the number
// of units written, or 0 when they do not fit (what was written is then undefined).
// Invalid UTF-8 and unpaired surrogates become U+FFFD, as the platform does without
// its strict flag.
//   Utf8ToUtf16("\xE4\xB8\xAD", 3, buf, 8) -> 1, buf[0] = 0x4E2D
//   Utf16ToUtf8(u"\xD800", 1, buf, 8)        -> 3, EF BF BD
int Utf8ToUtf16(const char* src, int srcLen, char16_t* dst, int dstCap);
int Utf16ToUtf8(const char16_t* src, int srcLen, char* dst, int dstCap);

// ---- process identity and environment --------------------------------------

// Path of the running executable (/proc/self/exe); 0 on failure, else its length.
int ProgramPath(char* buffer, int capacity);
// Path of the loaded object that holds `address` (dladdr); 0 on failure.
int ModulePathOf(const void* address, char* buffer, int capacity);
// The address of the ELF header of the loaded object that holds `address`: the
// module handle here. 0 when no object holds it.
uintptr_t ModuleBaseOf(const void* address);
// A symbol of the loaded object whose handle is `base`; null when it has none.
void* ModuleSymbol(uintptr_t base, const char* name);
// The handle of a loaded object named by its path or file name (case ignored); 0
// when none is loaded.
uintptr_t LoadedModuleBase(const char* name);
// LoadLibrary: opens a shared object by path or by name on the loader's search path
// and returns its module handle, 0 on failure. `*reference` receives what
// UnloadModule takes to drop this load again.
uintptr_t LoadModule(const char* name, void** reference);
void UnloadModule(void* reference);
// Calls `each` with the path of every file that process `pid` (0: this one) maps
// executable, once per file, in address order. False when the list cannot be read.
bool EachMappedModule(uint32_t pid, void (*each)(void* param, const char* path), void* param);
// The program's arguments from index 1 on, each preceded by one blank, cut to fit.
void JoinedArguments(char* buffer, int capacity);
// getenv; null when unset.
const char* GetEnv(const char* name);
// Whether the process acts as root (its effective user).
bool IsRootUser();

// The thread's last-error value, which is errno here.
int GetLastError();
void SetLastError(int value);

// Files and directories are in os_files.h.

// ---- the debugger channel (OutputDebugString) -------------------------------

// Hands a text to whatever plays the debugger here. QDLOG_DEBUG_OUTPUT=syslog: to
// syslog(3) at LOG_DEBUG, one record per line; =stderr: to standard error as it
// stands; otherwise to standard error only while a debugger is attached, else
// nowhere. The wide form converts to UTF-8 first.
void OutputDebugText(const char* text);
void OutputDebugTextW(const char16_t* text);
// Whether a tracer is attached (TracerPid of /proc/self/status), looked at no more
// than once a second.
bool IsDebuggerAttached();

// ---- the report box --------------------------------------------------------

void WriteStderr(const char* text, size_t length);
bool StdinAndStderrAreTerminals();
// Asks on /dev/tty until one of a, r, i (any case) is typed; returns that letter in
// lower case, or 0 when the terminal cannot be read.
char AskTerminal(const char* prompt);
// Ends the process at once: no unwinding, no atexit, no flushing.
[[noreturn]] void ExitImmediately(int status);

}  // namespace os

// The trap instruction, executed inline at the site of a failed check so that a
// debugger stops in the failing function.
#if defined(__x86_64__) || defined(__i386__)
#define QDR_DEBUG_BREAK() __asm__ volatile("int3")
#elif defined(__aarch64__)
#define QDR_DEBUG_BREAK() __asm__ volatile("brk #0xf000")
#else
#define QDR_DEBUG_BREAK() __builtin_trap()
#endif
