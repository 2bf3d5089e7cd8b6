// Stack text for people: lines in a caller's buffer under a budget, the current
// stack for an application's own log events, and an optional handler that writes
// the stack of a crash before the signal ends the process.
#pragma once

// Lines gathered into a fixed buffer. Every line is counted, and kept only while
// fewer than `maxLines` are kept and it fits; so the top of the stack is kept.
struct StackLines {
    int maxLines;
    int linesSeen;
    char* text;
    int room;  // characters of `text`, the terminator included
    char* end;
    const char* lineEnd;
};

// Keeps a line of up to 100 characters whole; a longer one becomes its first 94
// characters and "... ()", 100 in all, so that it still reads like a call.
void AppendStackLine(StackLines* lines, const char* line);

// The display height that the assertion report's budget is taken from: the
// terminal's on standard error, in pixels (16 to a row when the terminal does not
// tell), or 1024 when there is no terminal.
int StackDisplayHeight();

// Writes the caller's stack into `out`, one line per frame ended by LF, innermost
// first, as many lines as fit in `room` characters with the terminator. Without the
// symbol library the lines read "module: address() +offset". Returns the length written.
int qdr_WriteStackText(char* out, int room);

// Installs a handler for SIGSEGV, SIGBUS, SIGFPE, SIGILL and SIGABRT that writes a
// report with the stack of the failing thread to standard error and appends it to
// the engine's open log file, then lets the signal end the process with its default
// action. Returns 1 when installed.
int qdr_InstallCrashHandler();
