// The configuration reader: qdlog.ini beside the executable overrules the
// application's setters. This is its one place in the engine.
#pragma once

#include "logcontext.h"

// One pass, at most every 500 ms, under lock_; from the singleton's builder (ahead
// of the first sweep, so that the file's dir counts) and from GetQDLogMaskPtr,
// which is all that keeps the configuration fresh. The common path is the lock, the
// reading flag and one tick comparison.
void ReadConfig(LogContext& log);
