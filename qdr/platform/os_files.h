// The file system, as the path and file routines of the toolkit and the log writer
// need it. Paths come in the library's own grammar: UTF-8, `\` as the separator and
// `/` accepted. Every function here turns `\` into `/` before it hands a path to the
// system; nothing else in the library does that. Paths that begin with a drive letter
// ("C:") or with two separators (`\\server\share`) name nothing on this platform and
// fail as "not found".
//
// Results follow the platform operations they stand in for: a truth value, -1 for a
// size or time that cannot be read, and the reason in the thread's last error
// (errno, see os::GetLastError).
#pragma once

#include <cstdint>
#include <cstdio>

namespace os {

// ---- attributes -------------------------------------------------------------

// The platform's attribute bits. A symbolic link is described by its target and
// carries kFileAttributeReparsePoint as well, so that a tree walk that removes
// things can leave the target alone.
enum : uint32_t {
    kFileAttributeReadOnly = 0x01,  // the process may not write it
    kFileAttributeHidden = 0x02,    // its name begins with '.'
    kFileAttributeSystem = 0x04,    // never set here
    kFileAttributeDirectory = 0x10,
    kFileAttributeReparsePoint = 0x400,
    kInvalidFileAttributes = 0xFFFFFFFFu,
};

// The attributes of whatever `path` names, or kInvalidFileAttributes.
uint32_t FileAttributes(const char* path);
// Whether the last failure said that the name itself cannot exist here (a
// component or the whole path too long): the platform's ERROR_INVALID_NAME.
bool LastErrorIsInvalidName();

// ---- directories --------------------------------------------------------------

bool CreateDirectory(const char* path);
// Removes an empty directory, or a symbolic link (never its target).
bool RemoveDirectory(const char* path);
// The current directory with `/` separators; its length, or 0 when it cannot be
// read or does not fit `capacity` with its terminator.
int CurrentDirectory(char* buffer, int capacity);
bool ChangeDirectory(const char* path);
// The temporary directory, `$TMPDIR` or else "/tmp", with a trailing separator; its
// length, or 0 when it does not fit.
int TempDirectory(char* buffer, int capacity);

// One enumeration of a directory's entries, `.` and `..` included, in the order of
// the system. Null when the directory cannot be read.
struct DirectoryListing;
DirectoryListing* OpenDirectoryListing(const char* dir);
// The next entry's name and attributes; false at the end. An entry whose attributes
// cannot be read (it vanished meanwhile) comes with kInvalidFileAttributes.
bool NextDirectoryEntry(DirectoryListing* listing, char* name, int capacity, uint32_t* attributes);
void CloseDirectoryListing(DirectoryListing* listing);

// ---- files by name ----------------------------------------------------------------

// Removes a file or a symbolic link; a directory is refused.
bool DeleteFile(const char* path);
// Renames a file or directory. Like the platform's move it refuses to replace an
// existing `to`; a file that must cross to another file system is copied and the
// original removed.
bool MovePath(const char* from, const char* to);
// Copies a file's bytes, permissions and modification time. The copy is written
// under a temporary name beside `to` and renamed into place, so a failure leaves
// `to` as it was. With failIfExists an existing `to` is refused.
bool CopyFile(const char* from, const char* to, bool failIfExists);
// The size of a file; -1 for a directory or when it cannot be read.
int64_t FileSize(const char* path);
// The modification time in whole seconds since 1970; -1 on failure.
int64_t FileModifyTimeSeconds(const char* path);
// Sets only the modification time of an existing file or directory.
bool SetFileModifyTimeMs(const char* path, int64_t msSince1970);
// Free bytes that the caller may use, and the total, of the file system that holds
// `path`; a path that does not exist yet is measured at its nearest existing parent.
bool DiskSpace(const char* path, uint64_t* freeToCaller, uint64_t* total);

// ---- handles ------------------------------------------------------------------

// Access bits and dispositions of the platform's create call, with its values.
enum : uint32_t {
    kGenericRead = 0x80000000u,
    kGenericWrite = 0x40000000u,
};
enum : uint32_t {
    kCreateNew = 1,
    kCreateAlways = 2,
    kOpenExisting = 3,
    kOpenAlways = 4,
    kTruncateExisting = 5,
};
constexpr intptr_t kInvalidHandle = -1;

// Opens a file for the access asked (none: only to look at it); kInvalidHandle on
// failure. The platform's share modes have no counterpart here and are not taken.
intptr_t OpenFileHandle(const char* path, uint32_t access, uint32_t disposition);
bool CloseFileHandle(intptr_t handle);
// Opens an existing regular file to map it, for reading or for reading and writing.
// Anything else is refused without waiting: a directory (EISDIR), a FIFO or a
// device (ENODEV), which a mapping cannot hold or whose open would block.
intptr_t OpenRegularFileHandle(const char* path, bool writable);
// The size of the file under a handle; -1 on failure.
int64_t FileHandleSize(intptr_t handle);
// Sets the file's end at `length`, growing it with zeros or cutting it.
bool SetFileHandleLength(intptr_t handle, int64_t length);

// ---- streams --------------------------------------------------------------------

// The C library's fopen of a path in the library's grammar.
FILE* OpenFile(const char* path, const char* mode);
// The stream of a log file: every write on it is an append (O_APPEND), so writers
// in several processes never overwrite one another. "wb" creates the file but,
// unlike fopen, does not cut a file that another process created since the caller
// looked; "rb+" opens an existing one. Other modes are refused. Its user writes
// past the stream (AppendToStreamFile); the descriptor may also read, so that a
// piece of a line can be checked before it is cut off again.
FILE* OpenAppendingStream(const char* path, const char* mode);
// The size of the file under a stream, as the system has it: bytes still in the
// stream's buffer do not count. -1 on failure.
int64_t FileSizeOfStream(FILE* stream);
// Sets the end of the file under a stream, which the caller has flushed.
bool SetStreamFileLength(FILE* stream, int64_t length);
// Hands bytes to the file under the stream with write(2), past the stream's own
// buffer (which its user leaves empty). Returns how many reached the file: all of
// them, or fewer when the system refused the rest (a full disk, a file size limit).
size_t AppendToStreamFile(FILE* stream, const void* data, size_t bytes);
// Reserves `bytes` of disk from `offset` on for the file under the stream, beyond
// its end, without changing its size or contents (fallocate with
// FALLOC_FL_KEEP_SIZE): appends that land there find their blocks allocated. False
// when the file system gives no such room (not supported, full).
bool ReserveStreamFileRoom(FILE* stream, int64_t offset, int64_t bytes);
// Cuts the last `bytes` bytes off the file under the stream, provided they are the
// bytes of `tail`, so that a piece of a line that a short write left is taken back
// and nothing that another process appended since is lost. False when they are not
// (or the file cannot be cut).
bool CutStreamFileTail(FILE* stream, const void* tail, size_t bytes);
// How `path` stands to the file under the stream: kSame, kOther when the path (or
// a directory above it) is missing or names another file, and kUnknown when the
// system does not tell (a directory that may not be searched): the stream may well
// still be the file at that path.
enum class PathMatch { kSame, kOther, kUnknown };
PathMatch StreamFileAtPath(FILE* stream, const char* path);

}  // namespace os
