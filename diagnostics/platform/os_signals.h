// Fatal signals for the crash handler: installing it, ending the process with the
// signal's default action, and the few async-signal-safe calls it makes.
#pragma once

#include <cstddef>

namespace os {

// Called on the failing thread with the signal, its ucontext_t and the faulting
// address. Runs on an alternate stack where the installing thread overflowed its own.
typedef void (*FatalSignalRoutine)(int signal, const void* context, const void* address);

// SIGSEGV, SIGBUS, SIGFPE, SIGILL and SIGABRT; false if any could not be installed.
bool InstallFatalSignalHandlers(FatalSignalRoutine routine);
// Puts back the default action and raises the signal again: the process ends as it
// would have without the handler (status, core dump).
void EndWithSignal(int signal);
// "SIGSEGV" and so on; "signal" for others.
const char* SignalName(int signal);
// A function exported by any loaded object (dlsym on the global scope), or null.
void* FindLoadedFunction(const char* name);
// open(O_WRONLY | O_APPEND), write, close: async-signal-safe. `\` in the path is `/`.
bool AppendToFile(const char* path, const char* text, size_t length);

}  // namespace os
