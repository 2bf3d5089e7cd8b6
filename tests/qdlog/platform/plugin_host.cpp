// A program on libqdlog_9d.so that loads a plug-in's own copy of the library from
// another file with dlopen, as a plug-in host does. Each copy is given its own
// directory and logs one event; the copy's calls of its own exports must stay in
// that copy.
//
//   plugin_host HOSTDIR COPY PLUGINDIR
#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>

#include "library_copy.h"
#include "qdlog.h"

namespace {

void HostEvent(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    QDLogEventX(0, fmt, args);
    va_end(args);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    QDLogScreen(0);
    QDLogOutputToDebuger(0);
    QDLogSetDir(argv[1]);
    HostEvent("%s", "host");
    void* plugin = dlopen(argv[2], RTLD_NOW | RTLD_LOCAL);
    if (!plugin) {
        printf("%s\n", dlerror());
        return 1;
    }
    QuietCopyInto(plugin, argv[3]);
    CopyEvent(plugin, "%s", "plugin");
    HostEvent("%s", "host again");
    return 0;
}
