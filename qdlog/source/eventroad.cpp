// The event road: the entries format with no lock held; the print takes lock_,
// builds the head once and sends the text line by line to the outputs.
#include "eventroad.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "eventhead.h"
#include "logfilelist.h"
#include "narrowformat.h"
#include "qdr/platform/os.h"
#include "qdtime.h"
#include "smartbuf.h"
#include "wideformat.h"

namespace {

// What differs between the widths: the formatter, the null text, and the largest
// text the formatter is allowed to produce. The wide count is the one the
// platform's _vswprintf_c_l is given: a longer wide text fails to format.
//
// Format has vsnprintf's contract for both: what fits is written and terminated,
// and the result is the length of the whole text, or negative for a format that
// cannot be produced.
template <class CHAR>
struct Width;

template <class CHAR>
inline void PrintEvent(LogContext& log, int type, const CHAR* text, int length);

// The narrow formatter writes the C library's bytes in a third of its time: an
// 80-byte event costs 280 ns instead of 460 (BM_ComparedMessage).
template <>
struct Width<char> {
    static int Format(char* out, int capacity, const char* fmt, va_list args) {
        return FormatNarrowV(out, static_cast<size_t>(capacity), fmt, args);
    }
    static constexpr const char* kNullText = "(NULL)";
    static constexpr int kFormatCount = INT_MAX;
};

template <>
struct Width<char16_t> {
    static int Format(char16_t* out, int capacity, const char16_t* fmt, va_list args) {
        va_list walk;
        va_copy(walk, args);
        const int length = FormatWideV(out, capacity, fmt, walk);
        va_end(walk);
        if (length >= 0) return length;
        // -1 is an invalid format or a text that did not fit; measuring tells which.
        va_copy(walk, args);
        const int needed = FormatWideV(nullptr, 0, fmt, walk);
        va_end(walk);
        return needed >= capacity ? needed : -1;
    }
    static constexpr const char16_t* kNullText = u"(NULL)";
    static constexpr int kFormatCount = 0x4000000;
};

void EmitLineOf(LogContext& log, int type, const char* head, int headLen, const char* text,
                int textLen) {
    QDLogEmitLine(log, type, head, headLen, text, textLen);
}
void EmitLineOf(LogContext& log, int type, const char16_t* head, int headLen, const char16_t* text,
                int textLen) {
    QDLogEmitLineW(log, type, head, headLen, text, textLen);
}

// The head in the event's own width: the narrow head as it is, or widened into
// `room`. The title row is UTF-8, so the wide head carries the same characters.
const char* HeadInWidth(const char* head, int headLen, char (&)[kEventHeadChars], int* length) {
    *length = headLen;
    return head;
}
const char16_t* HeadInWidth(const char* head, int headLen, char16_t (&room)[kEventHeadChars],
                            int* length) {
    *length = os::Utf8ToUtf16(head, headLen, room, kEventHeadChars - 1);
    room[*length] = 0;
    return room;
}

// The end of a line: its LF or the terminating zero. Narrow text is searched with
// the C library's vectorised strchrnul, 20 ns sooner on an 80-byte message than unit
// by unit (bench/qdlog_bench, BM_ComparedMessage: 280 ns instead of 300), and in one
// pass where strchr and then strlen took two.
const char* LineEnd(const char* line) {
    return strchrnul(line, '\n');
}
const char16_t* LineEnd(const char16_t* line) {
    while (*line && *line != u'\n') ++line;
    return line;
}
// The same in a formatted text of known length.
const char* LineEnd(const char* line, int length) {
    const void* lf = memchr(line, '\n', static_cast<size_t>(length));
    return lf ? static_cast<const char*>(lf) : line + length;
}
const char16_t* LineEnd(const char16_t* line, int) {
    return LineEnd(line);
}

// The end of a text's first line; `length` is -1 for a text not measured. The print
// asks for it under lock_, not the entry before it: the formatter's stores have
// then left the store buffer (the lock's atomic exchange waits for them), so the
// search reads the text from the cache. Searched right after the formatter, its
// wide loads waited on those stores, which cost more than the search adds to the
// time lock_ is held.
template <class CHAR>
const CHAR* FirstLineEnd(const CHAR* text, int length) {
    return length < 0 ? LineEnd(text) : LineEnd(text, length);
}

// Splits at LF; a CR before the LF stays in the line, and a last LF makes no
// further line:  "a\n" -> "a";  "\n\n" -> "", "";  "a\r\nb" -> "a\r", "b".
// Every line carries the same head; type 31 carries the empty one. `end` is the
// end of the first line.
template <class CHAR>
void EmitLines(LogContext& log, int type, const CHAR* head, int headLen, const CHAR* text,
               const CHAR* end) {
    static const CHAR kNoHead[1] = {0};
    const bool raw = type == kRawEventType;
    for (const CHAR* line = text;;) {
        EmitLineOf(log, type, raw ? kNoHead : head, raw ? 0 : headLen, line,
                   static_cast<int>(end - line));
        if (*end == 0 || end[1] == 0) break;
        line = end + 1;
        end = LineEnd(line);
    }
}

// Whether the formatter's result `ret` is a text to print: the report of a result
// outside 0 .. the measured length, and an empty text, which writes nothing at all,
// not even a head.
bool IsFormatted(int ret, int fmtLen) {
    QDR_CHECK(0<=ret && ret<=fmtLen);
    return ret >= 1;
}

// A text of 1024 units or more, formatted again into a heap buffer of the length
// the first walk measured; one beyond the formatter's count or the block limit gets
// no buffer and is dropped. Out of line, so that the common event keeps no buffer
// object of its own.
template <class CHAR>
__attribute__((noinline)) void LogLongEvent(LogContext& log, int type, const CHAR* fmt,
                                            va_list args, int fmtLen) {
    int ret = -1;
    SmartBuf<CHAR, 0> heap(0);
    if (fmtLen < Width<CHAR>::kFormatCount) {
        heap.Resize(fmtLen + 1);
        if (heap.Get() && heap.Length() == fmtLen + 1) {
            va_list formatArgs;
            va_copy(formatArgs, args);
            ret = Width<CHAR>::Format(heap.Get(), heap.Length(), fmt, formatArgs);
            va_end(formatArgs);
        }
    }
    if (IsFormatted(ret, fmtLen)) PrintEvent(log, type, heap.Get(), ret);
}

// Whether an event goes to the log file alone, with no other output to feed: no
// screen, no debugger, no callbacks, no cycle column, a head (not raw text) and a
// time that breaks down without a report. Such an event takes PrintToFileAlone.
bool IsForFileAlone(const LogContext& log, int type, MSEL now) {
    return type != kRawEventType && !log.toScreen_ && !log.toDebuger_ && !log.printCpuCycle_ &&
           log.callbackMap_.empty() && IsValidMSEL(now);
}

// The event's first line built where it stays, in the file's buffer: the time
// text, the title, the text and CR LF, with no head built aside and copied. The
// head is copied out only for the lines after the first, and a line that finds no
// room takes the file's own WriteLine (which flushes first or writes it alone).
// Inline in the narrow entries: its call and saved registers were 20 of an event's
// 1,750 instructions.
__attribute__((always_inline)) inline void PrintToFileAlone(LogContext& log, int type,
                                                            const char* text, const char* end,
                                                            MSEL now) {
    constexpr size_t kHeadRoom = kSystemTimeTextSize + kTitleChars + 2;
    LogFile& file = log.logFile_;
    const size_t lineLen = static_cast<size_t>(end - text);
    char head[kEventHeadChars];
    char* const at = file.Room(kHeadRoom + lineLen + 2);
    char* const out = at ? at : head;
    const int timeLen = log.headClock_.Format(now, log.printMSEL_ != 0, out);
    const char* const headEnd =
        PutEventTitle(log.titles_[type], log.titleSeparator_, out + timeLen);
    const int headLen = static_cast<int>(headEnd - out);
    if (at) {
        memcpy(at + headLen, text, lineLen);
        memcpy(at + headLen + lineLen, "\r\n", 2);
        file.CommitLine(static_cast<size_t>(headLen) + lineLen + 2);
        if (*end == 0 || end[1] == 0) return;
        memcpy(head, at, static_cast<size_t>(headLen));
        text = end + 1;
        end = LineEnd(text);
    }
    EmitLines(log, type, head, headLen, text, end);
}

// An event with a head for every output it has: the time column, the cycle column,
// the head, the per-second file check, and each line to all outputs. Out of line,
// so that the common event's road holds none of it.
template <class CHAR>
__attribute__((noinline)) void PrintToOutputs(LogContext& log, int type, const CHAR* text,
                                              const CHAR* firstEnd, const EventMoment& moment,
                                              bool newSecond) {
    // A time that cannot be broken down leaves all fields 0; the event still goes.
    char time[kSystemTimeTextSize];
    const int timeLen = log.headClock_.Format(moment.now, log.printMSEL_ != 0, time);
    char cycles[kCpuTicksChars];
    int cyclesLen = 0;
    if (log.printCpuCycle_) {
        // The counter is read here, where the column needs it, and only then: a read
        // costs 10 ns (rdtsc), which an event without the column does not pay.
        const uint64_t cycle = moment.cycle ? moment.cycle : ReadCpuCycle();
        cyclesLen = FormatCpuTicks(static_cast<int64_t>(cycle - log.lastCpuCycle_), cycles);
        log.lastCpuCycle_ = cycle;
    }
    char head[kEventHeadChars];
    const int headLen = BuildEventHead(time, timeLen, cycles, cyclesLen, log.titles_[type],
                                       log.titleSeparator_, head);

    if (newSecond) CheckLogFile(log, moment.now);
    NoteEventMSEL(log, moment.now, newSecond);

    CHAR room[kEventHeadChars];
    int lineHeadLen = 0;
    const CHAR* lineHead = HeadInWidth(head, headLen, room, &lineHeadLen);
    EmitLines(log, type, lineHead, lineHeadLen, text, firstEnd);

    if (log.toFile_) log.logFile_.FlushIfDue(log.flushLines_);
}

// The print under lock_, for a text that is not null, of `length` units (-1: not
// measured). `newSecond`: the event is the first of its second, so the file is
// checked (at most once a second, and at the very first event, since
// lastEventMSEL_ starts at 0). Inline in each entry: the calls between the entry,
// the lock and the print were a tenth of the road's own work.
template <class CHAR>
__attribute__((always_inline)) inline void PrintEventHeld(LogContext& log, int type,
                                                          const CHAR* text, int length,
                                                          const EventMoment& moment,
                                                          bool newSecond) {
    // There is no title row for such a type: the event is dropped.
    QDR_CHECK_OR_RETURN(0<=type && type<32);

    CleanLogFiles(log, moment.now, moment.tick);

    // The common event writes the file alone. Its head is built after the file's
    // check instead of before: with a valid time and no cycle column, building it
    // reports nothing and reads nothing the check changes, so the bytes and the
    // reports are the same.
    if constexpr (std::is_same<CHAR, char>::value) {
        if (IsForFileAlone(log, type, moment.now)) {
            if (newSecond) CheckLogFile(log, moment.now);
            NoteEventMSEL(log, moment.now, newSecond);
            if (!log.toFile_ || !log.logFile_.IsOpen()) return;
            PrintToFileAlone(log, type, text, FirstLineEnd(text, length), moment.now);
            log.logFile_.FlushIfDue(log.flushLines_);
            return;
        }
    }
    PrintToOutputs(log, type, text, FirstLineEnd(text, length), moment, newSecond);
}

// The second half of the road: lock_, the moment, the print. The tick serves only
// the deletion rules, which compare it with ticks taken minutes before, so it is
// read at the first event of each second and kept for the others: the clock's read
// under lock_ cost 3% of an event.
template <class CHAR>
__attribute__((always_inline)) inline void PrintEvent(LogContext& log, int type, const CHAR* text,
                                                      int length) {
    LogLock lock(log);
    if (!lock.Held()) return;
    const MSEL now = GetMSEL();
    const bool newSecond = IsNewEventSecond(log, now);
    if (newSecond) log.eventTick_ = os::CoarseTickCount();
    PrintEventHeld(log, type, text, length, EventMoment{now, log.eventTick_, 0}, newSecond);
}

template <class CHAR>
void PrintText(int type, const CHAR* text) {
    if (!text) text = Width<CHAR>::kNullText;
    PrintEvent(GetLogContext(), type, text, -1);
}

}  // namespace

