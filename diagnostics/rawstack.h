// Stack lines without the symbol library, "module: address() +offset" for each frame
// whose address lies in a loaded module, the offset being what addr2line takes for
// that module: what a program gets where symbols cannot be looked up, and what the
// crash handler writes, since it must not allocate.
#pragma once

#include "stacktext.h"

// Walks from `context` (a ucontext_t), or from the caller of this function when it
// is null, leaving out the `skip` innermost frames of that caller's side.
// Allocates nothing.
void WriteRawStackLines(const void* context, StackLines* lines, int skip);
