// The executable's directory as the engine sees it, and the log directory.
#include "logdir.h"

#include <cstdio>
#include <cstring>

#include "logfile.h"
#include "moduleinfo.h"
#include "qdr/platform/os.h"
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

// Stands in for IsValidAbsPath of the path routines: a drive with its separator,
// or a leading separator, which is this platform's root.
//   "/var/log" -> true;  "\logs" -> true;  "C:\logs" -> true;  "logs" -> false
bool IsAbsoluteDir(const char* dir) {
    if (dir[0] == '\\' || dir[0] == '/') return true;
    const bool letter = (dir[0] >= 'A' && dir[0] <= 'Z') || (dir[0] >= 'a' && dir[0] <= 'z');
    return letter && dir[1] == ':' && (dir[2] == '\\' || dir[2] == '/');
}

// Stands in for ComposeFileName: `base`, a '\' unless it ends in a separator, and
// `name`; "" when the result would not fit.
//   "/opt/app/", "logs" -> "/opt/app/logs";  "/home/x", "logs" -> "/home/x\logs"
void ComposeDir(const char* base, const char* name, char (&out)[kLogPathChars]) {
    const size_t baseLen = strlen(base);
    const bool endsInSeparator =
        baseLen > 0 && (base[baseLen - 1] == '\\' || base[baseLen - 1] == '/');
    const int n = snprintf(out, sizeof(out), "%s%s%s", base, endsInSeparator ? "" : "\\", name);
    if (n < 0 || n >= static_cast<int>(sizeof(out))) out[0] = 0;
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
        if (os::CurrentDirectory(current, kLogPathChars) == 0) current[0] = 0;
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
    char path[kLogPathChars] = "";
    if (!IsAbsoluteDir(dir))
        ComposeDir(GetExeDirA_(), dir, path);
    else if (strlen(dir) < sizeof(path))
        snprintf(path, sizeof(path), "%s", dir);
    // Stands in for CreateDirTree of the path routines; "" and long paths fail.
    if (!os::MakeDirectoryTree(path)) return 0;
    snprintf(stored, kLogPathChars, "%s", path);
    return 1;
}
