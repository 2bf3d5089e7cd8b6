// A program on libqdlog_9d.so that loads copies of the library from other files with
// dlopen, as a plug-in host that carries several copies would, and logs one event
// through each. A copy's calls of its own exports must stay in that copy. Standard
// error goes to standard output, so that the test reads the assertion reports in
// order.
//
//   copies_helper LOGDIR LIBRARY...             each copy logs "copy N" into LOGDIR/N/
//   copies_helper plugin HOSTDIR COPY PLUGINDIR  the program logs "host" into HOSTDIR,
//                                                the copy "plugin" into PLUGINDIR
#include <dlfcn.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "qdlog.h"

namespace {

template <typename F>
F Bind(void* lib, const char* name) {
    return reinterpret_cast<F>(dlsym(lib, name));
}

// A copy with screen and debugger off, logging into `dir`.
void* LoadCopy(const char* file, const char* dir) {
    void* lib = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    if (!lib) {
        printf("failed %s\n", dlerror());
        exit(1);
    }
    Bind<void (*)(int)>(lib, "QDLogScreen")(0);
    Bind<void (*)(int)>(lib, "QDLogOutputToDebuger")(0);
    Bind<int (*)(const char*)>(lib, "QDLogSetDir")(dir);
    return lib;
}

// An information event through the copy's QDLogEventX.
void CopyEvent(void* lib, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    Bind<void (*)(int, const char*, va_list)>(lib, "QDLogEventX")(0, fmt, args);
    va_end(args);
}

int Plugin(char** argv) {
    QDLogScreen(0);
    QDLogOutputToDebuger(0);
    QDLogSetDir(argv[2]);
    QDLogEvent(0, "host");
    CopyEvent(LoadCopy(argv[3], argv[4]), "plugin");
    QDLogEvent(0, "host again");
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    dup2(1, 2);
    setvbuf(stdout, nullptr, _IONBF, 0);
    if (argc == 5 && std::string(argv[1]) == "plugin") return Plugin(argv);
    for (int i = 2; i < argc; ++i) {
        const std::string dir = std::string(argv[1]) + "/" + std::to_string(i - 1) + "/";
        void* lib = LoadCopy(argv[i], dir.c_str());
        Bind<void (*)(int)>(lib, "QDLogToFile")(1);
        CopyEvent(lib, "copy %d", i - 1);
        Bind<void (*)()>(lib, "QDLogFlushFile")();
        printf("loaded %d\n", i - 1);
    }
    return 0;
}
