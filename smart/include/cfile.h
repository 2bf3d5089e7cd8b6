// Scope owners of an open file and of the current directory.
//
// CFile owns a C stream and remembers the path it was opened under; CFileHandle owns
// a platform handle (a file descriptor here); AutoCurrentDir changes the process's
// current directory for one scope. Each closes or restores what it holds in its
// destructor.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "qdfdk.h"
#include "qdr/platform/os_files.h"
#include "qdr/qdassert.h"
#include "smartstr.h"

// The names Windows' create call takes. Share modes, security, flags and a
// template have no counterpart here: CFileHandle accepts and ignores them.
constexpr uint32_t GENERIC_READ = os::kGenericRead;
constexpr uint32_t GENERIC_WRITE = os::kGenericWrite;
constexpr uint32_t FILE_SHARE_READ = 0x1;
constexpr uint32_t FILE_SHARE_WRITE = 0x2;
constexpr uint32_t CREATE_NEW = os::kCreateNew;
constexpr uint32_t CREATE_ALWAYS = os::kCreateAlways;
constexpr uint32_t OPEN_EXISTING = os::kOpenExisting;
constexpr uint32_t OPEN_ALWAYS = os::kOpenAlways;
constexpr uint32_t TRUNCATE_EXISTING = os::kTruncateExisting;
constexpr uint32_t FILE_ATTRIBUTE_READONLY = 0x1;
constexpr uint32_t FILE_ATTRIBUTE_NORMAL = 0x80;
constexpr intptr_t INVALID_HANDLE_VALUE = os::kInvalidHandle;

inline bool CloseHandle(intptr_t handle) {
    return os::CloseFileHandle(handle);
}

class CFile {
public:
    CFile() : fp_(nullptr) { path_[0] = 0; }
    ~CFile() { Close(true); }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    // fopen's modes. Opening an open CFile is reported and refused, so the stream
    // it holds is not lost.
    bool Open(const char* path, const char* mode) {
        QDR_CHECK_OR_RETURN(!IsOpened(), false);
        return Adopt(os::OpenFile(path, mode), path);
    }
    bool Open(const char16_t* path, const char16_t* mode) {
        const SmartStr narrowPath(path, -1), narrowMode(mode, -1);
        return Open(narrowPath.c_str(), narrowMode.c_str());
    }

    // Forgets the stream and its path; closes it first when doClose is true. A
    // failing close is reported.
    void Close(bool doClose = true) {
        if (!fp_) return;
        if (doClose) QDR_CHECK(0 == fclose(fp_));
        fp_ = nullptr;
        path_[0] = 0;
    }

    bool IsOpened() const { return fp_ != nullptr; }
    FILE* GetStream() const { return fp_; }
    operator FILE*() const { return fp_; }
    // The path it was opened with, cut to 511 bytes; empty while closed.
    const char* GetPath() const { return path_; }

protected:
    // Takes over a stream that a derived class opened by its own means; false (and
    // nothing kept) for a null stream.
    bool Adopt(FILE* stream, const char* path) {
        fp_ = stream;
        if (!fp_) return false;
        size_t n = path ? strlen(path) : 0;
        if (n >= sizeof(path_)) n = sizeof(path_) - 1;
        if (n) memcpy(path_, path, n);
        path_[n] = 0;
        return true;
    }

    FILE* fp_;
    char path_[kMaxPathChars];
};

class CFileHandle {
public:
    CFileHandle() : h_(INVALID_HANDLE_VALUE) {}
    ~CFileHandle() { Close(); }
    CFileHandle(const CFileHandle&) = delete;
    CFileHandle& operator=(const CFileHandle&) = delete;

    // Windows' create call, done on Linux. Opening an open handle is reported and refused.
    bool Open(const char* filename, uint32_t access, uint32_t share, void* security,
              uint32_t disposition, uint32_t flags = FILE_ATTRIBUTE_NORMAL,
              intptr_t templateFile = 0) {
        (void)share;
        (void)security;
        (void)flags;
        (void)templateFile;
        QDR_CHECK_OR_RETURN(!IsOpened(), false);
        h_ = os::OpenFileHandle(filename, access, disposition);
        return IsOpened();
    }
    bool Open(const char16_t* filename, uint32_t access, uint32_t share, void* security,
              uint32_t disposition, uint32_t flags = FILE_ATTRIBUTE_NORMAL,
              intptr_t templateFile = 0) {
        const SmartStr narrow(filename, -1);
        return Open(filename ? narrow.c_str() : nullptr, access, share, security, disposition,
                    flags, templateFile);
    }

    void Close() {
        if (h_ == INVALID_HANDLE_VALUE) return;
        QDR_CHECK(CloseHandle(h_));
        h_ = INVALID_HANDLE_VALUE;
    }

    bool IsOpened() const { return h_ != INVALID_HANDLE_VALUE; }
    intptr_t GetHandle() const { return h_; }

private:
    intptr_t h_;
};

// Changes the current directory for one scope. A directory that does not exist is
// reported and nothing changes. When the current directory cannot be read the
// change is made and not undone; when it already is `dir` (the same text: names
// that differ in case are different directories here) nothing happens.
template <class CHAR>
class AutoCurrentDirT {
public:
    explicit AutoCurrentDirT(const CHAR* dir) : changed_(false) {
        saved_[0] = 0;
        if (!IsExistDir(dir)) {
            QDR_CHECK(false);
            return;
        }
        if (!GetCurrentDir(saved_)) {
            SetCurrentDir(dir);
            return;
        }
        if (CompareText(saved_, dir) == 0) return;
        changed_ = SetCurrentDir(dir);
    }
    ~AutoCurrentDirT() {
        if (changed_) SetCurrentDir(saved_);
    }
    AutoCurrentDirT(const AutoCurrentDirT&) = delete;
    AutoCurrentDirT& operator=(const AutoCurrentDirT&) = delete;

    // Whether the destructor will change back.
    bool IsChanged() const { return changed_; }

private:
    bool changed_;
    CHAR saved_[kMaxPathChars];
};

typedef AutoCurrentDirT<char> AutoCurrentDir;
typedef AutoCurrentDirT<char16_t> AutoCurrentDirW;
