#include "read_file.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

int64_t ReadFileWithRead(const char* path, unsigned char* buffer, size_t bufferSize,
                         void (*consume)(void* param, const unsigned char* bytes, size_t n),
                         void* param) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return -1;
    int64_t total = 0;
    for (;;) {
        const ssize_t n = read(fd, buffer, bufferSize);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) total = -1;
        if (n <= 0) break;
        consume(param, buffer, static_cast<size_t>(n));
        total += n;
    }
    close(fd);
    return total;
}
