// FileStorage and the file readers on it; see filestorage.h.
#include "filestorage.h"

#include <cstring>
#include <new>

#include "qdfdk.h"
#include "qdr/platform/os_files.h"
#include "smartbuf.h"

namespace {

enum { kNoOp = 0, kLastRead = 1, kLastWrite = 2 };

// Whether `bytes` bytes at `p` may be touched. Linux has no probe of
// readable memory, so this is the null test.
inline bool AfxIsValidAddress(const void* p, int bytes, bool forWriting) {
    (void)bytes;
    (void)forWriting;
    return p != nullptr;
}

}  // namespace

FileStorage::FileStorage()
    : m_writable(0), m_file_size(-1), m_rw_ptr_pos(-1), m_unflushed(0), m_last_op(kNoOp) {}

bool FileStorage::Open(const char* filename, int mode, int readSnubberSize) {
    QDR_CHECK_OR_RETURN(AfxIsValidString(filename) && readSnubberSize>=0, false);
    if (IsOpened()) QDR_CHECK_OR_RETURN(false, false);
    const char* streamMode;
    switch (mode) {
        case kReadOnly:
            streamMode = "rb";
            break;
        case kReadWrite:
            streamMode = "rb+";
            break;
        case kReadWriteCreate:
            if (!IsExistFile(filename)) {
                CFile create;
                if (!create.Open(filename, "wb")) return false;
            }
            streamMode = "rb+";
            mode = kReadWrite;
            break;
        case kReplace:
            streamMode = "wb+";
            break;
        default:
            QDR_CHECK_OR_RETURN(false, false);
    }
    // Only a replace makes the parent directories; a created file must find them.
    if (kReplace == mode && !CreateParentDirs(filename)) return false;
    if (!m_fp.Open(filename, streamMode)) return false;
    m_writable = kReadOnly != mode;
    QDR_CHECK(0 == fseek(m_fp, 0, 2));
    const long size = ftell(m_fp);
    m_file_size = static_cast<int>(size);
    QDR_CHECK(m_file_size >= 0);
    m_rw_ptr_pos = m_file_size;
    m_unflushed = 0;
    m_last_op = kNoOp;
    if (readSnubberSize > 0) {
        RingBuffer* ring = new (std::nothrow) RingBuffer(readSnubberSize);
        m_readSnubber.reset(ring);
        if (ring && ring->GetTotalSize() <= 0) m_readSnubber.reset();
    }
    return true;
}

void FileStorage::Close() {
    m_readSnubber.reset();
    m_fp.Close(true);
    m_writable = 0;
    m_file_size = -1;
    m_rw_ptr_pos = -1;
    m_unflushed = 0;
    m_last_op = kNoOp;
}

FILE* FileStorage::Detach(int* writable, char* path) {
    if (!IsOpened()) {
        if (writable) *writable = 0;
        if (path) path[0] = 0;
        return nullptr;
    }
    if (writable) *writable = m_writable;
    if (path) snprintf(path, kMaxPathChars, "%s", m_fp.GetPath());
    FILE* stream = m_fp.GetStream();
    m_fp.Close(false);
    Close();
    return stream;
}

int FileStorage::GetFileSize(bool refresh) {
    if (refresh && IsOpened() && !m_writable) {
        const int64_t size = os::FileSizeOfStream(m_fp);
        if (size >= 0 && size <= INT32_MAX) m_file_size = static_cast<int>(size);
    }
    return m_file_size;
}

bool FileStorage::SetFileSize(int size) {
    QDR_CHECK_OR_RETURN(IsOpened() && m_writable && size >= 0, false);
    if (size == m_file_size) return true;
    if (!SetStreamLength(m_fp, size)) return false;
    m_file_size = size;
    m_rw_ptr_pos = -1;
    return true;
}

