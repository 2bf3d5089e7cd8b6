// The check macros and the assertion report: the one sink of every failed
// precondition in the library. A failed check composes a report, lets the report's
// answer decide, and either stops at a trap on the failing line (Retry), ends the
// process (Abort) or falls through to the statement after the check (Ignore).
#pragma once

#include <cstdarg>

#include "platform/os.h"

// Answers of the report, with the values of the three-button box.
enum {
    QDR_IDABORT = 3,
    QDR_IDRETRY = 4,
    QDR_IDIGNORE = 5,
};

// What a report handler is shown. `text` is the whole report, stack text first;
// `message` is the formatted message, "(null)" for a plain check, and null only
// when the format was null or empty.
struct qdr_AssertReport {
    const char* caption;
    const char* text;
    const char* file;
    int line;
    const char* expr;
    const char* message;
};

// Decides the answer of a report in place of the terminal or the environment.
// Returns QDR_IDABORT, QDR_IDRETRY or QDR_IDIGNORE; anything else means Ignore.
typedef int (*qdr_AssertReportHandler)(const qdr_AssertReport* report);

// Installs `handler` process-wide (null removes it) and returns the one before.
qdr_AssertReportHandler qdr_SetAssertReportHandler(qdr_AssertReportHandler handler);

// Composes and shows one report. Returns 1 when the site must stop at its trap,
// 0 when it carries on; Abort does not return. Cold: the compiler moves every
// check's report out of the straight path of its caller.
int qdr_AssertPrintfBox(const char* file, int line, const char* expr, const char* fmt, ...)
    __attribute__((format(printf, 4, 5), cold));
int qdr_vAssertPrintfBox(const char* file, int line, const char* expr, const char* fmt,
                         va_list args) __attribute__((format(printf, 4, 0)));

// The single spot for the message of a check without one: it hands back its argument.
// Out of line, so that the compiler does not see the null that it is handed.
const char* qdr_CheckMessage(const char* message);

// A check without a message: the report's title reads "Debug Assertion Failed((null))!".
#define QDR_CHECK(cond)                                                             \
    do {                                                                            \
        if (!(cond) && qdr_AssertPrintfBox(__FILE__, __LINE__, "(" #cond ")", "%s", \
                                           qdr_CheckMessage(nullptr)))              \
            QDR_DEBUG_BREAK();                                                      \
    } while (0)

// A check with a message: a printf format and its arguments.
#define QDR_CHECK_MSG(cond, ...)                                                            \
    do {                                                                                    \
        if (!(cond) && qdr_AssertPrintfBox(__FILE__, __LINE__, "(" #cond ")", __VA_ARGS__)) \
            QDR_DEBUG_BREAK();                                                              \
    } while (0)

// A check whose failure ends the function: after the report (Ignore), the function
// returns what follows the condition, or nothing in a function without a result.
//   QDR_CHECK_OR_RETURN(path != nullptr, false);   QDR_CHECK_OR_RETURN(len >= 0);
#define QDR_CHECK_OR_RETURN(cond, ...)                                       \
    do {                                                                     \
        if (!(cond)) {                                                       \
            if (qdr_AssertPrintfBox(__FILE__, __LINE__, "(" #cond ")", "%s", \
                                    qdr_CheckMessage(nullptr)))              \
                QDR_DEBUG_BREAK();                                           \
            return __VA_ARGS__;                                              \
        }                                                                    \
    } while (0)

// The same with a message: QDR_CHECK_MSG_OR_RETURN(cond, value, fmt, ...); a function
// without a result passes an empty value: QDR_CHECK_MSG_OR_RETURN(cond, , "bad %d", n).
#define QDR_CHECK_MSG_OR_RETURN(cond, value, ...)                                    \
    do {                                                                             \
        if (!(cond)) {                                                               \
            if (qdr_AssertPrintfBox(__FILE__, __LINE__, "(" #cond ")", __VA_ARGS__)) \
                QDR_DEBUG_BREAK();                                                   \
            return value;                                                            \
        }                                                                            \
    } while (0)
