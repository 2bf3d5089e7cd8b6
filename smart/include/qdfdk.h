// The file development kit: the library's whole knowledge of path text and of the
// file system. Path text is handled as plain characters by one normal form
// (NormalizePath), one root classifier (GetRoot) and the routines built on them;
// the file-system routines are thin, each a predicate or a truth value.
//
// The path grammar: `\` is the normal separator and `/` is accepted on input; `C:`
// starts a drive path, `\\server\share` a network path, a leading `.` or `..` a
// relative one. On Linux a path that begins with a single separator
// (`/var/log`, `\var\log`) is absolute too, with the root `\`. The platform layer
// turns `\` into `/` when it hands a path to the system.
//
// Every routine is one template over the code unit: `char` (UTF-8) and `char16_t`
// (UTF-16), whose file-system calls convert to UTF-8 first. Path buffers hold
// kMaxPathChars units; paths of kMaxPathChars or more are refused by the routines
// that measure (the validators, GetRoot, CreateDirTree) and by every routine that
// writes a path into a caller's buffer. A length argument of -1 means "terminated".
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "binary.h"
#include "cpp_templ0.h"
#include "ptrstr.h"

constexpr int kMaxPathChars = 512;

// The characters that no name may hold: < > : | / \ and ". `*` and `?` are allowed.
extern const char kForbiddenNameChars[];

// ---- validating ----------------------------------------------------------------

// A non-empty name of fewer than kMaxPathChars units without a forbidden character
// (`forbidden` null: kForbiddenNameChars).
template <class CHAR>
bool IsValidFileName(const CHAR* name, const NonDeduced<CHAR>* forbidden = nullptr);
// A path whose start is a drive (`C:`, `C:\...`), a network share, a single
// separator, or a dot: relative paths are valid only when they say so.
//   ".", ".\x", "..\x", "C:\x", "\\srv\share", "/var/log" -> true;  "logs\x" -> false
template <class CHAR>
bool IsValidPathName(const CHAR* path, const NonDeduced<CHAR>* forbidden = nullptr);
// A valid path that starts with a drive, a network share or a single separator.
template <class CHAR>
bool IsValidAbsPath(const CHAR* path);

// ---- path text ------------------------------------------------------------------

// The normal form, in place: `\` only, runs of separators collapsed (a leading
// `\\` of a network name kept), `.` and `..` components resolved, no trailing
// separator except after a root and after a `..` that could not be resolved.
//   "a/b//c" -> "a\b\c"      "a\..\b" -> "b"        "a\b\.." -> "a\"
//   ".\..\x" -> "..\x"       "C:\.." -> null        "\\srv\share\x\.." -> "\\srv\share\"
//   "/var/../log" -> "\log"  "\" -> "\"             "a\.." -> "" (reported: nothing is left)
// Null when the path climbs above its root; the buffer then holds the text with
// its separators turned and a `\` appended behind a final `..`. The caller owes
// room for the text plus two units, since that `\` may be added.
template <class CHAR>
CHAR* NormalizePath(CHAR* path);

// The relation of two paths after normalising copies of both, ignoring case:
// 1 path1 is an ancestor of path2, 2 path2 of path1, 3 the same, 0 none. A path
// with a trailing separator is nobody's ancestor: ("C:\a\", "C:\a\b") -> 0.
template <class CHAR>
int ComparePathRelation(const CHAR* path1, const NonDeduced<CHAR>* path2, int len1 = -1,
                        int len2 = -1);

// The root of a path into `root` (kMaxPathChars units); `isNetwork` (may be null)
// tells a network share.
//   "C:\x" -> "C:\"   "c:" -> "c:\"   "\\srv\share\x" -> "\\srv\share\" (network)
//   "x\y" -> ".\"     "..\y" -> "..\"  "/var/log" -> "\"    "...\y" -> false
template <class CHAR>
bool GetRoot(const CHAR* path, CHAR* root, bool* isNetwork = nullptr, int len = -1);

// `dir` + `\` + `file` (its leading separators skipped), normalised. An empty dir
// gives `file` and an empty file gives `dir`, both as they stand. `dest` may be
// either input. A result of kMaxPathChars units or more is reported and refused:
// false with `dest` empty.
//   ("C:\log\", "\a.txt") -> "C:\log\a.txt";  ("", "x") -> "x"
template <class CHAR>
bool ComposeFileName(const CHAR* dir, const NonDeduced<CHAR>* file, CHAR* dest);
// The same as a text, empty on failure.
template <class CHAR>
std::basic_string<CHAR> ComposeFileName(const CHAR* dir, const NonDeduced<CHAR>* file);

// Appends `\` and `name` to `target` (kMaxPathChars units) without normalising:
// the name's leading and the target's trailing separators are dropped. Null for a
// null target, a null or empty name, or a result too long (all reported).
template <class CHAR>
CHAR* AppendPathName(CHAR* target, const NonDeduced<CHAR>* name);

// `name` points behind the last `\`, `/` or `:` of the first `len` units, or at the
// path; `dir` (kMaxPathChars units) receives GetDirName. Either may be null. True
// when no directory was asked or GetDirName succeeded.
template <class CHAR>
bool SplitPathName(const CHAR* path, const CHAR** name, CHAR* dir, int len = -1);
// The name part as a pointer into `path`; an empty text for a null path.
template <class CHAR>
const CHAR* GetFileNamePart(const CHAR* path, int len = -1);

