// The list of old log files and the rules that delete from it. This is their one
// place in the engine. The first sweep fills the list and the writer adds each
// file it gives up; the deletion rules and the worker that takes over a very large
// directory come with retention.
#pragma once

#include <cstdint>

#include "logcontext.h"

// The name part of a log file: "log" and the 14 digits of its first line's local
// time. The sweep's match is case-sensitive: "LOG20161118121200.log" is no log file.
constexpr char kLogFileNamePattern[] = "log##############.log";

// Adds a closed file's full path; true when it was not listed yet (the caller then
// adds its size to totalLogBytes).
bool ListLogFile(LogContext::LogFileList& list, const char* path);

// Lists a log file that a sweep of `dir` found at `path` (the finder's full path),
// under lock_ for this one insertion. It is listed as the
// writer names the files of `dir` (ComposeLogPath), so that the files of one
// directory have one spelling in the list and sort by birth. True when it was new.
bool ListFoundLogFile(LogContext& log, const char* dir, const char* path);

// The first sweep of the log directory for "*.log", run once by the singleton's
// builder. True when it ran to its end (then the builder sets initFinished); false
// when a worker thread has taken over.
bool SweepLogDirectory(LogContext& log);

// The three deletion rules, from the event road under lock_.
void CleanLogFiles(LogContext& log, MSEL now, uint32_t tick);
