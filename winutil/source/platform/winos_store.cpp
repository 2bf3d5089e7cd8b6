// The per-user store's files and the named lock's file.
#include "winos.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

namespace winos {

bool StoreDirectory(char* buffer, int capacity) {
    const char* state = getenv("XDG_STATE_HOME");
    int n;
    if (state && *state) {
        n = snprintf(buffer, static_cast<size_t>(capacity), "%s/qdregistry/", state);
    } else {
        const char* home = getenv("HOME");
        if (!home || !*home) return false;
        n = snprintf(buffer, static_cast<size_t>(capacity), "%s/.local/state/qdregistry/", home);
    }
    return n > 0 && n < capacity;
}

int MakeDirectories(const char* dir) {
    std::string path(dir);
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    if (IsDirectory(path.c_str())) return 0;
    for (size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        const std::string part = path.substr(0, slash);
        if (mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) return -1;
    }
    if (mkdir(path.c_str(), 0700) == 0) return 1;
    return errno == EEXIST && IsDirectory(path.c_str()) ? 0 : -1;
}

bool IsDirectory(const char* path) {
    struct stat st;
    return stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

bool IsRegularFile(const char* path) {
    struct stat st;
    return stat(path, &st) == 0 && S_ISREG(st.st_mode);
}

int ReadSmallFile(const char* path, char* buffer, int capacity) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return -1;
    int used = 0;
    for (;;) {
        const ssize_t n = read(fd, buffer + used, static_cast<size_t>(capacity - used));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            close(fd);
            return n == 0 ? used : -1;
        }
        used += static_cast<int>(n);
        if (used >= capacity) {
            close(fd);
            return -1;
        }
    }
}

bool ReplaceFile(const char* path, const char* data, int length) {
    std::string temp(path);
    const size_t slash = temp.rfind('/');
    char unique[48];
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    snprintf(unique, sizeof(unique), ".~%d-%ld-%ld", static_cast<int>(getpid()),
             static_cast<long>(syscall(SYS_gettid)), static_cast<long>(ts.tv_nsec));
    temp.insert(slash == std::string::npos ? 0 : slash + 1, unique);
    const int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    int done = 0;
    while (done < length) {
        const ssize_t n = write(fd, data + done, static_cast<size_t>(length - done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        done += static_cast<int>(n);
    }
    const bool ok = done == length && fsync(fd) == 0;
    if (close(fd) != 0 || !ok || rename(temp.c_str(), path) != 0) {
        unlink(temp.c_str());
        return false;
    }
    return true;
}

bool RemoveFile(const char* path) {
    return IsRegularFile(path) && unlink(path) == 0;
}

bool RemoveDirectoryWithFiles(const char* dir) {
    DIR* d = opendir(dir);
    if (!d) return false;
    std::vector<std::string> files;
    bool hasDirectories = false;
    while (struct dirent* e = readdir(d)) {
        if (!strcmp(e->d_name, ".") || !strcmp(e->d_name, "..")) continue;
        const std::string path = std::string(dir) + "/" + e->d_name;
        if (IsDirectory(path.c_str()))
            hasDirectories = true;
        else
            files.push_back(path);
    }
    closedir(d);
    if (hasDirectories) return false;
    for (const std::string& file : files) unlink(file.c_str());
    return rmdir(dir) == 0;
}

bool ListRegularFiles(const char* dir, std::vector<std::string>* names) {
    names->clear();
    DIR* d = opendir(dir);
    if (!d) return false;
    while (struct dirent* e = readdir(d)) {
        if (!strncmp(e->d_name, ".~", 2)) continue;
        // An entry that vanished meanwhile is not a file any more: skipped.
        if (IsRegularFile((std::string(dir) + "/" + e->d_name).c_str()))
            names->push_back(e->d_name);
    }
    closedir(d);
    std::sort(names->begin(), names->end());
    return true;
}

intptr_t OpenLockFile(const char* path) {
    const mode_t old = umask(0);
    const int fd = open(path, O_RDONLY | O_CREAT | O_CLOEXEC, 0666);
    umask(old);
    return fd < 0 ? 0 : static_cast<intptr_t>(fd) + 1;
}

bool CloseLockFile(intptr_t handle) {
    return handle > 0 && close(static_cast<int>(handle - 1)) == 0;
}

bool LockLockFile(intptr_t handle, uint32_t timeoutMs) {
    const int fd = static_cast<int>(handle - 1);
    if (timeoutMs == 0xFFFFFFFFu) {
        int r;
        while ((r = flock(fd, LOCK_EX)) != 0 && errno == EINTR) {
        }
        return r == 0;
    }
    for (uint32_t waited = 0;; ++waited) {
        if (flock(fd, LOCK_EX | LOCK_NB) == 0) return true;
        if (errno != EWOULDBLOCK && errno != EINTR) return false;
        if (waited >= timeoutMs) return false;
        usleep(1000);
    }
}

bool UnlockLockFile(intptr_t handle) {
    return flock(static_cast<int>(handle - 1), LOCK_UN) == 0;
}

}  // namespace winos
