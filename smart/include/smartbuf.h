// SmartBuf: a scratch buffer that lives inside its owner, usually a stack frame.
// Up to stack_len items cost no allocation; only a longer request takes a heap
// block from ALLOC. The buffer never constructs items, so a large inline buffer is
// free to declare; the destructor fills everything it held with 0xCD. A container
// that keeps constructed items in it (SmartArray) changes the block with SetBlock,
// and puts its own fields in BASE, which the buffer derives from.
//
//   SmartBuf<char, 1024> a(1024);  // inline, IsStack() true
//   SmartBuf<char, 1024> b(1025);  // heap, heap_len_ 1025
#pragma once

#include <cstdint>

#include "constructor.h"
#include "quickallocator.h"
#include "smartbase.h"

template <class TYPE, int stack_len, class ALLOC = sys_allocator_traits,
          class BASE = SmartBase<TYPE>>
class SmartBuf : public BASE {
    static_assert(stack_len >= 0, "stack_len must not be negative");

public:
    explicit SmartBuf(int32_t len, const ALLOC& alloc = ALLOC()) : alloc_(alloc) {
        this->p_ = nullptr;
        heap_ = nullptr;
        heap_len_ = 0;
        this->len_ = 0;
        Init(len);
    }

    ~SmartBuf() {
        if (heap_) alloc_.free(heap_);
        FillDestroyed(&heap_, sizeof(heap_));
        FillDestroyed(&heap_len_, sizeof(heap_len_));
        FillDestroyed(stack_, sizeof(stack_));
    }

    // On the stack (also at length 0) or on the heap; tests the invariant of each.
    bool IsStack() const {
        QDR_CHECK(this->p_);
        if (this->p_ == StackItems()) {
            QDR_CHECK(this->len_ <= stack_len);
            QDR_CHECK(heap_ == 0);
            QDR_CHECK(heap_len_ == 0);
            return true;
        }
        QDR_CHECK(this->p_ == heap_);
        QDR_CHECK(heap_len_ > stack_len);
        return false;
    }

    // Releases the heap block, or leaves the stack; the buffer is then ready for
    // Init. With allow_null a buffer that was already freed passes too.
    void Free(bool allow_null) {
        if (heap_) {
            alloc_.free(heap_);
            this->p_ = nullptr;
            heap_ = nullptr;
            this->len_ = 0;
            heap_len_ = 0;
            return;
        }
        QDR_CHECK(heap_len_ == 0);
        if (allow_null)
            QDR_CHECK(this->p_ == StackItems() || this->p_ == 0);
        else
            QDR_CHECK(this->p_ == StackItems());
        this->p_ = nullptr;
        this->len_ = 0;
    }

    // A new length discards the contents, even when both lengths fit inline.
    void Resize(int32_t len) {
        if (len == this->len_) return;
        Free(false);
        Init(len);
    }

    int32_t HeapLength() const { return heap_len_; }

    const ALLOC& Allocator() const { return alloc_; }

protected:
    // Gives the buffer a block of exactly len items, the inline storage when they
    // fit there, and relocates the first `keep` items into it. A failed allocation
    // is reported ("(false)") and leaves the buffer as it was.
    void SetBlock(int32_t len, int32_t keep) {
        if (len <= stack_len) {
            if (this->p_ == StackItems()) {
                QDR_CHECK(this->IsStack());
            } else {
                RelocateItems(StackItems(), this->p_, keep);
                alloc_.free(heap_);
                this->p_ = StackItems();
                heap_ = nullptr;
                heap_len_ = 0;
            }
            this->len_ = len;
            return;
        }
        TYPE* block = static_cast<TYPE*>(alloc_.malloc(static_cast<size_t>(len) * sizeof(TYPE)));
        if (!block) {
            QDR_CHECK(false);
            return;
        }
        RelocateItems(block, this->p_, keep);
        if (heap_) alloc_.free(heap_);
        this->p_ = heap_ = block;
        this->len_ = heap_len_ = len;
    }

    // The invariant of a buffer whose length is its block's: inline up to stack_len
    // items, on a heap block of exactly len_ beyond.
    void CheckRepresentation() const {
        if (this->len_ > stack_len) {
            QDR_CHECK(!IsStack());
            QDR_CHECK(heap_);
            QDR_CHECK(this->len_ == heap_len_);
            QDR_CHECK(this->p_ == heap_);
        } else {
            QDR_CHECK(IsStack());
            QDR_CHECK(heap_ == 0);
            QDR_CHECK(heap_len_ == 0);
            QDR_CHECK(this->p_ == StackItems());
        }
    }

    // A negative or oversized length is reported and leaves an empty buffer; so does
    // a failed allocation (p_ null, len_ 0).
    void Init(int32_t len) {
        QDR_CHECK(len >= 0);
        QDR_CHECK(heap_ == 0);
        QDR_CHECK(this->p_ == 0);
        QDR_CHECK(this->len_ == 0);
        QDR_CHECK(heap_len_ == 0);
        if (len < 0) len = 0;
        if (len <= stack_len) {
            heap_ = nullptr;
            heap_len_ = 0;
            this->p_ = StackItems();
        } else {
            // The report shows this expression as written.
            // clang-format off
            QDR_CHECK(len <= 1024*1024*512/((const int)sizeof(TYPE)));
            // clang-format on
            if (len <= QD_MAX_BLOCK_ITEMS(TYPE))
                heap_ = static_cast<TYPE*>(alloc_.malloc(static_cast<size_t>(len) * sizeof(TYPE)));
            this->p_ = heap_;
            QDR_CHECK(this->p_);
            if (heap_) heap_len_ = len;
        }
        this->len_ = this->p_ ? len : 0;
    }

    TYPE* StackItems() const { return reinterpret_cast<TYPE*>(const_cast<unsigned char*>(stack_)); }

    ALLOC alloc_;
    TYPE* heap_;
    int32_t heap_len_;
    alignas(TYPE) unsigned char stack_[stack_len > 0 ? stack_len * sizeof(TYPE) : sizeof(void*)];
};
