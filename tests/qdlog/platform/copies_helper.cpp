// Loads copies of libqdlog_9d.so into one process with dlopen and logs one event
// through each, as a plug-in host that carries several copies would. Standard error
// goes to standard output, so that the test reads the assertion reports in order.
//
//   copies_helper LOGDIR LIBRARY...   each copy logs "copy N" into LOGDIR/N/
#include <unistd.h>

#include <cstdio>
#include <string>

#include "library_copy.h"

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
        QuietCopyInto(lib, dir.c_str());
        Bind<void (*)(int)>(lib, "QDLogToFile")(1);
        CopyEvent(lib, "copy %d", i - 1);
        Bind<void (*)()>(lib, "QDLogFlushFile")();
        printf("loaded %d\n", i - 1);
    }
    return 0;
}
