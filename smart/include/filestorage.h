// FileStorage: a random-access file on a C stream. It tracks the stream's position
// so that sequential access never seeks, flushes only when a read follows a write
// or the caller asks, and can put a RingBuffer (the read snubber) in front of its
// reads, so that a reader moving slowly forwards or backwards in small steps does
// not go to the stream for each one. Offsets and sizes are 32-bit: a file must stay
// below 2 GiB.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

#include "binary.h"
#include "cfile.h"
#include "ringbuffer.h"

class FileStorage {
public:
    // Open modes: read only; read and write an existing file; read and write,
    // creating the file if absent; replace (created with its parent directories).
    enum { kReadOnly = 0, kReadWrite = 1, kReadWriteCreate = 2, kReplace = 3 };

    FileStorage();
    ~FileStorage() { Close(); }
    FileStorage(const FileStorage&) = delete;
    FileStorage& operator=(const FileStorage&) = delete;

    // readSnubberSize > 0 keeps that many of the most recently read bytes.
    bool Open(const char* filename, int mode, int readSnubberSize);
    void Close();
    // Hands over the stream, no longer owned, and closes the object without it.
    FILE* Detach(int* writable, char* path);
    bool IsOpened() const { return m_fp.IsOpened(); }
    bool IsWritable() const { return m_writable != 0; }

    // With refresh on a read-only object, the size is read again from the file.
    int GetFileSize(bool refresh = false);
    bool SetFileSize(int size);
    // Bytes read, or -1. Through the snubber a read must arrive whole.
    int Read(int offset, void* buf, int bytes);
    bool ReadWhole(Binary& out);
    // Bytes written, or -1. With mayExtend a write past the end first grows the
    // file to reach it.
    int Write(int offset, const void* data, int bytes, bool mayExtend, bool flush);

    // The snubber, for those who want to look at it; null when there is none.
    const RingBuffer* GetReadSnubber() const { return m_readSnubber.get(); }

private:
    int ReadPlain(int offset, void* buf, int bytes);
    void SeekFor(int offset, int op);

    CFile m_fp;
    int m_writable;
    int m_file_size;
    int m_rw_ptr_pos;
    int m_unflushed;
    int m_last_op;
    std::unique_ptr<RingBuffer> m_readSnubber;
};

// Reads a file in chunks of `chunkSize` bytes from the start, handing each to the
// callback until the file ends or the callback says false. False only when the file
// could not be opened.
typedef bool (*FileChunkCallback)(void* param, const unsigned char* bytes, int length);
bool ReadFileInChunks(const char* filename, FileChunkCallback callback, void* param, int chunkSize);
// The number of LF bytes in a file, -1 when it cannot be opened.
int CountFileLines(const char* filename);
// Hands each line (ended by CR, LF or CR LF) to the callback, without its end. The
// rest of the file after the last line end comes in one more call, so a file that
// ends in a line end gives a last empty line; a callback that says false gets its
// line again with the rest of the file behind it. A CR as the very last byte gives
// false.
typedef bool (*FileLineCallback)(void* param, const char* line);
bool ReadFileLines(const char* filename, FileLineCallback callback, void* param);
