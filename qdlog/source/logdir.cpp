// The executable's directory as the engine sees it, and the log directory.
#include "logdir.h"

#include <cstdio>
#include <cstring>

#include "logfile.h"
#include "moduleinfo.h"
#include "qdfdk.h"
#include "qdr/qdatomic.h"
#include "strdk_match.h"

namespace {

LazyGlobal<char> g_logDirSlot;
char g_logDir[kLogPathChars];

char* LogDirBuffer() {
    return g_logDirSlot.Get([] {
        snprintf(g_logDir, sizeof(g_logDir), "%s", GetExeDirA_());
        return g_logDir;
    });
}

}  // namespace

const char* GetExeDirA_() {
    if (IsJavaLauncher(GetExeName())) {
        // A Java launcher's own directory says nothing about the application.
        static char current[kLogPathChars];
        if (!GetCurrentDir(current)) current[0] = 0;
        return current;
    }
    return GetExeDir();
}

const char* LogDirectory() {
    return LogDirBuffer();
}

// The text is stored in a fixed buffer without a lock, so that the pointer of
// QDLogGetDir never dangles; setting it belongs to start-up, ahead of the events
// that open files. The open file and the list of old files stay as they are.
int SetLogDirectory(const char* dir) {
    char* stored = LogDirBuffer();
    if (!dir || !dir[0]) {
        snprintf(stored, kLogPathChars, "%s", GetExeDirA_());
        return 1;
    }
    // A relative directory lies beside the executable; one that cannot be composed
    // is the empty text, which CreateDirTree refuses.
    char path[kLogPathChars] = "";
    if (!IsValidAbsPath(dir))
        ComposeFileName(GetExeDirA_(), dir, path);
    else if (strlen(dir) < sizeof(path))
        strcpy(path, dir);
    if (!CreateDirTree(path)) return 0;
    snprintf(stored, kLogPathChars, "%s", path);
    return 1;
}
