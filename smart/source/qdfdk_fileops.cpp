// File-system routines of the file kit: existence, sizes, times, directory trees,
// removal, renaming, lengths, free space and the temporary directory. Each is a
// thin step over the platform layer; wide paths are converted to UTF-8 first.
#include <cstring>

#include "filesearch.h"
#include "qdfdk.h"
#include "qdfdk_internal.h"
#include "qdr/platform/os_files.h"
#include "qdtime.h"
#include "smartarray.h"
#include "strdk.h"

namespace {

bool IsDirectoryAttributes(uint32_t attributes) {
    return attributes != os::kInvalidFileAttributes &&
           (attributes & os::kFileAttributeDirectory) != 0;
}

// At most 2^40 bytes: a high word that is negative, above 256, or 256 with a low
// word other than 0 is refused.
bool IsAllowedFileLength(int64_t length) {
    const int32_t high = static_cast<int32_t>(static_cast<uint64_t>(length) >> 32);
    const uint32_t low = static_cast<uint32_t>(length);
    if (high < 0 || high > 256 || (high == 256 && low != 0)) {
        QDR_CHECK(false);
        return false;
    }
    return true;
}

// The recursive step of CreateDirTree on a private copy of `n` units. A directory
// that appears while this runs (another process making the same tree) counts as made.
template <class CHAR>
bool MakeDirTree(CHAR* path, int n) {
    const SystemText<CHAR> sys(path);
    const uint32_t attributes = os::FileAttributes(sys.c_str());
    if (IsDirectoryAttributes(attributes)) return true;
    if (attributes == os::kInvalidFileAttributes && os::LastErrorIsInvalidName()) return false;
    if (os::CreateDirectory(sys.c_str())) return true;
    const CHAR* slash = FindLastAnyChar(path, path + n - 1, QD_UNIT_TEXT(CHAR, "\\/"));
    if (!slash) return IsDirectoryAttributes(os::FileAttributes(sys.c_str()));
    // A separator at the start is the root of an absolute path, which is kept.
    const int cut = slash == path ? 1 : static_cast<int>(slash - path);
    const CHAR saved = path[cut];
    path[cut] = 0;
    const bool parentMade = MakeDirTree(path, cut);
    path[cut] = saved;
    if (!parentMade) return false;
    return os::CreateDirectory(sys.c_str()) ||
           IsDirectoryAttributes(os::FileAttributes(sys.c_str()));
}

// RemovePathTree on a system path; links are removed, never followed.
bool RemoveTree(const char* path) {
    const uint32_t attributes = os::FileAttributes(path);
    if (!IsDirectoryAttributes(attributes) || (attributes & os::kFileAttributeReparsePoint))
        return IsDirectoryAttributes(attributes) ? os::RemoveDirectory(path) : os::DeleteFile(path);
    os::DirectoryListing* listing = os::OpenDirectoryListing(path);
    if (listing) {
        char name[256];
        while (os::NextDirectoryEntry(listing, name, sizeof(name), nullptr)) {
            if (!strcmp(name, ".") || !strcmp(name, "..")) continue;
            char child[kMaxPathChars];
            if (!ComposeFileName(path, name, child) || !RemoveTree(child)) {
                os::CloseDirectoryListing(listing);
                return false;
            }
        }
        os::CloseDirectoryListing(listing);
    }
    return os::RemoveDirectory(path);
}

// GetRealCasePath on narrow text: each component replaced by the spelling that its
// directory holds. On a file system that minds case a parent must be spelt right
// before its entries can be listed, so the walk goes from the root down.
bool RealCasePath(const char* path, int len, char* dest) {
    dest[0] = 0;
    if (len <= 0 || IsSlashChar(path[len - 1]) || len >= kMaxPathChars) return false;
    char p[kMaxPathChars + 2];
    CopyUnits(p, path, len);
    if (!NormalizePath(p)) return false;
    char root[kMaxPathChars];
    const bool rooted = GetRoot(p, root);
    QDR_CHECK(rooted);
    if (!rooted) return false;
    const int n = TextLength(p);
    const int rootLen = TextLength(root);
    int start =
        rootLen <= n && CompareCharsUntil(p, root, '\0', rootLen, rootLen, msf_ignore_case) == 0
            ? rootLen
            : 0;
    while (start < n) {
        int end = start;
        while (end < n && p[end] != '\\') ++end;
        const char kept = p[end];
        p[end] = 0;
        FileFinder finder;
        const bool found = finder.Open(p);
        p[end] = kept;
        if (!found || TextLength(finder.GetName()) != end - start) return false;
        memcpy(p + start, finder.GetName(), static_cast<size_t>(end - start));
        start = end + 1;
    }
    if (IsLetter(p[0]) && p[1] == ':') p[0] = ToUpperLetter(p[0]);
    return FromSystemText(p, dest, kMaxPathChars);
}

}  // namespace

