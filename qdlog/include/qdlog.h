/* qdlog: the process-wide logging library libqdlog_9d.so.
 *
 * An application asks GetQDLogMaskPtr() for the mask word, tests the bit of the
 * level it wants, and only then hands a type, a format and its arguments to an
 * event function. The library itself never tests the mask: every event that
 * reaches it is written, to standard output, the debugger channel, the log file
 * and the registered callbacks. The level macros below do the testing.
 *
 * Narrow text is UTF-8. Wide text is UTF-16 in char16_t and follows the Windows
 * wide printf rules: %s takes const char16_t*, %S and %hs take const char*, %c a
 * 16-bit unit, %C a narrow char.
 *
 * Event types are 0 to 31; the titles of 0, 1, 2, 3, 20 and 25 are words, the
 * others show their number ("0007"). Type 31 is raw text: no head, no line end.
 * A bad type or a null format is reported as a failed check and the event dropped.
 *
 * Any thread may call any function at any time, but none of them is
 * async-signal-safe: an event sent from a signal handler that interrupted a thread
 * inside the library waits for the library's lock, which that thread holds, and
 * the process hangs. Log from a signal handler only through a path that takes no
 * lock (write(2) to a descriptor of your own).
 */
#ifndef QDLOG_H
#define QDLOG_H

#include <stdarg.h>
#include <stdint.h>
#ifndef __cplusplus
#include <uchar.h>
#endif

#define QDLOG_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* Called once per line of every event, under the library's lock, on the logging
 * thread; it may log itself (the nested event reaches it again). `head` is
 * zero-terminated; `text` is not: only textLen says where the line ends. Both are
 * valid for the call only. For type 31 the head is "" with length 0. */
typedef void (*QDLogCallback)(void* userData, int type, const char* head, int headLen,
                              const char* text, int textLen);

/* ---- events (QDLogEventX_A is the same routine as QDLogEventX) ---------------- */
QDLOG_API void QDLogEventX(int type, const char* fmt, va_list args);
QDLOG_API void QDLogEventX_A(int type, const char* fmt, va_list args);
QDLOG_API void QDLogEventX_W(int type, const char16_t* fmt, va_list args);

/* Keeps the configuration of qdlog.ini fresh and returns the mask word. */
QDLOG_API uint32_t* GetQDLogMaskPtr(void);
/* 0 once qdlog.ini rules: the setters marked "gated" then do nothing. */
QDLOG_API int QDLogCanConfig(void);

/* ---- where files go ------------------------------------------------------------ */
/* Empty or null: beside the executable. Relative: based there. Makes the directory;
 * 1 on success, 0 when it cannot be made (the directory stays as it was). */
QDLOG_API int QDLogSetDir(const char* dir);
QDLOG_API const char* QDLogGetDir(void);
/* The open log file's path, "" when none is open. */
QDLOG_API const char* QDLogGetFileName(void);
/* Flushes the file only once flush-lines lines have gathered, as every event does. */
QDLOG_API void QDLogFlushFile(void);

/* ---- settings; "gated" setters are ignored while QDLogCanConfig() is 0 --------- */
QDLOG_API void QDLogSetFlushLines(int lines); /* gated; at least 1 */
QDLOG_API int QDLogGetFlushLines(void);
QDLOG_API void QDLogSetFileSizeLimit(int bytes); /* gated; 16384 .. 0x800000 */
QDLOG_API int QDLogGetFileSizeLimit(void);
QDLOG_API void QDLogScreen(int on); /* gated */
QDLOG_API int QDLogGetScreen(void);
QDLOG_API void QDLogToFile(int on); /* gated */
QDLOG_API int QDLogGetToFile(void);
QDLOG_API void QDLogOutputToDebuger(int on); /* gated */
QDLOG_API int QDLogIsOutputDebuger(void);
QDLOG_API void QDLogSetLife(int days); /* gated; 0 .. 365, 0 keeps files for ever */
QDLOG_API int QDLogGetLife(void);
QDLOG_API void QDLogSetLife2(int seconds); /* gated; at least 0 */
QDLOG_API int QDLogGetLife2(void);
/* gated; isMemory 0: free disk megabytes (at least 2), 1: available memory */
QDLOG_API void QDLogSetReserve(int mbytes, int isMemory);
QDLOG_API int QDLogGetReserve(int* isMemory);
QDLOG_API void QDLogSetMaxFileNum(int count); /* gated; 0: no limit */
QDLOG_API int QDLogGetMaxFileNum(void);
QDLOG_API void QDLogSetPrintCpuCycle(int on);
QDLOG_API int QDLogIsPrintCpuCycle(void);
QDLOG_API void QDLogSetPrintMSEL(int on);
QDLOG_API int QDLogIsPrintMSEL(void);
/* Ignored unless 0 <= type < 32 and the title is shorter than 32 bytes. */
QDLOG_API void QDLogSetEventTitle(int type, const char* title);
QDLOG_API const char* QDLogGetEventTitle(int type); /* "" outside 0 .. 31 */

/* ---- callbacks, one per userData; called in the order of the userData pointers - */
/* 0 when userData already has a callback (that one stays). */
QDLOG_API int QDLogAddCallback(QDLogCallback callback, void* userData);
/* 0 when userData has none. */
QDLOG_API int QDLogRemoveCallback(void* userData);

