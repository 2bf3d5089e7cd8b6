// The operating-system layer of the process utilities: the per-user store that
// stands in for the registry, the file lock that stands in for a named mutex, and
// the process queries over /proc. Only the files of this folder include POSIX
// headers; each function is named by what it does.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace winos {

// ---- the per-user store -----------------------------------------------------

// "$XDG_STATE_HOME/qdregistry/", else "$HOME/.local/state/qdregistry/"; false when
// neither variable is set or the text does not fit.
bool StoreDirectory(char* buffer, int capacity);
// Makes `dir` and its missing parents. 1: the last one was made now, 0: it
// existed, -1: failure.
int MakeDirectories(const char* dir);
bool IsDirectory(const char* path);
bool IsRegularFile(const char* path);
// The whole of a small file: its length, or -1 when it cannot be read or holds
// `capacity` bytes or more.
int ReadSmallFile(const char* path, char* buffer, int capacity);
// Writes the file under a temporary name beside it, flushes it to the disk and
// renames it into place: a reader sees the old or the new content, never a mix.
bool ReplaceFile(const char* path, const char* data, int length);
bool RemoveFile(const char* path);
// Removes a directory with the regular files in it; refuses one with directories.
bool RemoveDirectoryWithFiles(const char* dir);
// The regular files of `dir` in byte order, without the ones whose names begin
// with ".~" (the temporary names of ReplaceFile); false when it cannot be read.
bool ListRegularFiles(const char* dir, std::vector<std::string>* names);

// ---- the named lock ---------------------------------------------------------

// Opens (creating it, readable by all) the lock file; 0 on failure.
intptr_t OpenLockFile(const char* path);
bool CloseLockFile(intptr_t handle);
// flock(LOCK_EX): 0xFFFFFFFF waits without limit, other time-outs are polled every
// millisecond. A lock whose holder died is free: the kernel releases it.
bool LockLockFile(intptr_t handle, uint32_t timeoutMs);
bool UnlockLockFile(intptr_t handle);

}  // namespace winos
