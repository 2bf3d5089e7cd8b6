// Mapped views of files and of named shared memory: what the platform's file
// mapping calls become here. A mapping object is the file or the shared memory that
// views are taken from; a view is an mmap of part of it.
//
// Named shared memory lives in POSIX shared memory (/dev/shm). Every user holds a
// read lock on its first byte for as long as it keeps the object, so an object that
// nobody holds is known to be left over from a process that died: the next one to
// come takes it over as its maker. The last user in the making process unlinks the
// name.
#pragma once

#include <cstddef>
#include <cstdint>

namespace os {

struct Mapping;

enum ViewAccess {
    kViewRead,       // a shared view that may only be read
    kViewReadWrite,  // a shared view: writes reach the file and every other view
    kViewCopy,       // a private view: writes, once allowed, stay in this process
};

// A mapping of `size` bytes (0: the whole file) of a file handle opened with
// OpenRegularFileHandle. A writable mapping longer than the file grows the file to
// it, as the platform does; a read-only one is refused (EINVAL).
Mapping* CreateFileMapping(intptr_t file, bool writable, int64_t size);
// Creates or joins the shared memory named `name` (the platform's object name, see
// SharedMemoryName), or makes a private one when `name` is null. `created` tells
// whether this call made it. Joining an object smaller than `size` is refused
// (EINVAL); a larger one is joined.
Mapping* CreateSharedMemory(const char* name, int64_t size, bool* created);
// Releases the object; views taken from it stay valid until unmapped.
bool CloseMapping(Mapping* mapping);
// The name shared memory gets in the system: "Global\" dropped, every other
// separator made '_', '/' in front. False when it does not fit `capacity`.
//   "Global\logs\app_mpf" -> "/logs_app_mpf"      "a/b_mpf" -> "/a_b_mpf"
bool SharedMemoryName(const char* name, char* out, size_t capacity);

// A view of `bytes` (0: to the end of the mapping) at `offset`, placed at
// `wantedBase` when the system agrees. Any offset is taken, not only multiples of
// the page. A view that would reach past the end of the mapping, or past the
// current end of a mapped file (touching it would raise SIGBUS), is refused.
void* MapView(Mapping* mapping, int64_t offset, size_t bytes, ViewAccess access, void* wantedBase);
bool UnmapView(void* address, size_t bytes);
// Writes the changed pages of a shared view to the file (msync).
bool FlushView(void* address, size_t bytes);
// Lets a private view be written; the writes never reach the file.
bool AllowPrivateWrites(void* address, size_t bytes);

}  // namespace os