// The directory of a path, with its trailing separator, into `dir` (kMaxPathChars).
//   "a\b\c.txt" -> "a\b\"   "c.txt" -> ".\"   "C:\" -> "C:\"   "\\srv\share" -> "\\srv\share\"
// False when the path does not normalise or has no root.
template <class CHAR>
bool GetDirName(const CHAR* path, CHAR* dir, int len = -1);
template <class CHAR>
std::basic_string<CHAR> GetDirName(const CHAR* path, int len = -1);
// GetDirName after the trailing separators are dropped: "a\b\" -> "a\".
template <class CHAR>
bool GetParentDirName(const CHAR* path, CHAR* dir, int len = -1);

// The last `.` of a name, unless it ends the name or a separator stands behind it.
//   "a.txt" -> ".txt";  "a." -> false;  "a.d\x" -> false
template <class CHAR>
bool GetFileExtPos(const CHAR* name, const CHAR** pos);
// The extension without its dot into `ext` (kMaxPathChars units).
template <class CHAR>
bool GetFileExt(const CHAR* name, CHAR* ext);
template <class CHAR>
std::basic_string<CHAR> GetFileExt(const CHAR* name);

// The full path: a relative path joined to the current directory, normalised. The
// platform's _fullpath. False when the result needs `destChars` units or more.
template <class CHAR>
bool GetFullPath(const CHAR* path, CHAR* dest, int destChars);

// ---- the file system ------------------------------------------------------------

// The spelling on disk of an existing path, each component looked up without
// regard to case (the exact spelling wins), into `dest` (kMaxPathChars units).
//   "/TMP/Logs" -> "\tmp\logs" when those exist
template <class CHAR>
bool GetRealCasePath(const CHAR* path, int len, CHAR* dest);

// True for an existing thing that is no directory.
template <class CHAR>
bool IsExistFile(const CHAR* name);
template <class CHAR>
bool IsExistDir(const CHAR* name);
// `buffer` holds kMaxPathChars units.
template <class CHAR>
bool GetCurrentDir(CHAR* buffer);
template <class CHAR>
bool SetCurrentDir(const CHAR* dir);

// -1 on failure, also for a directory.
template <class CHAR>
int64_t GetFileSizeByName(const CHAR* name);
// The size that has reached the system (not what waits in the stream's buffer);
// for files under 4 GiB: a larger one is reported "(dwHSize == 0)" and gives its
// low 32 bits, as Windows' call does. -1 on failure.
int32_t GetFileSizeOfStream(FILE* stream);
// Milliseconds since 1970 of the last write (whole seconds), -1 on failure.
template <class CHAR>
int64_t GetFileModifyTime(const CHAR* name);
// Sets the last-write time; `msel` is local time in milliseconds since 1970, -1
// for now. False for a value outside the valid range or a missing file.
template <class CHAR>
bool SetFileModifyTime(const CHAR* name, int64_t msel);

// Creates a directory and its missing parents. Blanks around the text and trailing
// separators are ignored; 512 units or more are reported and refused. A directory
// that another process creates at the same moment counts as created.
template <class CHAR>
bool CreateDirTree(const CHAR* path, int len = -1);
// CreateDirTree on the directory part of a file path; true when there is none.
template <class CHAR>
bool CreateParentDirs(const CHAR* path, int len = -1);
// Removes a file, or a directory with everything in it. A symbolic link is removed
// as a link: its target is never entered.
template <class CHAR>
bool RemovePathTree(const CHAR* path);
// Renames a file or directory; an existing `to` is not replaced.
template <class CHAR>
bool RenamePath(const CHAR* from, const NonDeduced<CHAR>* to);
template <class CHAR>
bool CopyPath(const CHAR* from, const NonDeduced<CHAR>* to, bool failIfExists);

// Sets a file's length (created if missing; with `overwrite` false an existing
// file is refused), at most 2^40 bytes: more is reported "(false)" and refused.
template <class CHAR>
bool SetFileLength(const CHAR* name, int64_t length, bool overwrite);
template <class CHAR>
bool SetExistingFileLength(const CHAR* name, int64_t length);
// The same for the file under a stream, which is flushed first.
bool SetStreamLength(FILE* stream, int64_t length);

// Free bytes available to the caller on the file system of `path` (0 on failure);
// `total` (may be null) receives its size. The file system is found from the path
// itself, or its nearest existing parent, since a volume here is not named by the
// path's root.
template <class CHAR>
uint64_t GetDiskSpace(const CHAR* path, uint64_t* total = nullptr);

// The temporary directory with a trailing separator into `buffer` (kMaxPathChars
// units), created if missing. When it cannot be a directory the process cannot
// work: the reason goes to standard error and the process ends with status 255.
template <class CHAR>
bool CheckSystemTempPath(CHAR* buffer);

// ---- checked files --------------------------------------------------------------
//
// A small file replaced crash-safely with a backup: the data, then the unsigned
// 64-bit sum of its bytes, little-endian. Writing goes to "<path>.tmp", the old
// file becomes "<path>.bak", and the .tmp is renamed into place.

template <class CHAR>
bool SaveCheckedFile(const void* data, int32_t size, const CHAR* path);
// Longer than 8 bytes and the sum agrees.
template <class CHAR>
bool IsCheckedFileIntact(const CHAR* path);
// The data of an intact file, or of an intact backup, which then takes the file's
// place.
template <class CHAR>
bool LoadCheckedFile(Binary& out, const CHAR* path);
