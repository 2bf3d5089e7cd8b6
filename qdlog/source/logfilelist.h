// The list of old log files and the rules that delete from it. This is their one
// place in the engine. The first sweep fills the list (a worker thread finishes a
// very large directory) and the writer adds each file it gives up; three rules,
// run from the event road, delete from the oldest end: too old, too little room,
// too many files.
#pragma once

#include <cstdint>

#include "cpp_templ0.h"
#include "logcontext.h"

// The name part of a log file: "log" and the 14 digits of its first line's local
// time. The sweep's match is case-sensitive: "LOG20161118121200.log" is no log file.
constexpr char kLogFileNamePattern[] = "log##############.log";

// The first call takes in this many files at most; the rest is the worker's.
constexpr int kFirstSweepFiles = 5000;
// The worker sleeps a millisecond after every so many files, to let events in.
constexpr int kWorkerPauseFiles = 512;
// Least time between two runs of one rule, in ticks (ms).
constexpr uint32_t kRuleIntervalMs = 60000;

// Lists a log file that a sweep of `dir` found at `path` (the finder's full path),
// under lock_ for this one insertion. It is listed as the
// writer names the files of `dir` (ComposeLogPath), so that the files of one
// directory have one spelling in the list and sort by birth. True when it was new.
bool ListFoundLogFile(LogContext& log, const char* dir, const char* path);

// The first sweep of the log directory for "*.log", run once by the singleton's
// builder. True when it ran to its end (then the builder sets initFinished); false
// when it stopped at the 5000th file and handed the directory to the worker
// (LogContext::LogFileList::InitWoker), which sets initFinished when it is done.
// If the worker cannot be started, that is reported and initFinished stays 0: no
// file is deleted in this run. A worker that is already there (a second sweep) is
// reported and left alone; no second one is started, since only one can be joined.
bool SweepLogDirectory(LogContext& log);

// The three rules, from the event road under lock_, in their order: age, then
// reserve, then count, each only when switched on, and none before initFinished.
// When the age rule deleted something the other two wait for the next event.
// The common event makes one test per rule here, inline; a rule that is due runs
// out of line and tests itself again with its checks.
void RunDueLogFileRules(LogContext& log, MSEL now, uint32_t tick);
inline void CleanLogFiles(LogContext& log, MSEL now, uint32_t tick) {
    if (!log.logFileList_.initFinished) return;
    if ((log.holdSeconds_ != 0 && IsElapsed(tick, log.lastHoldCheckTick_, kRuleIntervalMs)) ||
        (log.reserveMBytes_ > 0 && IsElapsed(tick, log.lastReserveCheckTick_, kRuleIntervalMs)) ||
        (log.maxFileNum_ > 0 && IsElapsed(tick, log.lastFileNumCheckTick_, kRuleIntervalMs)))
        RunDueLogFileRules(log, now, tick);
}

// Each rule runs at most every 60000 ticks, counted from its own last run, with
// unsigned 32-bit differences that survive the wrap of the tick. A failed
// precondition (no initFinished, a rule that is off, lock_ not held by the caller)
// is reported and the rule then deletes nothing and leaves its tick alone.
//
// Age: deletes from the oldest end while (now - the time in the file's name) is
// more than holdSeconds_, and stops at the first younger file. A path without a
// separator, a name that fails the pattern or has no valid date ("20161332") is
// reported "(false)" and ends the run without touching the tick, so it is tried
// again at the next event. 1 when it deleted something.
int CleanByAge(LogContext& log, MSEL now, uint32_t tick);
// Reserve: deletes the oldest files until their sizes make up what is missing of
// the reserve, free bytes on the log directory's file system (or available
// physical memory with reserveIsMemory_), or the list is empty. 1 when it deleted
// something.
int CleanByReserve(LogContext& log, int disk_reserve_MBytes, uint32_t tick);
// Count: deletes the oldest files until maxFileNum are left. It measures nothing,
// leaves totalLogBytes as it is, and always returns 0.
int CleanByCount(LogContext& log, int maxFileNum, uint32_t tick);
