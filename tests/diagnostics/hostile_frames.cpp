// Compiled without frame pointers (see CMakeLists.txt).
#include "hostile_frames.h"

#include <cstdint>

#include "diagnostics/stacktext.h"

namespace {

char g_text[8192];

// Finds the slot that holds this frame's return address near `local` (above it on
// x86-64, below it where the frame record sits under the locals, as on aarch64).
// It reads the frame's raw words, padding included.
__attribute__((noinline, no_sanitize("address"))) void** ReturnAddressSlot(void* local,
                                                                           void* returnAddress) {
    void** slot = static_cast<void**>(local) - 16;
    for (int i = 0; i < 80; ++i, ++slot)
        if (*slot == returnAddress) return slot;
    return nullptr;
}

}  // namespace

__attribute__((noinline)) std::string WalkThroughClobberedFrame() {
    void* volatile local = nullptr;  // pointer-aligned, like the slot it looks for
    void** slot = ReturnAddressSlot(const_cast<void**>(&local), __builtin_return_address(0));
    void* saved = slot ? *slot : nullptr;
    if (slot) *slot = reinterpret_cast<void*>(0x10);
#if defined(__x86_64__)
    register uintptr_t framePointer asm("rbp") = 0xdeadbeef00;
#elif defined(__aarch64__)
    register uintptr_t framePointer asm("x29") = 0xdeadbeef00;
#else
    uintptr_t framePointer = 0;
#endif
    asm volatile("" : "+r"(framePointer));
    qdr_WriteStackText(g_text, sizeof(g_text));
    asm volatile("" : : "r"(framePointer));
    if (slot) *slot = saved;
    return g_text;
}