/* The library's build tag text. */
QDLOG_API const char* GetModuleTagInfo(void);

#ifdef __cplusplus
}
#endif

/* ---- convenience for applications; the library does not use it ---------------- */

static inline void QDLogEvent(int type, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
static inline void QDLogEvent(int type, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    QDLogEventX(type, fmt, args);
    va_end(args);
}

static inline void QDLogEventW(int type, const char16_t* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    QDLogEventX_W(type, fmt, args);
    va_end(args);
}

/* The pairing of mask bits and event types that the level macros use. The library
 * knows the bits only through the [level] keys of qdlog.ini and the types only
 * through their titles; which type goes with which bit is this header's choice. */
#define QDLOG_MASK_INFO 0x1u
#define QDLOG_MASK_WARNING 0x2u
#define QDLOG_MASK_ERROR 0x4u
#define QDLOG_MASK_DEBUG 0x8u
#define QDLOG_MASK_DEVELOP 0x100000u

#define QDLOG_TYPE_INFO 0     /* "信息" */
#define QDLOG_TYPE_WARNING 1  /* "警告" */
#define QDLOG_TYPE_ERROR 2    /* "错误" */
#define QDLOG_TYPE_DEBUG 3    /* "调试" */
#define QDLOG_TYPE_DEVELOP 20 /* "内部" */
#define QDLOG_TYPE_EVENT 25   /* "事件" */
#define QDLOG_TYPE_RAW 31     /* no head, no line end */

/* Whether the level of `bit` is on, as the level macros ask it. An enabled level
 * calls GetQDLogMaskPtr() before its event, as the library expects: that call keeps
 * qdlog.ini in force. A disabled one only tests the mask word, whose address the
 * first call returned (it never changes), so it costs a load and a test instead of
 * the call: under a nanosecond, where the call costs several. A level that
 * qdlog.ini switches on shows after the next pass, which the next enabled event of
 * the process runs (passes are at most every 500 ms); a program that logs nothing
 * at an enabled level and must still follow qdlog.ini calls GetQDLogMaskPtr()
 * itself now and then. The loads are atomic: a pass stores the word meanwhile. */
static inline int QDLogLevelOn(uint32_t bit) {
    static uint32_t* mask; /* the same on every call, so threads may share it */
    uint32_t* const known = __atomic_load_n(&mask, __ATOMIC_RELAXED);
    if (known && !(__atomic_load_n(known, __ATOMIC_RELAXED) & bit)) return 0;
    uint32_t* const fresh = GetQDLogMaskPtr();
    if (!known) __atomic_store_n(&mask, fresh, __ATOMIC_RELAXED);
    return (__atomic_load_n(fresh, __ATOMIC_RELAXED) & bit) != 0;
}

/* Tests the level first: its arguments are not evaluated and nothing is formatted
 * when it is off. */
#define QDLOG_IF_LEVEL(bit, event, type, ...)              \
    do {                                                   \
        if (QDLogLevelOn(bit)) event((type), __VA_ARGS__); \
    } while (0)

#define QDLOG_INFO(...) QDLOG_IF_LEVEL(QDLOG_MASK_INFO, QDLogEvent, QDLOG_TYPE_INFO, __VA_ARGS__)
#define QDLOG_WARNING(...) \
    QDLOG_IF_LEVEL(QDLOG_MASK_WARNING, QDLogEvent, QDLOG_TYPE_WARNING, __VA_ARGS__)
#define QDLOG_ERROR(...) QDLOG_IF_LEVEL(QDLOG_MASK_ERROR, QDLogEvent, QDLOG_TYPE_ERROR, __VA_ARGS__)
#define QDLOG_DEBUG(...) QDLOG_IF_LEVEL(QDLOG_MASK_DEBUG, QDLogEvent, QDLOG_TYPE_DEBUG, __VA_ARGS__)
#define QDLOG_DEVELOP(...) \
    QDLOG_IF_LEVEL(QDLOG_MASK_DEVELOP, QDLogEvent, QDLOG_TYPE_DEVELOP, __VA_ARGS__)

#define QDLOG_INFO_W(...) QDLOG_IF_LEVEL(QDLOG_MASK_INFO, QDLogEventW, QDLOG_TYPE_INFO, __VA_ARGS__)
#define QDLOG_WARNING_W(...) \
    QDLOG_IF_LEVEL(QDLOG_MASK_WARNING, QDLogEventW, QDLOG_TYPE_WARNING, __VA_ARGS__)
#define QDLOG_ERROR_W(...) \
    QDLOG_IF_LEVEL(QDLOG_MASK_ERROR, QDLogEventW, QDLOG_TYPE_ERROR, __VA_ARGS__)
#define QDLOG_DEBUG_W(...) \
    QDLOG_IF_LEVEL(QDLOG_MASK_DEBUG, QDLogEventW, QDLOG_TYPE_DEBUG, __VA_ARGS__)
#define QDLOG_DEVELOP_W(...) \
    QDLOG_IF_LEVEL(QDLOG_MASK_DEVELOP, QDLogEventW, QDLOG_TYPE_DEVELOP, __VA_ARGS__)

#endif /* QDLOG_H */
