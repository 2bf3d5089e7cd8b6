// The road of one event: the entries format the message with no lock held, the
// print takes lock_ and sends the event line by line to the outputs.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "logcontext.h"

// The entries: QDLogEventX (narrow) and QDLogEventX_W (wide).
template <class CHAR>
void LogEventV(int type, const CHAR* fmt, va_list args);

// When an event happens: taken once, under lock_, at the start of the print. The
// road leaves `cycle` 0: the print reads the counter when the cycle column needs
// it; a test may hand one in.
struct EventMoment {
    MSEL now;
    uint32_t tick;
    uint64_t cycle;
};

// The second half of the road, for a formatted text; a null text prints "(NULL)".
void QDLogEventPrint(int type, const char* text);
void QDLogEventPrintW(int type, const char16_t* text);
// The same at a given moment.
template <class CHAR>
void PrintEventAt(LogContext& log, int type, const CHAR* text, const EventMoment& moment);

// One line to screen, debugger, file and callbacks, in that order; lock_ held.
// The wide form narrows head and text for all but the debugger.
void QDLogEmitLine(LogContext& log, int type, const char* head, int headLen, const char* text,
                   int textLen);
void QDLogEmitLineW(LogContext& log, int type, const char16_t* head, int headLen,
                    const char16_t* text, int textLen);

int AddLogCallback(LogContext& log, QDLogCallback callback, void* userData);
int RemoveLogCallback(LogContext& log, void* userData);
