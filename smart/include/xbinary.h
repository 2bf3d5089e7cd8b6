// XBinary: a byte block with its size and an ownership mode. Mode 0: allocated here
// and freed here. Mode 1: a fixed block, which may be read but not changed, resized
// or released; every such attempt is reported ("(false)") and refused. Any other
// mode: someone else's block, which releasing only forgets.
//
// XBinary is a template over its allocator: with sys_allocator_traits (one empty
// word) blocks come from malloc and free; Binary (binary.h) uses BinaryAllocator,
// the two allocator words that all three binary classes carry at their head.
//
// Every mutator returns a truth value and keeps the old contents when an allocation
// fails. Foreign and fixed blocks come in through Attach.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "quickallocator.h"
#include "qdr/qdassert.h"
#include "qdr/qdfill.h"

// An allocation source of the object form: its second virtual function takes a size.
class BinaryBlockSource {
public:
    virtual void Free(void* block) = 0;
    virtual void* Allocate(size_t bytes) = 0;

protected:
    ~BinaryBlockSource() {}
};

// An allocation source of the function form: called with (0, bytes) it allocates,
// with (block, 0) it frees and returns 0.
typedef void* (*BinaryBlockFunction)(void* block, size_t bytes);

// The two allocator words: a source and a flag. No source: malloc and free. With the
// flag set the source is a BinaryBlockFunction, else a BinaryBlockSource.
class BinaryAllocator {
public:
    BinaryAllocator() : isFunction_(0) { source_.object = nullptr; }
    explicit BinaryAllocator(BinaryBlockFunction function) : isFunction_(1) {
        source_.function = function;
    }
    explicit BinaryAllocator(BinaryBlockSource* object) : isFunction_(0) {
        source_.object = object;
    }

    void* malloc(size_t bytes) {
        if (isFunction_)
            return source_.function ? source_.function(nullptr, bytes) : ::malloc(bytes);
        return source_.object ? source_.object->Allocate(bytes) : ::malloc(bytes);
    }
    void free(void* block) {
        if (isFunction_) {
            if (source_.function)
                source_.function(block, 0);
            else
                ::free(block);
        } else if (source_.object) {
            source_.object->Free(block);
        } else {
            ::free(block);
        }
    }

    bool operator==(const BinaryAllocator& r) const {
        return isFunction_ == r.isFunction_ && (isFunction_ ? source_.function == r.source_.function
                                                            : source_.object == r.source_.object);
    }

private:
    union {
        BinaryBlockFunction function;
        BinaryBlockSource* object;
    } source_;
    int32_t isFunction_;
};

enum {
    xbinary_owned = 0,
    xbinary_fixed = 1,
    xbinary_foreign = 2,
};

template <class ALLOC = sys_allocator_traits>
class XBinary {
public:
    explicit XBinary(const ALLOC& alloc = ALLOC())
        : alloc_(alloc), data_(nullptr), bytes_(0), mode_(xbinary_owned) {}

    // A private copy of r's bytes, in a block of its own (mode 0), from r's
    // allocator. A block that cannot be allocated is reported and the copy is empty.
    XBinary(const XBinary& r) : alloc_(r.alloc_), data_(nullptr), bytes_(0), mode_(xbinary_owned) {
        if (!r.data_) return;
        data_ = static_cast<unsigned char*>(alloc_.malloc(static_cast<size_t>(r.bytes_)));
        if (!data_) {
            QDR_CHECK(false);
            return;
        }
        memcpy(data_, r.data_, static_cast<size_t>(r.bytes_));
        bytes_ = r.bytes_;
    }
    XBinary& operator=(const XBinary&) = delete;

    // Frees an owned block; fixed and foreign blocks are only forgotten.
    ~XBinary() {
        if (data_ && mode_ == xbinary_owned) alloc_.free(data_);
        FillDestroyed(&data_, sizeof(data_));
        FillDestroyed(&bytes_, sizeof(bytes_));
        FillDestroyed(&mode_, sizeof(mode_));
    }

