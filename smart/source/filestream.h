// Private to the toolkit's sources: a stream closed on every way out, and the size
// of an open stream. They stand in for CFile and GetFileSizeOfStream of the path
// routines, which are to replace them.
#pragma once

#include <cstdint>
#include <cstdio>

#include "qdr/platform/os.h"

class FileStream {
public:
    FileStream(const char* path, const char* mode) : fp_(os::OpenFile(path, mode)) {}
    ~FileStream() { Close(); }
    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    FILE* fp() const { return fp_; }
    bool IsOpened() const { return fp_ != nullptr; }
    // Whether everything written reached the system.
    bool Close() {
        if (!fp_) return true;
        const bool closed = fclose(fp_) == 0;
        fp_ = nullptr;
        return closed;
    }

private:
    FILE* fp_;
};

// The 32-bit size of an open stream: -1 on failure and from 2 GiB on.
inline int32_t StreamSize(FILE* fp) {
    const int64_t size = os::FileSizeOfStream(fp);
    return size < 0 || size > INT32_MAX ? -1 : static_cast<int32_t>(size);
}