template <class CHAR>
bool GetRealCasePath(const CHAR* path, int len, CHAR* dest) {
    QDR_CHECK(AfxIsValidString(path));
    QDR_CHECK(dest);
    if (!path || !dest) return false;
    if (len < 0) len = TextLength(path);
    SmartStrT<CHAR> own(path, len);
    const SystemText<CHAR> sys(own.c_str());
    char real[kMaxPathChars];
    if (!RealCasePath(sys.c_str(), TextLength(sys.c_str()), real)) {
        dest[0] = 0;
        return false;
    }
    return FromSystemText(real, dest, kMaxPathChars);
}

template <class CHAR>
bool IsExistFile(const CHAR* name) {
    if (!AfxIsValidString(name)) return false;
    const uint32_t attributes = os::FileAttributes(SystemText<CHAR>(name).c_str());
    return attributes != os::kInvalidFileAttributes && !IsDirectoryAttributes(attributes);
}

template <class CHAR>
bool IsExistDir(const CHAR* name) {
    if (!AfxIsValidString(name)) return false;
    return IsDirectoryAttributes(os::FileAttributes(SystemText<CHAR>(name).c_str()));
}

template <class CHAR>
bool GetCurrentDir(CHAR* buffer) {
    QDR_CHECK(buffer);
    if (!buffer) return false;
    char current[kMaxPathChars];
    if (!os::CurrentDirectory(current, kMaxPathChars)) {
        buffer[0] = 0;
        return false;
    }
    return FromSystemText(current, buffer, kMaxPathChars);
}

template <class CHAR>
bool SetCurrentDir(const CHAR* dir) {
    return AfxIsValidString(dir) && os::ChangeDirectory(SystemText<CHAR>(dir).c_str());
}

template <class CHAR>
int64_t GetFileSizeByName(const CHAR* name) {
    if (!AfxIsValidString(name)) return -1;
    return os::FileSize(SystemText<CHAR>(name).c_str());
}

int32_t GetFileSizeOfStream(FILE* stream) {
    QDR_CHECK(stream);
    if (!stream) return -1;
    const int64_t size = os::FileSizeOfStream(stream);
    if (size < 0) return -1;
    const uint32_t dwHSize = static_cast<uint32_t>(static_cast<uint64_t>(size) >> 32);
    QDR_CHECK(dwHSize == 0);
    return static_cast<int32_t>(static_cast<uint32_t>(size));
}

template <class CHAR>
int64_t GetFileModifyTime(const CHAR* name) {
    if (!AfxIsValidString(name)) return -1;
    const int64_t seconds = os::FileModifyTimeSeconds(SystemText<CHAR>(name).c_str());
    return seconds < 0 ? -1 : seconds * 1000;
}

template <class CHAR>
bool SetFileModifyTime(const CHAR* name, int64_t msel) {
    if (!AfxIsValidString(name)) return false;
    int64_t utc;
    if (msel == -1) {
        utc = GetMSEL();
    } else {
        utc = msel - GetLocalZoneOffset();
        if (!IsValidMSEL(utc)) return false;
    }
    return os::SetFileModifyTimeMs(SystemText<CHAR>(name).c_str(), utc);
}

template <class CHAR>
bool CreateDirTree(const CHAR* path, int len) {
    if (!AfxIsValidString(path)) return false;
    PtrStrT<CHAR> trimmed;
    if (!TrimPathText(path, len, &trimmed)) return false;
    CHAR p[kMaxPathChars];
    int n = trimmed.len;
    if (n > 0) CopyUnits(p, trimmed.p, n);
    const bool hadSeparator = n > 0 && IsSlashChar(p[n - 1]);
    while (n > 0 && IsSlashChar(p[n - 1])) --n;
    if (n == 0 && hadSeparator) p[n++] = '\\';  // the root itself
    if (n == 0) return false;
    p[n] = 0;
    return MakeDirTree(p, n);
}

template <class CHAR>
bool CreateParentDirs(const CHAR* path, int len) {
    if (!AfxIsValidString(path)) return false;
    if (len < 0) len = TextLength(path);
    const CHAR* slash =
        len > 0 ? FindLastAnyChar(path, path + len - 1, QD_UNIT_TEXT(CHAR, "\\/")) : nullptr;
    if (!slash) return true;
    return CreateDirTree(path, slash == path ? 1 : static_cast<int>(slash - path));
}

template <class CHAR>
bool RemovePathTree(const CHAR* path) {
    if (!AfxIsValidString(path) || !path[0]) return false;
    return RemoveTree(SystemText<CHAR>(path).c_str());
}

template <class CHAR>
bool RenamePath(const CHAR* from, const NonDeduced<CHAR>* to) {
    if (!AfxIsValidString(from) || !AfxIsValidString(to)) return false;
    const SystemText<CHAR> source(from), target(to);
    if (os::FileAttributes(source.c_str()) == os::kInvalidFileAttributes) return false;
    return os::MovePath(source.c_str(), target.c_str());
}

