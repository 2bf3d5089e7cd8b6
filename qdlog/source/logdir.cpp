// The executable's directory as the engine sees it, and the log directory.
#include "logdir.h"

#include <cstdio>
#include <cstring>

#include "logfile.h"
#include "moduleinfo.h"
#include "qdfdk.h"
#include "qdr/qdatomic.h"

namespace {

// Stands in for the matcher's MatchingFileNames over this list (one token, file
// name rules, case ignored), which is to replace it.
const char kJavaLaunchers[] = "java.exe;javaw.exe;javaws.exe;java;javaws;";

bool EqualIgnoringCase(const char* a, size_t aLen, const char* b) {
    if (strlen(b) != aLen) return false;
    for (size_t i = 0; i < aLen; ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

LazyGlobal<char> g_logDirSlot;
char g_logDir[kLogPathChars];

char* LogDirBuffer() {
    return g_logDirSlot.Get([] {
        snprintf(g_logDir, sizeof(g_logDir), "%s", GetExeDirA_());
        return g_logDir;
    });
}

}  // namespace

bool IsJavaLauncherName(const char* name) {
    const size_t nameLen = strlen(name);
    for (const char* token = kJavaLaunchers; *token;) {
        const char* end = strchr(token, ';');
        char one[16];
        snprintf(one, sizeof(one), "%.*s", static_cast<int>(end - token), token);
        if (EqualIgnoringCase(name, nameLen, one)) return true;
        token = end + 1;
    }
    return false;
}

const char* GetExeDirA_() {
    if (IsJavaLauncherName(GetExeName())) {
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
