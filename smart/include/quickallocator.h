// Allocators of the smart containers. sys_allocator_traits is the bottom of the
// stack: an empty object whose malloc and free go straight to the C library; it is
// the heap of SmartBuf and SmartArray.
#pragma once

#include <cstddef>
#include <cstdlib>

struct sys_allocator_traits {
    void* malloc(size_t bytes) { return ::malloc(bytes); }
    void free(void* block) { ::free(block); }
};
