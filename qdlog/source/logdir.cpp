// The executable's directory as the engine sees it, the log directory, and the
// place of qdlog.ini.
#include "logdir.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

#include "logfile.h"
#include "moduleinfo.h"
#include "qdfdk.h"
#include "qdr/platform/os.h"
#include "qdr/platform/os_files.h"
#include "qdr/qdatomic.h"
#include "strdk_match.h"

namespace {

LazyGlobal<char> g_logDirSlot;
char g_logDir[kLogPathChars];
char g_shownLogDir[kLogPathChars];

bool IsWritableDir(const char* dir) {
    const uint32_t attributes = os::FileAttributes(dir);
    return attributes != os::kInvalidFileAttributes && (attributes & os::kFileAttributeDirectory) &&
           !(attributes & os::kFileAttributeReadOnly);
}

// The system's program directories, which hold no logs even where root may write:
//   "\usr\bin\" -> true, "\opt\app\bin\" -> false
bool IsSystemProgramDir(const char* dir) {
    static const char* const kProgramDirs[] = {
        "/bin",           "/sbin",           "/usr/bin",     "/usr/sbin",
        "/usr/local/bin", "/usr/local/sbin", "/usr/libexec", "/usr/games",
    };
    char shown[kLogPathChars];
    ShowPath(dir, shown, sizeof(shown));
    size_t length = strlen(shown);
    while (length > 1 && shown[length - 1] == '/') shown[--length] = 0;
    for (const char* programDir : kProgramDirs)
        if (!strcmp(shown, programDir)) return true;
    return false;
}

// Where an installed program logs when it cannot write beside itself:
//   root:   /var/log/<program>
//   others: $XDG_STATE_HOME/<program>/logs, or ~/.local/state/<program>/logs
bool ComposeStateLogDir(char (&dir)[kLogPathChars]) {
    const char* program = GetExeName();
    const char* state = os::GetEnv("XDG_STATE_HOME");
    const char* home = os::GetEnv("HOME");
    int n;
    if (os::IsRootUser())
        n = snprintf(dir, sizeof(dir), "/var/log/%s", program);
    else if (state && state[0] == '/')
        n = snprintf(dir, sizeof(dir), "%s/%s/logs", state, program);
    else if (home && home[0] == '/')
        n = snprintf(dir, sizeof(dir), "%s/.local/state/%s/logs", home, program);
    else
        return false;
    if (!program[0] || n < 0 || n >= static_cast<int>(sizeof(dir))) return false;
    // The engine composes in its grammar's form.
    for (char* c = dir; *c; ++c)
        if (*c == '/') *c = '\\';
    return true;
}

void SayOnce(const char* exeDir, const char* fallback) {
    static std::atomic<bool> said{false};
    if (said.exchange(true)) return;
    char exeShown[kLogPathChars], fallbackShown[kLogPathChars], text[3 * kLogPathChars];
    ShowPath(exeDir, exeShown, sizeof(exeShown));
    ShowPath(fallback, fallbackShown, sizeof(fallbackShown));
    const int n =
        fallback[0]
            ? snprintf(text, sizeof(text), "qdlog: no log files in %s; they go to %s\n", exeShown,
                       fallbackShown)
            : snprintf(text, sizeof(text),
                       "qdlog: no log files in %s, and no state directory for them\n", exeShown);
    if (n > 0) os::WriteStderr(text, std::min(static_cast<size_t>(n), sizeof(text) - 1));
}

// The default log directory: beside the executable, unless the process cannot write
// there or it is a system program directory (a program in /usr/bin); then the
// state directory, said once on standard error.
void ComposeDefaultLogDir(char* dir) {
    const char* exeDir = GetExeDirA_();
    snprintf(dir, kLogPathChars, "%s", exeDir);
    if (IsWritableDir(exeDir) && !IsSystemProgramDir(exeDir)) return;
    char fallback[kLogPathChars];
    if (ComposeStateLogDir(fallback) && CreateDirTree(fallback)) {
        snprintf(dir, kLogPathChars, "%s", fallback);
        SayOnce(exeDir, fallback);
    } else {
        SayOnce(exeDir, "");
    }
}

void StoreLogDir(const char* dir) {
    snprintf(g_logDir, sizeof(g_logDir), "%s", dir);
    ShowPath(g_logDir, g_shownLogDir, sizeof(g_shownLogDir));
}

char* LogDirBuffer() {
    return g_logDirSlot.Get([] {
        char dir[kLogPathChars];
        ComposeDefaultLogDir(dir);
        StoreLogDir(dir);
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

const char* ShownLogDirectory() {
    LogDirBuffer();
    return g_shownLogDir;
}

void ShowPath(const char* path, char* shown, size_t capacity) {
    if (!capacity) return;
    size_t i = 0;
    for (; path[i] && i + 1 < capacity; ++i) shown[i] = path[i] == '\\' ? '/' : path[i];
    shown[i] = 0;
}

bool NamedConfigFile(char* path, size_t capacity) {
    const char* named = os::GetEnv("QDLOG_INI");
    if (!named || !named[0] || strlen(named) >= capacity) return false;
    strcpy(path, named);
    return true;
}

// The texts are stored in fixed buffers without a lock, so that the pointer of
// QDLogGetDir never dangles; setting them belongs to start-up, ahead of the events
// that open files. The open file and the list of old files stay as they are.
int SetLogDirectory(const char* dir) {
    LogDirBuffer();
    if (!dir || !dir[0]) {
        char defaultDir[kLogPathChars];
        ComposeDefaultLogDir(defaultDir);
        StoreLogDir(defaultDir);
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
    StoreLogDir(path);
    return 1;
}
