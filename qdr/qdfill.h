// The 0xCD fill of whatever is destroyed, so that a stale pointer fails the next
// check instead of reading plausible data.
#pragma once

#include <cstddef>
#include <cstring>

// The barrier keeps the compiler from dropping the fill as a dead store at the end
// of an object's lifetime, which it otherwise may do inside destructors.
inline void FillDestroyed(void* p, size_t bytes) {
    memset(p, 0xCD, bytes);
    __asm__ volatile("" : : "r"(p) : "memory");
}
