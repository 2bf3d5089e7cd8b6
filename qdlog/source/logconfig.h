// The configuration reader: qdlog.ini beside the executable overrules the
// application's setters. This is its one place in the engine.
#pragma once

#include "logcontext.h"

// One pass, at most every 500 ms; from the singleton's builder and from
// GetQDLogMaskPtr, under lock_.
void ReadConfig(LogContext& log);