template <class CHAR>
bool CopyPath(const CHAR* from, const NonDeduced<CHAR>* to, bool failIfExists) {
    if (!AfxIsValidString(from) || !AfxIsValidString(to)) return false;
    return os::CopyFile(SystemText<CHAR>(from).c_str(), SystemText<CHAR>(to).c_str(), failIfExists);
}

template <class CHAR>
bool SetFileLength(const CHAR* name, int64_t length, bool overwrite) {
    if (!IsAllowedFileLength(length) || !AfxIsValidString(name)) return false;
    if (!overwrite && IsExistFile(name)) return false;
    const intptr_t file =
        os::OpenFileHandle(SystemText<CHAR>(name).c_str(), os::kGenericWrite, os::kOpenAlways);
    if (file == os::kInvalidHandle) return false;
    const bool ok = os::SetFileHandleLength(file, length);
    QDR_CHECK(os::CloseFileHandle(file));
    return ok;
}

template <class CHAR>
bool SetExistingFileLength(const CHAR* name, int64_t length) {
    if (!IsExistFile(name)) return false;
    return SetFileLength(name, length, true);
}

bool SetStreamLength(FILE* stream, int64_t length) {
    if (!IsAllowedFileLength(length)) return false;
    QDR_CHECK(stream);
    if (!stream) return false;
    fflush(stream);
    return os::SetStreamFileLength(stream, length);
}

template <class CHAR>
uint64_t GetDiskSpace(const CHAR* path, uint64_t* total) {
    if (total) *total = 0;
    if (!AfxIsValidString(path)) return 0;
    uint64_t available = 0, size = 0;
    if (!os::DiskSpace(SystemText<CHAR>(path).c_str(), &available, &size)) return 0;
    if (total) *total = size;
    return available;
}

template <class CHAR>
bool CheckSystemTempPath(CHAR* buffer) {
    if (!buffer) {
        QDR_CHECK(false);
        return false;
    }
    char temp[kMaxPathChars];
    const int n = os::TempDirectory(temp, kMaxPathChars);
    if (n < 1 || n > kMaxPathChars || !FromSystemText(temp, buffer, kMaxPathChars)) {
        buffer[0] = 0;
        return false;
    }
    int len = TextLength(buffer);
    if (!IsSlashChar(buffer[len - 1]) && len + 1 < kMaxPathChars) {
        buffer[len++] = '\\';
        buffer[len] = 0;
    }
    CreateDirTree(buffer);
    CHAR bare[kMaxPathChars];
    CopyUnits(bare, buffer, len);
    while (len > 1 && IsSlashChar(bare[len - 1])) bare[--len] = 0;
    if (IsExistDir(bare)) return true;

    // Nothing of the library can work without it. The message box of the toolkit
    // takes this text once it exists; until then it goes to standard error.
    SmartStr message;
    message.Format(
        "Invalid system temporary path\n"
        "System temporary path '%s' is %s.\n\nPress OK to terminate the application!\n",
        temp, IsExistFile(bare) ? "the path of file" : "invalid");
    os::WriteStderr(message.c_str(), static_cast<size_t>(message.Length()));
    os::ExitImmediately(255);
}

#define QD_INSTANTIATE_FILE_OPS(CHAR)                                \
    template bool GetRealCasePath<CHAR>(const CHAR*, int, CHAR*);    \
    template bool IsExistFile<CHAR>(const CHAR*);                    \
    template bool IsExistDir<CHAR>(const CHAR*);                     \
    template bool GetCurrentDir<CHAR>(CHAR*);                        \
    template bool SetCurrentDir<CHAR>(const CHAR*);                  \
    template int64_t GetFileSizeByName<CHAR>(const CHAR*);           \
    template int64_t GetFileModifyTime<CHAR>(const CHAR*);           \
    template bool SetFileModifyTime<CHAR>(const CHAR*, int64_t);     \
    template bool CreateDirTree<CHAR>(const CHAR*, int);             \
    template bool CreateParentDirs<CHAR>(const CHAR*, int);          \
    template bool RemovePathTree<CHAR>(const CHAR*);                 \
    template bool RenamePath<CHAR>(const CHAR*, const CHAR*);        \
    template bool CopyPath<CHAR>(const CHAR*, const CHAR*, bool);    \
    template bool SetFileLength<CHAR>(const CHAR*, int64_t, bool);   \
    template bool SetExistingFileLength<CHAR>(const CHAR*, int64_t); \
    template uint64_t GetDiskSpace<CHAR>(const CHAR*, uint64_t*);    \
    template bool CheckSystemTempPath<CHAR>(CHAR*);
QD_FOR_BOTH_UNITS(QD_INSTANTIATE_FILE_OPS)
