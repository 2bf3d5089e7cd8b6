// The file system on POSIX calls. The one translation of path text happens in
// SystemPath: `\` becomes `/`.
#include "os_files.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace os {

namespace {

// A path of the library handed to the system.
//   "\var\log\app.log" -> "/var/log/app.log"
//   "logs\a"           -> "logs/a"
//   "C:\x", "\\srv\s"  -> refused (ENOENT): they name nothing here
class SystemPath {
public:
    explicit SystemPath(const char* path) : ok_(false) {
        text_[0] = 0;
        if (!path) {
            errno = EFAULT;
            return;
        }
        const size_t n = strlen(path);
        if (n >= sizeof(text_)) {
            errno = ENAMETOOLONG;
            return;
        }
        const bool drive =
            n >= 2 && path[1] == ':' &&
            ((path[0] >= 'a' && path[0] <= 'z') || (path[0] >= 'A' && path[0] <= 'Z'));
        const bool network = n >= 2 && IsSlash(path[0]) && IsSlash(path[1]);
        if (drive || network) {
            errno = ENOENT;
            return;
        }
        for (size_t i = 0; i <= n; ++i) text_[i] = path[i] == '\\' ? '/' : path[i];
        ok_ = true;
    }
    bool ok() const { return ok_; }
    const char* c_str() const { return text_; }
    char* data() { return text_; }

private:
    static bool IsSlash(char c) { return c == '\\' || c == '/'; }

