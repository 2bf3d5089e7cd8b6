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

// ---- processes ------------------------------------------------------------

// The ids of the numeric entries of /proc, at most `limit`.
bool ListProcessIds(std::vector<uint32_t>* pids, int limit);
// readlink of /proc/<pid>/exe; 0 when the process is gone or not readable.
int ProcessImagePath(uint32_t pid, char* buffer, int capacity);
// The process's own thread: on Linux the main thread's id is the pid.
uint32_t MainThreadId();
// The arguments of this process from /proc/self/cmdline, index 0 included.
bool CommandLine(std::vector<std::string>* args);
// posix_spawn of "/bin/sh -c cmdLine", with the environment of this process. With
// `wait` the child is waited for and `exitCode` receives its status. 0 on failure,
// else the child's pid.
uint32_t SpawnShell(const char* cmdLine, bool wait, int* exitCode);
// posix_spawnp of "xdg-open file"; its pid or 0.
uint32_t SpawnDocumentOpener(const char* file);
// strerror_r's text for `code`.
void ErrorText(int code, char* buffer, int capacity);
// Accumulated times in 100-ns units: of all processors from the first line of
// /proc/stat (idle = idle + iowait, kernel = system + irq + softirq, user = user +
// nice), and of this process from /proc/self/stat with its start as a file time.
bool SystemTimes(int64_t* idle, int64_t* kernel, int64_t* user);
bool ProcessTimes(int64_t* creation, int64_t* kernel, int64_t* user);
int ProcessorCount();
// "MemTotal" and "MemAvailable" of /proc/meminfo in bytes.
bool PhysicalMemory(uint64_t* total, uint64_t* available);
// VmRSS and VmData of /proc/<pid>/status in bytes (0: this process).
bool ProcessMemory(uint32_t pid, uint64_t* residentBytes, uint64_t* dataBytes);
uint32_t ParentProcessId();
// SIGKILL; this process ends with _exit(255).
bool KillProcess(uint32_t pid);
// Reaps `pid` if it is a child that ended; true when it no longer runs.
bool ReapIfChildEnded(uint32_t pid);
// "model name" of /proc/cpuinfo (aarch64: "Hardware", else "CPU implementer").
bool ProcessorName(char* buffer, int capacity);

}  // namespace winos
