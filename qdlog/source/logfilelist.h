// The list of old log files and the rules that delete from it. This is their one
// place in the engine; until retention comes, the list is empty and nothing is
// deleted.
#pragma once

#include <cstdint>

#include "logcontext.h"

// The first sweep of the log directory, run once by the singleton's builder.
// True when it ran to its end (then the builder sets initFinished); false when a
// worker thread has taken over.
bool SweepLogDirectory(LogContext& log);

// The three deletion rules, from the event road under lock_.
void CleanLogFiles(LogContext& log, MSEL now, uint32_t tick);
