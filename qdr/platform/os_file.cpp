// Files and directories, on stdio and POSIX calls. The only place where a path of
// the library's grammar becomes a path of the system.
#include "os.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

namespace os {

namespace {

constexpr int kPathChars = 512;

// Copies `path` with every '\' turned into '/'; false for null, empty or too long.
//   "C:\logs\a.log" -> "C:/logs/a.log";  "/var/log\app" -> "/var/log/app"
bool ToSystemPath(const char* path, char (&out)[kPathChars]) {
    if (!path || !path[0]) return false;
    const size_t len = strlen(path);
    if (len >= static_cast<size_t>(kPathChars)) return false;
    for (size_t i = 0; i <= len; ++i) out[i] = path[i] == '\\' ? '/' : path[i];
    return true;
}

bool IsDirectory(const char* systemPath) {
    struct stat st;
    return stat(systemPath, &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace

FILE* OpenFile(const char* path, const char* mode) {
    char systemPath[kPathChars];
    if (!mode || !ToSystemPath(path, systemPath)) return nullptr;
    return fopen(systemPath, mode);
}

int64_t FileSizeOfStream(FILE* stream) {
    if (!stream) return -1;
    struct stat st;
    if (fstat(fileno(stream), &st) != 0) return -1;
    return static_cast<int64_t>(st.st_size);
}

bool PathExists(const char* path) {
    char systemPath[kPathChars];
    if (!ToSystemPath(path, systemPath)) return false;
    struct stat st;
    return stat(systemPath, &st) == 0;
}

bool MakeDirectoryTree(const char* path) {
    char systemPath[kPathChars];
    if (!ToSystemPath(path, systemPath)) return false;
    // Each prefix that ends before a separator is a parent; the root needs nothing.
    for (char* p = systemPath + 1; *p; ++p) {
        if (*p != '/') continue;
        *p = 0;
        if (mkdir(systemPath, 0777) != 0 && errno != EEXIST) {
            *p = '/';
            return false;
        }
        *p = '/';
    }
    if (mkdir(systemPath, 0777) != 0 && errno != EEXIST) return false;
    return IsDirectory(systemPath);
}

int CurrentDirectory(char* buffer, int capacity) {
    if (!buffer || capacity < 2) return 0;
    if (!getcwd(buffer, static_cast<size_t>(capacity))) {
        buffer[0] = 0;
        return 0;
    }
    return static_cast<int>(strlen(buffer));
}

}  // namespace os