// Sequential access in the same direction goes on without a seek; a turn between
// reading and writing always seeks, as a C stream needs.
void FileStorage::SeekFor(int offset, int op) {
    if (m_rw_ptr_pos == offset && op == m_last_op) {
        QDR_CHECK(m_rw_ptr_pos == ftell(m_fp));
    } else {
        QDR_CHECK(0 == fseek(m_fp, (long)offset, 0));
        m_rw_ptr_pos = offset;
    }
    m_last_op = op;
}

int FileStorage::ReadPlain(int offset, void* buf, int bytes) {
    if (!IsOpened()) QDR_CHECK_OR_RETURN(false, -1);
    QDR_CHECK_OR_RETURN(bytes >= 0, -1);
    if (0 == bytes) return 0;
    if (offset < 0 || offset >= m_file_size) return -1;
    if (bytes > m_file_size - offset) bytes = m_file_size - offset;
    if (m_unflushed) {
        QDR_CHECK(IsWritable());
        QDR_CHECK(0 == fflush(m_fp));
        m_unflushed = 0;
    }
    SeekFor(offset, kLastRead);
    const int got = static_cast<int>(fread(buf, 1, static_cast<size_t>(bytes), m_fp));
    if (got == bytes) {
        m_rw_ptr_pos += got;
        return got;
    }
    QDR_CHECK(false);
    m_rw_ptr_pos = -1;
    return got;
}

int FileStorage::Read(int offset, void* buf, int bytes) {
    RingBuffer* ring = m_readSnubber.get();
    if (!ring || bytes <= 0 || bytes > ring->GetTotalSize()) return ReadPlain(offset, buf, bytes);
    const int asked = bytes;
    unsigned char* to = static_cast<unsigned char*>(buf);
    const int64_t begin = ring->BeginByteOffset(), end = ring->EndByteOffset();
    // Apart from the ring (touching counts as near): start it afresh here.
    if (offset + static_cast<int64_t>(bytes) < begin || offset > end) {
        if (ReadPlain(offset, to, bytes) != bytes) return -1;
        QDR_CHECK(ring->EraseBack(ring->GetSize(), false));
        QDR_CHECK(ring->PushBack(to, bytes, true, false));
        ring->SetBeginByteOffset(offset);
        return asked;
    }
    if (offset < begin) {
        const int before = static_cast<int>(begin - offset);
        if (ReadPlain(offset, to, before) != before) return -1;
        QDR_CHECK(ring->PushFront(to, before, true, false));
        offset += before;
        to += before;
        bytes -= before;
        if (0 == bytes) return asked;
    }
    const int64_t held = ring->GetSize() - (offset - ring->BeginByteOffset());
    const int si = bytes < held ? bytes : static_cast<int>(held);
    QDR_CHECK(ring->Read(offset, to, si));
    offset += si;
    to += si;
    bytes -= si;
    if (0 == bytes) return asked;
    QDR_CHECK(offset == ring->EndByteOffset());
    if (ReadPlain(offset, to, bytes) != bytes) return -1;
    QDR_CHECK(ring->PushBack(to, bytes, true, false));
    return asked;
}

bool FileStorage::ReadWhole(Binary& out) {
    if (!IsOpened()) QDR_CHECK_OR_RETURN(false, false);
    if (!out.SetLength(m_file_size, false)) return false;
    return 0 == m_file_size || Read(0, out.Get(), m_file_size) == m_file_size;
}