template <class CHAR>
void LogEventV(int type, const CHAR* fmt, va_list args) {
    LogContext& log = GetLogContext();
    // With screen, file and debugger off nothing is formatted, and callbacks get
    // nothing either.
    if (!log.toScreen_ && !log.toFile_ && !log.toDebuger_) return;
    // Going on would be undefined behaviour: the event is dropped.
    QDR_CHECK_OR_RETURN(fmt && 0<=type && type<32);

    // Formatted straight into the inline room: a text of up to 1023 characters costs
    // one walk of the format and no heap. Only a longer one is formatted again. (One
    // walk instead of a measure and a format took a third of the instructions of an
    // 80-byte event.) The room is a plain array: a SmartBuf of 1024 would fill all
    // of it with 0xCD at every event, 15 ns of 280 (BM_ComparedMessage).
    CHAR room[1024];
    va_list formatArgs;
    va_copy(formatArgs, args);
    const int fmtLen = Width<CHAR>::Format(room, 1024, fmt, formatArgs);
    va_end(formatArgs);
    if (fmtLen >= 1024)
        LogLongEvent(log, type, fmt, args, fmtLen);
    else if (IsFormatted(fmtLen, fmtLen))
        PrintEvent(log, type, room, fmtLen);
}

void QDLogEventPrint(int type, const char* text) {
    PrintText(type, text);
}

void QDLogEventPrintW(int type, const char16_t* text) {
    PrintText(type, text);
}

template <class CHAR>
void PrintEventAt(LogContext& log, int type, const CHAR* text, const EventMoment& moment) {
    QDR_CHECK(log.lock_.IsLockedByThreadSelf());
    if (!text) text = Width<CHAR>::kNullText;
    PrintEventHeld(log, type, text, -1, moment, IsNewEventSecond(log, moment.now));
}

template void LogEventV<char>(int, const char*, va_list);
template void LogEventV<char16_t>(int, const char16_t*, va_list);
template void PrintEventAt<char>(LogContext&, int, const char*, const EventMoment&);
template void PrintEventAt<char16_t>(LogContext&, int, const char16_t*, const EventMoment&);
