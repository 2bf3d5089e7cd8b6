#include "rawstack.h"

#include <cstdio>

#include "platform/os_stack.h"
#include "qdr/platform/os.h"

namespace {

struct RawWalk {
    StackLines* lines;
    int skip;
};

bool AddRawFrame(void* arg, const os::StackFrame& frame) {
    RawWalk* walk = static_cast<RawWalk*>(arg);
    if (walk->skip > 0) {
        --walk->skip;
        return true;
    }
    if (frame.pc == 0) return true;
    char path[512];
    if (os::ModulePathOf(reinterpret_cast<const void*>(frame.pc), path, sizeof(path)) == 0)
        return true;
    const char* name = path;
    for (const char* p = path; *p; ++p)
        if (*p == '/') name = p + 1;
    char line[600];
    const uintptr_t offset = frame.pc - os::ModuleLoadAddress(reinterpret_cast<void*>(frame.pc));
    snprintf(line, sizeof(line), "%s: %p() +0x%lx", name, reinterpret_cast<void*>(frame.pc),
             static_cast<unsigned long>(offset));
    AppendStackLine(walk->lines, line);
    return true;
}

}  // namespace

__attribute__((noinline)) void WriteRawStackLines(const void* context, StackLines* lines,
                                                  int skip) {
    // Walked from here, this function's own frame comes first.
    RawWalk walk = {lines, context ? skip : skip + 1};
    os::WalkStack(context, AddRawFrame, &walk);
}
