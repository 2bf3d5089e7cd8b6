// A copy of libqdlog_9d.so loaded with dlopen, driven through its own exports, as
// a plug-in that carries its own copy would drive it.
#pragma once

#include <dlfcn.h>

#include <cstdarg>

template <typename F>
F Bind(void* lib, const char* name) {
    return reinterpret_cast<F>(dlsym(lib, name));
}

// Screen and debugger off, the given directory; returns the setter's result.
inline int QuietCopyInto(void* lib, const char* dir) {
    Bind<void (*)(int)>(lib, "QDLogScreen")(0);
    Bind<void (*)(int)>(lib, "QDLogOutputToDebuger")(0);
    return Bind<int (*)(const char*)>(lib, "QDLogSetDir")(dir);
}

// An information event through the copy's QDLogEventX.
inline void CopyEvent(void* lib, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    Bind<void (*)(int, const char*, va_list)>(lib, "QDLogEventX")(0, fmt, args);
    va_end(args);
}
