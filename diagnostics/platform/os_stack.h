// The operating-system side of the stack walker: stepping frames with libunwind,
// borrowing another thread's context through a signal, the list of loaded modules,
// loading a library by name, and the few facts about the machine that the walker
// reports. Nothing else in diagnostics/ includes a POSIX or unwinder header.
#pragma once

#include <cstddef>
#include <cstdint>

namespace os {

// ---- frames ------------------------------------------------------------------

// Room for a copy of a thread's machine state (a ucontext_t), enough to start a walk.
struct MachineContext {
    alignas(16) unsigned char bytes[8192];
};

// One frame as the unwinder sees it. `exact` is true when `pc` is the instruction
// that was interrupted (the first frame of a borrowed context, the frame below a
// signal) rather than a return address, whose call lies one byte before it.
struct StackFrame {
    uintptr_t pc;
    bool exact;
};

// Called for each frame, innermost first; false stops the walk.
typedef bool (*FrameVisitor)(void* arg, const StackFrame& frame);

enum class WalkEnd {
    kOutermost,   // the last frame was visited: nothing called it
    kStepFailed,  // the unwinder could not find the frame's caller
    kStopped,     // the visitor said stop
};

// Walks the calling thread from the caller of WalkStack when `context` is null, or
// from a ucontext_t (a signal handler's third argument, or one that
// BorrowThreadContext filled). Allocates nothing; safe inside a signal handler,
// except that finding a frame's unwind table takes the loader's lock.
WalkEnd WalkStack(const void* context, FrameVisitor visit, void* arg);

// ---- another thread ------------------------------------------------------------

// Stops thread `tid` of this process inside a signal handler that copies its
// ucontext into `context` and waits there until ReturnBorrowedThread. False when
// the thread does not exist in this process (it has exited, or it belongs to
// another one) or does not answer within two seconds. One thread is borrowed at a
// time; the next caller waits.
bool BorrowThreadContext(uint32_t tid, MachineContext* context);
void ReturnBorrowedThread();

// ---- modules -------------------------------------------------------------------

struct LoadedModule {
    const char* path;  // the file; the program's own path for the program
    uintptr_t bias;    // what is added to the file's addresses
    uintptr_t base;    // the lowest address of its segments
    uint32_t size;     // from the lowest to the end of the highest segment
};
// Calls `visit` for each object loaded in this process, the program first;
// false stops.
void ForEachModule(bool (*visit)(void* arg, const LoadedModule& module), void* arg);

// Where the object that holds `address` is loaded (dladdr's dli_fbase), so that
// address - load address is what addr2line takes; 0 when no object holds it.
uintptr_t ModuleLoadAddress(const void* address);

// ---- libraries bound by name ------------------------------------------------------

// dlopen with RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE: the symbol library keeps
// state that must outlive one walker. Null when it cannot be loaded.
void* LoadLibraryByName(const char* name);
void* BindFunction(void* library, const char* name);
void FreeLibraryHandle(void* library);

// ---- facts for the walker's reports --------------------------------------------------

// The rows and pixel height of the terminal on standard error; false when standard
// error is not a terminal.
bool TerminalSize(int* rows, int* pixels);
// The name of the user the process runs as; false when it is unknown.
bool UserName(char* buffer, int capacity);
// Kernel release numbers and the version text of uname.
bool SystemVersion(int* major, int* minor, int* build, char* text, int capacity);

}  // namespace os
