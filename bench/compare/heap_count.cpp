// Replaces the allocation entry points of the C library and hands each call to
// glibc's own implementation; free needs no counting and stays glibc's.
#include "heap_count.h"

#include <atomic>
#include <cstddef>

extern "C" {
void* __libc_malloc(size_t bytes);
void* __libc_calloc(size_t count, size_t bytes);
void* __libc_realloc(void* block, size_t bytes);
void* __libc_memalign(size_t alignment, size_t bytes);
}

namespace {

std::atomic<bool> g_counting{false};
thread_local long t_heapCalls = 0;

inline void Count() {
    if (g_counting.load(std::memory_order_relaxed)) ++t_heapCalls;
}

}  // namespace

extern "C" {

void* malloc(size_t bytes) {
    Count();
    return __libc_malloc(bytes);
}

void* calloc(size_t count, size_t bytes) {
    Count();
    return __libc_calloc(count, bytes);
}

void* realloc(void* block, size_t bytes) {
    Count();
    return __libc_realloc(block, bytes);
}

void* memalign(size_t alignment, size_t bytes) {
    Count();
    return __libc_memalign(alignment, bytes);
}

void* aligned_alloc(size_t alignment, size_t bytes) {
    Count();
    return __libc_memalign(alignment, bytes);
}

int posix_memalign(void** block, size_t alignment, size_t bytes) {
    Count();
    if (alignment < sizeof(void*) || (alignment & (alignment - 1))) return 22;  // EINVAL
    *block = __libc_memalign(alignment, bytes);
    return *block || !bytes ? 0 : 12;  // ENOMEM
}

}  // extern "C"

void StartHeapCount() {
    g_counting.store(true, std::memory_order_relaxed);
}

void StopHeapCount() {
    g_counting.store(false, std::memory_order_relaxed);
}

long ThreadHeapCalls() {
    return t_heapCalls;
}

void ResetThreadHeapCalls() {
    t_heapCalls = 0;
}
