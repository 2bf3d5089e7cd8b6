// Loads copies of libqdlog_9d.so into one process with dlopen and logs one event
// through each, as a plug-in host that carries several copies would. Standard error
// goes to standard output, so that the test reads the assertion reports in order.
//
//   copies_helper LOGDIR LIBRARY...   each copy logs "copy N" into LOGDIR/N/
#include <dlfcn.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

template <typename F>
F Bind(void* lib, const char* name) {
    return reinterpret_cast<F>(dlsym(lib, name));
}

}  // namespace

int main(int argc, char** argv) {
    dup2(1, 2);
    setvbuf(stdout, nullptr, _IONBF, 0);
    for (int i = 2; i < argc; ++i) {
        void* lib = dlopen(argv[i], RTLD_NOW | RTLD_LOCAL);
        if (!lib) {
            printf("failed %d %s\n", i - 1, dlerror());
            return 1;
        }
        const std::string dir = std::string(argv[1]) + "/" + std::to_string(i - 1) + "/";
        Bind<int (*)(const char*)>(lib, "QDLogSetDir")(dir.c_str());
        Bind<void (*)(int)>(lib, "QDLogScreen")(0);
        Bind<void (*)(int)>(lib, "QDLogOutputToDebuger")(0);
        Bind<void (*)(int)>(lib, "QDLogToFile")(1);
        auto eventX = Bind<void (*)(int, const char*, va_list)>(lib, "QDLogEventX");
        auto event = [eventX](const char* fmt, ...) {
            va_list args;
            va_start(args, fmt);
            eventX(0, fmt, args);
            va_end(args);
        };
        event("copy %d", i - 1);
        Bind<void (*)()>(lib, "QDLogFlushFile")();
        printf("loaded %d\n", i - 1);
    }
    return 0;
}