int FileStorage::Write(int offset, const void* data, int bytes, bool mayExtend, bool flush) {
    QDR_CHECK_OR_RETURN(IsOpened() && m_writable && offset >= 0 && bytes >= 0, -1);
    QDR_CHECK(0==bytes || AfxIsValidAddress(data, bytes, false));
    const int64_t writeEnd = static_cast<int64_t>(offset) + bytes;
    if (writeEnd >= (int64_t(1) << 31)) QDR_CHECK_OR_RETURN(false, 0);

    // The snubber must never hold bytes that the file no longer has.
    if (RingBuffer* ring = m_readSnubber.get()) {
        const int64_t begin = ring->BeginByteOffset(), end = ring->EndByteOffset();
        if ((offset >= begin && writeEnd <= end) || (begin >= offset && end <= writeEnd))
            QDR_CHECK(ring->EraseBack(ring->GetSize(), false));
        else if (offset < begin && writeEnd > begin)
            QDR_CHECK(ring->EraseFront(static_cast<int>(writeEnd - begin), false));
        else if (offset < end && writeEnd > end)
            QDR_CHECK(ring->EraseBack(static_cast<int>(end - offset), false));
    }

    if (mayExtend) {
        if (writeEnd > m_file_size && offset > m_file_size) {
            m_rw_ptr_pos = -1;
            if (!SetStreamLength(m_fp, writeEnd)) QDR_CHECK_OR_RETURN(false, -1);
            m_file_size = static_cast<int>(writeEnd);
        }
    } else if (offset >= m_file_size || writeEnd > m_file_size) {
        QDR_CHECK_OR_RETURN(false, -1);
    }

    SeekFor(offset, kLastWrite);
    const int put =
        bytes > 0 ? static_cast<int>(fwrite(data, 1, static_cast<size_t>(bytes), m_fp)) : 0;
    if (put == bytes) {
        m_rw_ptr_pos += put;
        if (flush) {
            QDR_CHECK(0 == fflush(m_fp));
            m_unflushed = 0;
        } else {
            m_unflushed = 1;
        }
        if (m_rw_ptr_pos > m_file_size) m_file_size = m_rw_ptr_pos;
        return put;
    }
    QDR_CHECK(false);
    fseek(m_fp, 0, 2);
    m_file_size = m_rw_ptr_pos = static_cast<int>(ftell(m_fp));
    return put;
}

bool ReadFileInChunks(const char* filename, FileChunkCallback callback, void* param,
                      int chunkSize) {
    QDR_CHECK_OR_RETURN(callback, false);
    QDR_CHECK_OR_RETURN(chunkSize > 0, false);
    FileStorage file;
    if (!file.Open(filename, FileStorage::kReadOnly, 0)) return false;
    SmartBuf<unsigned char, 1024> chunk(chunkSize);
    if (chunk.Length() != chunkSize) return false;
    for (int offset = 0;;) {
        const int got = file.Read(offset, chunk.Get(), chunkSize);
        if (got < 0 || !callback(param, chunk.Get(), got)) break;
        offset += got;
    }
    return true;
}

namespace {
bool CountLineFeeds(void* param, const unsigned char* bytes, int length) {
    int& count = *static_cast<int*>(param);
    for (int i = 0; i < length; ++i) count += '\n' == bytes[i];
    return true;
}
}  // namespace

int CountFileLines(const char* filename) {
    int count = 0;
    return ReadFileInChunks(filename, CountLineFeeds, &count, 1024) ? count : -1;
}

bool ReadFileLines(const char* filename, FileLineCallback callback, void* param) {
    if (!callback) QDR_CHECK_OR_RETURN(false, false);
    FileStorage file;
    if (!file.Open(filename, FileStorage::kReadOnly, 1024)) return false;
    SmartBuf<char, 1024> line(1024);
    // The bytes [from, to) into the line buffer, terminated.
    auto takeLine = [&](int from, int to) {
        const int len = to - from;
        if (len + 1 > line.Length()) line.Resize(len + 1);
        if (line.Length() < len + 1) return false;
        if (len > 0 && file.Read(from, line.Get(), len) != len) return false;
        line.Get()[len] = 0;
        return true;
    };
    const int size = file.GetFileSize();
    int lineStart = 0;
    for (int pos = 0; pos < size; ++pos) {
        char c;
        if (file.Read(pos, &c, 1) != 1) return false;
        if ('\r' != c && '\n' != c) continue;
        if (!takeLine(lineStart, pos)) return false;
        if (!callback(param, line.Get())) break;
        if ('\r' == c) {
            char next;
            if (file.Read(pos + 1, &next, 1) != 1) return false;
            if ('\n' == next) ++pos;
        }
        lineStart = pos + 1;
    }
    if (!takeLine(lineStart, size)) return false;
    callback(param, line.Get());
    return true;
}