    char text_[4096];
    bool ok_;
};

// Keeps errno across the clean-up of a failed step.
class KeepErrno {
public:
    KeepErrno() : saved_(errno) {}
    ~KeepErrno() { errno = saved_; }

private:
    int saved_;
};

bool IsHiddenName(const char* name) {
    return name[0] == '.' && strcmp(name, ".") != 0 && strcmp(name, "..") != 0;
}

// The name part of a system path, with trailing separators ignored.
//   "/a/.b/" -> ".b"
void LastComponent(const char* path, char* out, size_t capacity) {
    size_t end = strlen(path);
    while (end > 1 && path[end - 1] == '/') --end;
    size_t start = end;
    while (start > 0 && path[start - 1] != '/') --start;
    size_t n = end - start;
    if (n >= capacity) n = capacity - 1;
    memcpy(out, path + start, n);
    out[n] = 0;
}

// The attributes of `name` relative to `dirFd`; `lastName` decides the hidden bit.
uint32_t AttributesAt(int dirFd, const char* name, const char* lastName) {
    struct stat st;
    uint32_t attributes = 0;
    if (fstatat(dirFd, name, &st, 0) != 0) {
        // A link whose target is gone still exists as a thing that can be removed.
        if (fstatat(dirFd, name, &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISLNK(st.st_mode))
            return kInvalidFileAttributes;
        attributes |= kFileAttributeReparsePoint;
    } else {
        struct stat link;
        if (fstatat(dirFd, name, &link, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(link.st_mode))
            attributes |= kFileAttributeReparsePoint;
        if (S_ISDIR(st.st_mode)) attributes |= kFileAttributeDirectory;
        if (faccessat(dirFd, name, W_OK, AT_EACCESS) != 0) attributes |= kFileAttributeReadOnly;
    }
    if (IsHiddenName(lastName)) attributes |= kFileAttributeHidden;
    return attributes;
}

bool IsDirectoryNotLink(const char* systemPath) {
    struct stat st;
    return lstat(systemPath, &st) == 0 && S_ISDIR(st.st_mode);
}

bool WriteAll(int fd, const void* data, size_t bytes) {
    const char* p = static_cast<const char*>(data);
    while (bytes > 0) {
        const ssize_t n = write(fd, p, bytes);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n;
        bytes -= static_cast<size_t>(n);
    }
    return true;
}

// Renames without replacing an existing `to`. Where the file system cannot rename
// that way, the test and the rename are two steps.
bool RenameNoReplace(const char* from, const char* to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    struct stat st;
    if (lstat(to, &st) == 0) {
        errno = EEXIST;
        return false;
    }
    return rename(from, to) == 0;
}

// Opens a system path that must name a regular file; anything else is closed again
// and refused with EISDIR for a directory, `otherErrno` for the rest. -1 on failure.
int OpenRegular(const char* systemPath, int flags, int otherErrno, struct stat* st) {
    const int fd = open(systemPath, flags);
    if (fd < 0) return -1;
    const bool known = fstat(fd, st) == 0;
    if (!known || !S_ISREG(st->st_mode)) {
        const int error = !known ? errno : S_ISDIR(st->st_mode) ? EISDIR : otherErrno;
        close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

// The copy proper, between system paths.
bool CopySystemFile(const char* from, const char* to, bool failIfExists) {
    struct stat st;
    const int in = OpenRegular(from, O_RDONLY | O_CLOEXEC, EINVAL, &st);
    if (in < 0) return false;
    struct stat existing;
    if (failIfExists && lstat(to, &existing) == 0) {
        close(in);
        errno = EEXIST;
        return false;
    }
    char temp[4096 + 16];
    if (snprintf(temp, sizeof(temp), "%s.~cpXXXXXX", to) >= static_cast<int>(sizeof(temp))) {
        close(in);
        errno = ENAMETOOLONG;
        return false;
    }
    const int out = mkostemp(temp, O_CLOEXEC);
    if (out < 0) {
        KeepErrno keep;
        close(in);
        return false;
    }
    bool ok = true;
    char block[65536];
    for (;;) {
        const ssize_t n = read(in, block, sizeof(block));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) ok = false;
        if (n <= 0 || !ok) break;
        if (!WriteAll(out, block, static_cast<size_t>(n))) {
            ok = false;
            break;
        }
    }
    if (ok) ok = fchmod(out, st.st_mode & 07777) == 0;
    const struct timespec times[2] = {st.st_atim, st.st_mtim};
    if (ok) ok = futimens(out, times) == 0;
    if (close(out) != 0) ok = false;
    close(in);
    if (ok) ok = failIfExists ? RenameNoReplace(temp, to) : rename(temp, to) == 0;
    if (!ok) {
        KeepErrno keep;
        unlink(temp);
    }
    return ok;
}

}  // namespace

// ---- attributes ---------------------------------------------------------------

uint32_t FileAttributes(const char* path) {
    SystemPath p(path);
    if (!p.ok()) return kInvalidFileAttributes;
    char last[256];
    LastComponent(p.c_str(), last, sizeof(last));
    return AttributesAt(AT_FDCWD, p.c_str(), last);
}

bool LastErrorIsInvalidName() {
    return errno == ENAMETOOLONG;
}

// ---- directories --------------------------------------------------------------

bool CreateDirectory(const char* path) {
    SystemPath p(path);
    return p.ok() && mkdir(p.c_str(), 0777) == 0;
}

bool RemoveDirectory(const char* path) {
    SystemPath p(path);
    if (!p.ok()) return false;
    struct stat st;
    if (lstat(p.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) return unlink(p.c_str()) == 0;
    return rmdir(p.c_str()) == 0;
}

int CurrentDirectory(char* buffer, int capacity) {
    if (!buffer || capacity <= 0) return 0;
    if (!getcwd(buffer, static_cast<size_t>(capacity))) {
        buffer[0] = 0;
        return 0;
    }
    return static_cast<int>(strlen(buffer));
}

bool ChangeDirectory(const char* path) {
    SystemPath p(path);
    return p.ok() && chdir(p.c_str()) == 0;
}

int TempDirectory(char* buffer, int capacity) {
    const char* dir = getenv("TMPDIR");
    if (!dir || !*dir) dir = "/tmp";
    const size_t n = strlen(dir);
    const bool slash = dir[n - 1] == '/';
    if (!buffer || n + (slash ? 0 : 1) + 1 > static_cast<size_t>(capacity)) return 0;
    memcpy(buffer, dir, n);
    size_t len = n;
    if (!slash) buffer[len++] = '/';
    buffer[len] = 0;
    return static_cast<int>(len);
}

struct DirectoryListing {
    DIR* dir;
};

DirectoryListing* OpenDirectoryListing(const char* dir) {
    SystemPath p(dir);
    if (!p.ok()) return nullptr;
    DIR* d = opendir(p.c_str()[0] ? p.c_str() : ".");
    if (!d) return nullptr;
    DirectoryListing* listing = new DirectoryListing;
    listing->dir = d;
    return listing;
}

bool NextDirectoryEntry(DirectoryListing* listing, char* name, int capacity, uint32_t* attributes) {
    if (!listing || !name || capacity <= 0) return false;
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(listing->dir);
        if (!entry) return false;
        const size_t n = strlen(entry->d_name);
        if (n >= static_cast<size_t>(capacity)) continue;  // cannot be named in the buffer
        memcpy(name, entry->d_name, n + 1);
        if (attributes) *attributes = AttributesAt(dirfd(listing->dir), entry->d_name, name);
        return true;
    }
}

void CloseDirectoryListing(DirectoryListing* listing) {
    if (!listing) return;
    closedir(listing->dir);
    delete listing;
}

// ---- files by name ----------------------------------------------------------------

bool DeleteFile(const char* path) {
    SystemPath p(path);
    if (!p.ok()) return false;
    if (IsDirectoryNotLink(p.c_str())) {
        errno = EISDIR;
        return false;
    }
    return unlink(p.c_str()) == 0;
}

bool MovePath(const char* from, const char* to) {
    SystemPath f(from), t(to);
    if (!f.ok() || !t.ok()) return false;
    if (RenameNoReplace(f.c_str(), t.c_str())) return true;
    if (errno != EXDEV || IsDirectoryNotLink(f.c_str())) return false;
    if (!CopySystemFile(f.c_str(), t.c_str(), true)) return false;
    if (unlink(f.c_str()) == 0) return true;
    KeepErrno keep;
    unlink(t.c_str());
    return false;
}

bool CopyFile(const char* from, const char* to, bool failIfExists) {
    SystemPath f(from), t(to);
    return f.ok() && t.ok() && CopySystemFile(f.c_str(), t.c_str(), failIfExists);
}

int64_t FileSize(const char* path) {
    SystemPath p(path);
    struct stat st;
    if (!p.ok() || stat(p.c_str(), &st) != 0) return -1;
    if (S_ISDIR(st.st_mode)) {
        errno = EISDIR;
        return -1;
    }
    return static_cast<int64_t>(st.st_size);
}

int64_t FileModifyTimeSeconds(const char* path) {
    SystemPath p(path);
    struct stat st;
    if (!p.ok() || stat(p.c_str(), &st) != 0) return -1;
    return static_cast<int64_t>(st.st_mtim.tv_sec);
}

bool SetFileModifyTimeMs(const char* path, int64_t msSince1970) {
    SystemPath p(path);
    if (!p.ok()) return false;
    struct timespec times[2];
    times[0].tv_sec = 0;
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = static_cast<time_t>(msSince1970 / 1000);
    times[1].tv_nsec = static_cast<long>(msSince1970 % 1000) * 1000000L;
    return utimensat(AT_FDCWD, p.c_str(), times, 0) == 0;
}

bool DiskSpace(const char* path, uint64_t* freeToCaller, uint64_t* total) {
    SystemPath p(path);
    if (!p.ok()) return false;
    char* text = p.data();
    if (!text[0]) strcpy(text, ".");
    struct statvfs vfs;
    // Walk up to the nearest part of the path that exists.
    while (statvfs(text, &vfs) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) return false;
        char* slash = strrchr(text, '/');
        if (!slash) {
            strcpy(text, ".");
        } else if (slash == text) {
            text[1] = 0;
        } else {
            *slash = 0;
        }
        if (!strcmp(text, ".") && statvfs(text, &vfs) != 0) return false;
    }
    if (freeToCaller) *freeToCaller = static_cast<uint64_t>(vfs.f_bavail) * vfs.f_frsize;
    if (total) *total = static_cast<uint64_t>(vfs.f_blocks) * vfs.f_frsize;
    return true;
}

// ---- handles ------------------------------------------------------------------

intptr_t OpenFileHandle(const char* path, uint32_t access, uint32_t disposition) {
    SystemPath p(path);
    if (!p.ok()) return kInvalidHandle;
    int flags = O_CLOEXEC;
    const bool read = (access & kGenericRead) != 0, write = (access & kGenericWrite) != 0;
    flags |= read && write ? O_RDWR : write ? O_WRONLY : O_RDONLY;
    switch (disposition) {
        case kCreateNew:
            flags |= O_CREAT | O_EXCL;
            break;
        case kCreateAlways:
            flags |= O_CREAT | O_TRUNC;
            break;
        case kOpenExisting:
            break;
        case kOpenAlways:
            flags |= O_CREAT;
            break;
        case kTruncateExisting:
            flags |= O_TRUNC;
            break;
        default:
            errno = EINVAL;
            return kInvalidHandle;
    }
    // No access at all only looks at the file, which needs no right to read it.
    if (!read && !write && !(flags & (O_CREAT | O_TRUNC))) flags = O_PATH | O_CLOEXEC;
    const int fd = open(p.c_str(), flags, 0666);
    if (fd < 0) return kInvalidHandle;
    struct stat st;
    if (fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        close(fd);
        errno = EISDIR;  // the platform opens no directory as a file
        return kInvalidHandle;
    }
    return fd;
}

intptr_t OpenRegularFileHandle(const char* path, bool writable) {
    SystemPath p(path);
    if (!p.ok()) return kInvalidHandle;
    // O_NONBLOCK: a FIFO without a writer would hold the open forever.
    struct stat st;
    const int fd = OpenRegular(p.c_str(), (writable ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NONBLOCK,
                               ENODEV, &st);
    return fd < 0 ? kInvalidHandle : fd;
}

int64_t FileHandleSize(intptr_t handle) {
    struct stat st;
    if (handle < 0 || fstat(static_cast<int>(handle), &st) != 0) return -1;
    return static_cast<int64_t>(st.st_size);
}

bool CloseFileHandle(intptr_t handle) {
    return handle >= 0 && close(static_cast<int>(handle)) == 0;
}

bool SetFileHandleLength(intptr_t handle, int64_t length) {
    return handle >= 0 && length >= 0 &&
           ftruncate(static_cast<int>(handle), static_cast<off_t>(length)) == 0;
}

// ---- streams --------------------------------------------------------------------

FILE* OpenFile(const char* path, const char* mode) {
    SystemPath p(path);
    if (!p.ok() || !mode) return nullptr;
    char withCloseOnExec[16];
    if (snprintf(withCloseOnExec, sizeof(withCloseOnExec), "%se", mode) >=
        static_cast<int>(sizeof(withCloseOnExec))) {
        errno = EINVAL;
        return nullptr;
    }
    return fopen(p.c_str(), withCloseOnExec);
}

FILE* OpenAppendingStream(const char* path, const char* mode) {
    SystemPath p(path);
    if (!p.ok() || !mode) return nullptr;
    int flags;
    const char* streamMode;
    if (!strcmp(mode, "wb")) {
        flags = O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC;
        streamMode = "ab";
    } else if (!strcmp(mode, "rb+")) {
        // The stream only writes: one that may read keeps part of its buffer for
        // reading after a seek, and would then hand out a line in two pieces.
        flags = O_RDWR | O_APPEND | O_CLOEXEC;
        streamMode = "ab";
    } else {
        errno = EINVAL;
        return nullptr;
    }
    const int fd = open(p.c_str(), flags, 0666);
    if (fd < 0) return nullptr;
    FILE* stream = fdopen(fd, streamMode);
    if (!stream) {
        KeepErrno keep;
        close(fd);
    }
    return stream;
}

int64_t FileSizeOfStream(FILE* stream) {
    struct stat st;
    if (!stream || fstat(fileno(stream), &st) != 0) return -1;
    return static_cast<int64_t>(st.st_size);
}

bool SetStreamFileLength(FILE* stream, int64_t length) {
    return stream && length >= 0 && ftruncate(fileno(stream), static_cast<off_t>(length)) == 0;
}

size_t AppendToStreamFile(FILE* stream, const void* data, size_t bytes) {
    if (!stream) return 0;
    const int fd = fileno(stream);
    const char* p = static_cast<const char*>(data);
    size_t done = 0;
    while (done < bytes) {
        const ssize_t n = write(fd, p + done, bytes - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        done += static_cast<size_t>(n);
    }
    return done;
}

bool ReserveStreamFileRoom(FILE* stream, int64_t offset, int64_t bytes) {
    if (!stream || offset < 0 || bytes <= 0) return false;
    int r;
    do r = fallocate(fileno(stream), FALLOC_FL_KEEP_SIZE, offset, bytes);
    while (r != 0 && errno == EINTR);
    return r == 0;
}

bool CutStreamFileTail(FILE* stream, const void* tail, size_t bytes) {
    struct stat st;
    if (!stream || bytes == 0 || fstat(fileno(stream), &st) != 0 ||
        static_cast<uint64_t>(st.st_size) < bytes)
        return false;
    // Another process may have appended behind the piece since: then the end of
    // the file is no longer ours to cut.
    const off_t at = st.st_size - static_cast<off_t>(bytes);
    char seen[4096];
    for (size_t checked = 0; checked < bytes;) {
        const size_t chunk = bytes - checked < sizeof(seen) ? bytes - checked : sizeof(seen);
        const ssize_t n = pread(fileno(stream), seen, chunk, at + static_cast<off_t>(checked));
        if (n < 0 && errno == EINTR) continue;
        if (n != static_cast<ssize_t>(chunk) ||
            memcmp(seen, static_cast<const char*>(tail) + checked, chunk) != 0)
            return false;
        checked += chunk;
    }
    return ftruncate(fileno(stream), at) == 0;
}

PathMatch StreamFileAtPath(FILE* stream, const char* path) {
    SystemPath p(path);
    struct stat open, named;
    if (!stream || !p.ok() || fstat(fileno(stream), &open) != 0) return PathMatch::kUnknown;
    if (stat(p.c_str(), &named) != 0)
        return errno == ENOENT || errno == ENOTDIR ? PathMatch::kOther : PathMatch::kUnknown;
    return open.st_dev == named.st_dev && open.st_ino == named.st_ino ? PathMatch::kSame
                                                                      : PathMatch::kOther;
}

}  // namespace os
