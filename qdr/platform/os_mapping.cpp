// File mappings on mmap, named shared memory on shm_open; see os_mapping.h.
#include "os_mapping.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <mutex>
#include <string>

namespace os {

struct Mapping {
    int fd;
    int64_t size;
    bool isFile;
    char name[256];  // the shared memory's system name; empty for a file or a private one
    dev_t dev;
    ino_t ino;
};

namespace {

// The users of each named object in this process, so that the last one in the
// process that made it can unlink the name. A forked child inherits the table but
// not the making: `maker` is a process id.
struct NameUsers {
    int users = 0;
    pid_t maker = 0;
};
std::mutex g_namesLock;
std::map<std::string, NameUsers>& Names() {
    static std::map<std::string, NameUsers>* names = new std::map<std::string, NameUsers>;
    return *names;
}

size_t PageSize() {
    static const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return page;
}

// An open-file-description lock on the first byte: every user holds it shared; the
// maker holds it exclusive while it sizes the object.
bool LockFirstByte(int fd, short type, bool wait) {
    struct flock lock;
    memset(&lock, 0, sizeof(lock));
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 1;
    for (;;) {
        if (fcntl(fd, wait ? F_OFD_SETLKW : F_OFD_SETLK, &lock) == 0) return true;
        if (errno != EINTR) return false;
    }
}

// Whether the name still leads to the object open under `fd`: a maker may have
// unlinked it between our open and our lock.
bool NameLeadsTo(const char* name, int fd, struct stat* own) {
    if (fstat(fd, own) != 0) return false;
    const int again = shm_open(name, O_RDONLY | O_CLOEXEC, 0);
    if (again < 0) return false;
    struct stat st;
    const bool same =
        fstat(again, &st) == 0 && st.st_dev == own->st_dev && st.st_ino == own->st_ino;
    close(again);
    return same;
}

Mapping* NewMapping(int fd, int64_t size, bool isFile) {
    Mapping* m = new Mapping;
    m->fd = fd;
    m->size = size;
    m->isFile = isFile;
    m->name[0] = 0;
    m->dev = 0;
    m->ino = 0;
    return m;
}

// One attempt at the named object: 1 done, 0 try again (the name changed under
// us), -1 failed with errno set.
int OpenNamed(const char* name, int64_t size, int* fdOut, bool* created) {
    int fd = shm_open(name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    bool fresh = fd >= 0;
    if (!fresh) {
        if (errno != EEXIST) return -1;
        fd = shm_open(name, O_RDWR | O_CLOEXEC, 0);
        if (fd < 0) return errno == ENOENT ? 0 : -1;
    }
    // Fresh, or held by nobody (its maker died): this call sizes it. A new object
    // that another process took for a left-over one is joined instead.
    bool make = LockFirstByte(fd, F_WRLCK, false);
    if (!make && !LockFirstByte(fd, F_RDLCK, true)) {
        const int reason = errno;
        close(fd);
        errno = reason;
        return -1;
    }
    struct stat st;
    if (!NameLeadsTo(name, fd, &st)) {
        close(fd);
        return 0;
    }
    if (make) {
        if (ftruncate(fd, static_cast<off_t>(size)) != 0) {
            const int reason = errno;
            if (fresh) shm_unlink(name);
            close(fd);
            errno = reason;
            return -1;
        }
        LockFirstByte(fd, F_RDLCK, false);  // a conversion: nobody gets in between
    } else if (st.st_size < size) {
        close(fd);
        errno = EINVAL;
        return -1;
    }
    *fdOut = fd;
    *created = make;
    return 1;
}

}  // namespace

bool SharedMemoryName(const char* name, char* out, size_t capacity) {
    static const char kGlobal[] = "Global\\";
    if (strncmp(name, kGlobal, sizeof(kGlobal) - 1) == 0) name += sizeof(kGlobal) - 1;
    const size_t n = strlen(name);
    if (n + 2 > capacity || n + 1 > 255) return false;
    out[0] = '/';
    for (size_t i = 0; i <= n; ++i) out[i + 1] = name[i] == '\\' || name[i] == '/' ? '_' : name[i];
    return true;
}

Mapping* CreateFileMapping(intptr_t file, bool writable, int64_t size) {
    struct stat st;
    if (file < 0 || fstat(static_cast<int>(file), &st) != 0) return nullptr;
    if (size == 0) size = st.st_size;
    if (size > st.st_size) {
        if (!writable) {
            errno = EINVAL;
            return nullptr;
        }
        if (ftruncate(static_cast<int>(file), static_cast<off_t>(size)) != 0) return nullptr;
    }
    const int fd = fcntl(static_cast<int>(file), F_DUPFD_CLOEXEC, 0);
    if (fd < 0) return nullptr;
    return NewMapping(fd, size, true);
}

Mapping* CreateSharedMemory(const char* name, int64_t size, bool* created) {
    if (size <= 0) {
        errno = EINVAL;
        return nullptr;
    }
    if (!name) {
        const int fd = memfd_create("qd_mapping", MFD_CLOEXEC);
        if (fd < 0) return nullptr;
        if (ftruncate(fd, static_cast<off_t>(size)) != 0) {
            const int reason = errno;
            close(fd);
            errno = reason;
            return nullptr;
        }
        *created = true;
        return NewMapping(fd, size, false);
    }
    char systemName[256];
    if (!SharedMemoryName(name, systemName, sizeof(systemName))) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    int fd = -1;
    bool made = false;
    int step = 0;
    for (int attempt = 0; attempt < 16 && step == 0; ++attempt)
        step = OpenNamed(systemName, size, &fd, &made);
    if (step != 1) {
        if (step == 0) errno = EAGAIN;
        return nullptr;
    }
    Mapping* m = NewMapping(fd, size, false);
    memcpy(m->name, systemName, strlen(systemName) + 1);
    struct stat st;
    if (fstat(fd, &st) == 0) {
        m->dev = st.st_dev;
        m->ino = st.st_ino;
    }
    std::lock_guard<std::mutex> guard(g_namesLock);
    NameUsers& users = Names()[systemName];
    ++users.users;
    if (made) users.maker = getpid();
    *created = made;
    return m;
}

bool CloseMapping(Mapping* mapping) {
    if (!mapping) return false;
    if (mapping->name[0]) {
        std::lock_guard<std::mutex> guard(g_namesLock);
        auto it = Names().find(mapping->name);
        if (it != Names().end() && --it->second.users <= 0) {
            // Only the maker's object: a later one under the same name is not ours.
            struct stat own;
            if (it->second.maker == getpid() && NameLeadsTo(mapping->name, mapping->fd, &own))
                shm_unlink(mapping->name);
            Names().erase(it);
        }
    }
    const bool closed = close(mapping->fd) == 0;
    delete mapping;
    return closed;
}

void* MapView(Mapping* mapping, int64_t offset, size_t bytes, ViewAccess access, void* wantedBase) {
    if (!mapping || offset < 0 || offset >= mapping->size) {
        errno = EINVAL;
        return nullptr;
    }
    if (bytes == 0) bytes = static_cast<size_t>(mapping->size - offset);
    int64_t end = mapping->size;
    if (mapping->isFile) {
        struct stat st;
        if (fstat(mapping->fd, &st) != 0) return nullptr;
        if (st.st_size < end) end = st.st_size;
    }
    if (static_cast<int64_t>(bytes) > end - offset) {
        errno = EINVAL;
        return nullptr;
    }
    const size_t lead = static_cast<size_t>(offset) % PageSize();
    const int prot = access == kViewReadWrite ? PROT_READ | PROT_WRITE : PROT_READ;
    const int flags = access == kViewCopy ? MAP_PRIVATE : MAP_SHARED;
    char* base = wantedBase ? static_cast<char*>(wantedBase) - lead : nullptr;
    void* view = mmap(base, bytes + lead, prot, flags, mapping->fd,
                      static_cast<off_t>(offset - static_cast<int64_t>(lead)));
    if (view == MAP_FAILED) return nullptr;
    return static_cast<char*>(view) + lead;
}

namespace {
// The page-aligned span that holds [address, address + bytes).
char* PageStart(void* address, size_t bytes, size_t* span) {
    const uintptr_t at = reinterpret_cast<uintptr_t>(address);
    const uintptr_t start = at - at % PageSize();
    *span = bytes + (at - start);
    return reinterpret_cast<char*>(start);
}
}  // namespace

bool UnmapView(void* address, size_t bytes) {
    size_t span;
    char* start = PageStart(address, bytes, &span);
    return address && munmap(start, span) == 0;
}

bool FlushView(void* address, size_t bytes) {
    size_t span;
    char* start = PageStart(address, bytes, &span);
    return address && msync(start, span, MS_SYNC) == 0;
}

bool AllowPrivateWrites(void* address, size_t bytes) {
    size_t span;
    char* start = PageStart(address, bytes, &span);
    return address && mprotect(start, span, PROT_READ | PROT_WRITE) == 0;
}

}  // namespace os
