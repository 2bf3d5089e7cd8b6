// Binary: the library's value type for "some bytes" (a file read into memory,
// compressed data, a command's output). Copying a Binary copies a pointer and
// counts a reference; the first write makes a private block. Empty Binary objects
// share one static entity and allocate nothing.
//
//   Binary a; a.Set("abc", 3);
//   Binary b = a;          // shares a's block
//   b.Get()[0] = 'x';      // b copies first: a still reads "abc"
//
// A fixed block (attached with xbinary_fixed) may be read but not changed: Get,
// SetLength, Clear and Set report "(false)" and refuse.
#pragma once

#include <cstdint>

#include "refpack.h"
#include "xbinary.h"

class Binary : public RefPack<XBinary<BinaryAllocator>> {
public:
    typedef XBinary<BinaryAllocator> Block;

    Binary() {}
    explicit Binary(const BinaryAllocator& alloc) : RefPack(alloc) {}

    int32_t Size() const { return Read().Size(); }
    // The same count under the name that the block's readers use in their checks.
    int32_t Length() const { return Size(); }
    bool IsEmpty() const { return Read().IsEmpty(); }
    bool IsFixed() const { return Read().Mode() == xbinary_fixed; }
    // Reading without making the block private.
    const unsigned char* Data() const { return Read().Get(); }

    // The bytes, writable: private to this object from here on. 0 when empty.
    unsigned char* Get();
    // len 0 gives the shared empty entity; keep preserves the first min(old, len) bytes.
    bool SetLength(int32_t len, bool keep);
    bool Clear();
    // A copy of len bytes at data, which may lie in this object's own block.
    bool Set(const void* data, int32_t len);
    // Lends or hands over a block in the given mode (see XBinary::Attach).
    bool Attach(void* data, int32_t bytes, uint32_t mode);

private:
    // A fixed block: reported ("(false)") and true.
    bool RefusedAsFixed() const;
    Block* PrepareWrite(int32_t len, bool* result);
};