    unsigned char* Get() const { return data_; }
    int32_t Size() const { return bytes_; }
    bool IsEmpty() const { return data_ == nullptr; }
    uint32_t Mode() const { return mode_; }
    const ALLOC& Allocator() const { return alloc_; }

    bool Release() {
        if (!data_) return true;
        QDR_CHECK(bytes_ > 0);
        if (mode_ == xbinary_fixed) {
            QDR_CHECK(false);
            return false;
        }
        if (mode_ == xbinary_owned) alloc_.free(data_);
        data_ = nullptr;
        bytes_ = 0;
        mode_ = xbinary_owned;
        return true;
    }

    // With keep, the first min(old, new) bytes stay; without it the new block's
    // contents are undefined.
    bool Resize(int32_t bytes, bool keep) {
        if (bytes == bytes_) return true;
        if (mode_ == xbinary_fixed || bytes < 0) {
            QDR_CHECK(false);
            return false;
        }
        if (bytes == 0) return Release();
        unsigned char* block =
            static_cast<unsigned char*>(alloc_.malloc(static_cast<size_t>(bytes)));
        if (!block) {
            QDR_CHECK(false);
            return false;
        }
        if (keep && data_)
            memcpy(block, data_, static_cast<size_t>(bytes < bytes_ ? bytes : bytes_));
        QDR_CHECK(Release());
        data_ = block;
        bytes_ = bytes;
        return true;
    }

    // A copy of `bytes` bytes at `data`, which may lie in this very block. A block
    // of the same size is reused.
    bool Assign(const void* data, int32_t bytes) {
        if (mode_ == xbinary_fixed || bytes < 0) {
            QDR_CHECK(false);
            return false;
        }
        if (bytes == 0) return Release();
        if (!data) {
            QDR_CHECK(false);
            return false;
        }
        if (data == data_ && bytes == bytes_) return true;
        // A source inside the present block must survive the copy: the block moves
        // to `held`, which frees it at the end of the call.
        XBinary held(alloc_);
        const uintptr_t at = reinterpret_cast<uintptr_t>(data);
        const uintptr_t first = reinterpret_cast<uintptr_t>(data_);
        if (data_ && at >= first && at < first + static_cast<uintptr_t>(bytes_)) {
            MoveTo(held);
        } else if (bytes == bytes_) {
            memcpy(data_, data, static_cast<size_t>(bytes));
            return true;
        }
        unsigned char* block =
            static_cast<unsigned char*>(alloc_.malloc(static_cast<size_t>(bytes)));
        if (!block) {
            QDR_CHECK(false);
            // The old contents stay: moved back when they were held, else never left.
            if (!held.IsEmpty()) held.MoveTo(*this);
            return false;
        }
        QDR_CHECK(Release());
        data_ = block;
        bytes_ = bytes;
        memcpy(data_, data, static_cast<size_t>(bytes));
        return true;
    }

    // Takes a block of bytes > 0 in the given mode: xbinary_owned hands it over (it
    // must come from this allocator), xbinary_fixed and others lend it. The present
    // block is released first; a fixed one refuses, and so does a null block.
    bool Attach(void* data, int32_t bytes, uint32_t mode) {
        if (!Release()) return false;
        QDR_CHECK(data && bytes > 0);
        if (!data || bytes <= 0) return false;
        data_ = static_cast<unsigned char*>(data);
        bytes_ = bytes;
        mode_ = mode;
        return true;
    }

private:
    void MoveTo(XBinary& to) {
        to.data_ = data_;
        to.bytes_ = bytes_;
        to.mode_ = mode_;
        data_ = nullptr;
        bytes_ = 0;
        mode_ = xbinary_owned;
    }

    ALLOC alloc_;
    unsigned char* data_;
    int32_t bytes_;
    uint32_t mode_;
};

// Whether `copy` holds all of `source`: a copy whose block could not be allocated
// is empty. RefPack asks before it lets go of a shared block.
template <class ALLOC>
inline bool IsWholeCopy(const XBinary<ALLOC>& copy, const XBinary<ALLOC>& source) {
    return copy.Size() == source.Size();
}
