// The tree-wide text tools of the file kit, each a file callback of SearchFilesEx.
#include <cstdio>
#include <cstring>

#include "cfile.h"
#include "filesearch.h"
#include "qdfdk.h"
#include "qdr/platform/os_files.h"
#include "smartarray.h"
#include "strdk.h"

namespace {

// A whole file in memory. The buffer belongs to the walk and only grows, so a
// tree of files costs one block.
bool ReadWholeFile(const char* path, int64_t size, SmartArray<char, 1>& data) {
    if (size < 0 || size > INT32_MAX / 2) return false;
    CFile file;
    if (!file.Open(path, "rb")) return false;
    data.Resize(static_cast<int32_t>(size), 0);
    if (data.size() != static_cast<int32_t>(size)) return false;
    return size == 0 ||
           fread(data.begin(), 1, static_cast<size_t>(size), file) == static_cast<size_t>(size);
}

bool WriteWholeFile(const char* path, const char* data, int32_t size) {
    CFile file;
    if (!file.Open(path, "wb")) return false;
    const bool written =
        fwrite(data, 1, static_cast<size_t>(size), file) == static_cast<size_t>(size) &&
        fflush(file) == 0;
    file.Close(true);
    return written;
}

struct TextToolWork {
    TextToolWork(char* failed, int* fixed) : failedName(failed), fixedCount(fixed) {}
    SmartArray<char, 1> in;
    SmartArray<char, 1> out;
    char* failedName;
    int* fixedCount;
};

bool ConvertFileToCrLf(void* param, bool isDir, const char* pathname) {
    if (isDir) return true;
    TextToolWork* work = static_cast<TextToolWork*>(param);
    if (!ReadWholeFile(pathname, GetFileSizeByName(pathname), work->in)) return true;
    work->out.clear();
    for (int32_t i = 0; i < work->in.size(); ++i) {
        const char c = work->in[i];
        if (c == '\n' && (i == 0 || work->in[i - 1] != '\r')) work->out.push_back('\r');
        work->out.push_back(c);
    }
    WriteWholeFile(pathname, work->out.begin(), work->out.size());
    return true;
}

// A blank directly followed by CR, LF or the end of the data.
bool HasTrailingBlank(const SmartArray<char, 1>& data) {
    for (int32_t i = 0; i < data.size(); ++i) {
        if (!IsBlankLetter(data[i])) continue;
        if (i + 1 == data.size() || data[i + 1] == '\r' || data[i + 1] == '\n') return true;
    }
    return false;
}

// The data without the runs of blanks that stand before CR, LF or the end.
//   "a  \r\nb\t" -> "a\r\nb";  "a b" -> "a b"
void DropTrailingBlanks(const SmartArray<char, 1>& in, SmartArray<char, 1>& out) {
    out.clear();
    for (int32_t i = 0; i < in.size();) {
        int32_t end = i;
        while (end < in.size() && IsBlankLetter(in[end])) ++end;
        if (end == i) {
            out.push_back(in[i++]);
            continue;
        }
        const bool atLineEnd = end == in.size() || in[end] == '\r' || in[end] == '\n';
        if (!atLineEnd)
            for (int32_t k = i; k < end; ++k) out.push_back(in[k]);
        i = end;
    }
}

bool TrimFailed(TextToolWork* work, const char* pathname) {
    if (work->failedName) snprintf(work->failedName, kMaxPathChars, "%s", pathname);
    return false;
}

bool TrimFileLineEnds(void* param, bool isDir, const char* pathname) {
    if (isDir) return true;
    TextToolWork* work = static_cast<TextToolWork*>(param);
    const int64_t size = GetFileSizeByName(pathname);
    if (size < 0 || size > 0x1000000) return TrimFailed(work, pathname);
    if (!ReadWholeFile(pathname, size, work->in)) return TrimFailed(work, pathname);
    if (work->in.size() > 0 && memchr(work->in.begin(), 0, static_cast<size_t>(work->in.size())))
        return TrimFailed(work, pathname);  // not text
    if (!HasTrailingBlank(work->in)) return true;
    DropTrailingBlanks(work->in, work->out);
    char copy[kMaxPathChars];
    if (snprintf(copy, sizeof(copy), "%s_", pathname) >= static_cast<int>(sizeof(copy)))
        return TrimFailed(work, pathname);
    if (!WriteWholeFile(copy, work->out.begin(), work->out.size()) || !os::DeleteFile(pathname) ||
        !RenamePath(copy, pathname))
        return TrimFailed(work, pathname);
    if (work->fixedCount) ++*work->fixedCount;
    return true;
}

}  // namespace

bool ConvertTreeToCrLf(const char* beginPaths, const char* patterns, bool recursive) {
    TextToolWork work(nullptr, nullptr);
    return SearchFilesEx(beginPaths, patterns, recursive, ConvertFileToCrLf, &work);
}

bool TrimTreeLineEnds(const char* beginPaths, const char* patterns, bool recursive,
                      char* failedName, int* fixedCount) {
    if (failedName) failedName[0] = 0;
    TextToolWork work(failedName, fixedCount);
    const uint32_t readOnlyHiddenSystem =
        os::kFileAttributeReadOnly | os::kFileAttributeHidden | os::kFileAttributeSystem;
    return SearchFilesEx(beginPaths, patterns, recursive, TrimFileLineEnds, &work,
                         readOnlyHiddenSystem);
}
