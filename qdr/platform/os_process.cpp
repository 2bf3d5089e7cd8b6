// Process identity, environment, standard error and the terminal, for the report box.
#include "os.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <link.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

namespace os {

namespace {

int CopyCut(const char* src, char* buffer, int capacity) {
    if (capacity <= 0) return 0;
    size_t n = strlen(src);
    if (n >= static_cast<size_t>(capacity)) n = static_cast<size_t>(capacity) - 1;
    memcpy(buffer, src, n);
    buffer[n] = 0;
    return static_cast<int>(n);
}

}  // namespace

int ProgramPath(char* buffer, int capacity) {
    if (capacity <= 1) return 0;
    ssize_t n = readlink("/proc/self/exe", buffer, static_cast<size_t>(capacity) - 1);
    if (n <= 0) {
        buffer[0] = 0;
        return 0;
    }
    buffer[n] = 0;
    return static_cast<int>(n);
}

namespace {

// dladdr names the executable by its argv[0]; the executable is the first object
// that dl_iterate_phdr visits, so test whether the address lies in one of its segments.
bool LiesInExecutable(const void* address) {
    struct Query {
        uintptr_t address;
        bool found;
    } query = {reinterpret_cast<uintptr_t>(address), false};
    dl_iterate_phdr(
        [](dl_phdr_info* object, size_t, void* data) -> int {
            Query* q = static_cast<Query*>(data);
            for (int i = 0; i < object->dlpi_phnum; ++i) {
                const ElfW(Phdr)& segment = object->dlpi_phdr[i];
                uintptr_t start = object->dlpi_addr + segment.p_vaddr;
                if (segment.p_type == PT_LOAD && q->address >= start &&
                    q->address < start + segment.p_memsz)
                    q->found = true;
            }
            return 1;  // only the first object, the executable
        },
        &query);
    return query.found;
}

}  // namespace

int ModulePathOf(const void* address, char* buffer, int capacity) {
    if (LiesInExecutable(address)) return ProgramPath(buffer, capacity);
    Dl_info info;
    if (!dladdr(address, &info) || !info.dli_fname || !info.dli_fname[0]) return 0;
    return CopyCut(info.dli_fname, buffer, capacity);
}

void JoinedArguments(char* buffer, int capacity) {
    if (capacity <= 0) return;
    buffer[0] = 0;
    int fd = open("/proc/self/cmdline", O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    char raw[4096];
    ssize_t total = 0;
    for (;;) {
        ssize_t n = read(fd, raw + total, sizeof(raw) - static_cast<size_t>(total));
        if (n <= 0) break;
        total += n;
        if (total == static_cast<ssize_t>(sizeof(raw))) break;
    }
    close(fd);
    int used = 0;
    ssize_t pos = 0;
    // Skip the program name, then put one blank before each argument.
    while (pos < total && raw[pos]) ++pos;
    ++pos;
    while (pos < total && used < capacity - 1) {
        buffer[used++] = ' ';
        while (pos < total && raw[pos] && used < capacity - 1) buffer[used++] = raw[pos++];
        while (pos < total && raw[pos]) ++pos;
        ++pos;
    }
    buffer[used] = 0;
}

const char* GetEnv(const char* name) {
    return getenv(name);
}

bool IsRootUser() {
    return geteuid() == 0;
}

int GetLastError() {
    return errno;
}
void SetLastError(int value) {
    errno = value;
}

void WriteStderr(const char* text, size_t length) {
    while (length > 0) {
        ssize_t n = write(STDERR_FILENO, text, length);
        if (n < 0) {
            if (errno == EINTR) continue;
            return;
        }
        text += n;
        length -= static_cast<size_t>(n);
    }
}

bool StdinAndStderrAreTerminals() {
    return isatty(STDIN_FILENO) && isatty(STDERR_FILENO);
}

char AskTerminal(const char* prompt) {
    int fd = open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (fd < 0) return 0;
    char answer = 0;
    while (!answer) {
        if (write(fd, prompt, strlen(prompt)) < 0) break;
        char line[64];
        ssize_t n = read(fd, line, sizeof(line));
        if (n <= 0) break;
        char c = line[0];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c == 'a' || c == 'r' || c == 'i') answer = c;
    }
    close(fd);
    return answer;
}

void ExitImmediately(int status) {
    _exit(status);
}

}  // namespace os
