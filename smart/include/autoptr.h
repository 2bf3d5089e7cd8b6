// AutoPtr: an owning pointer that knows whether it holds one object or an array,
// so that the matching form of delete runs. Assignment transfers; nothing copies.
#pragma once

#include <cstdint>

#include "quickallocator.h"
#include "smartbase.h"

template <class TYPE, class ALLOC = sys_allocator_traits>
class AutoPtr : public SmartBase<TYPE> {
public:
    // len 0: empty; 1: one object by scalar new; 2 or more: an array by new[].
    explicit AutoPtr(int32_t len = 0) : is_array_(0) {
        this->p_ = nullptr;
        this->len_ = 0;
        QDR_CHECK(len >= 0);
        // The report shows this expression as written.
        QDR_CHECK(len <= 1024*1024*512/((const int)sizeof(TYPE)));
        if (len < 0 || len > QD_MAX_BLOCK_ITEMS(TYPE)) return;
        if (len == 1) {
            this->p_ = new TYPE;
            QDR_CHECK(this->p_);
        } else if (len >= 2) {
            this->p_ = new TYPE[len];
            QDR_CHECK(this->p_);
        }
        this->len_ = this->p_ ? len : 0;
        is_array_ = this->len_ > 1;
    }

    // Adopts `p`. A single item may come from either form of new, so the flag
    // decides for len 1; longer blocks are always arrays. A pointer with a length
    // below 1 is reported and not adopted.
    AutoPtr(TYPE* p, int32_t len, bool isArray) : is_array_(0) {
        this->p_ = nullptr;
        this->len_ = 0;
        if (p)
            QDR_CHECK(len > 0);
        else
            QDR_CHECK(len >= 0);
        if (len == 0) QDR_CHECK(p == 0);
        if (len <= 0) return;
        this->p_ = p;
        this->len_ = p ? len : 0;
        if (!this->p_)
            is_array_ = 0;
        else if (this->len_ > 1)
            is_array_ = 1;
        else
            is_array_ = isArray ? 1 : 0;
    }

    ~AutoPtr() { Free(); }

    AutoPtr& operator=(AutoPtr& other) {
        if (&other == this) return *this;
        Free();
        this->len_ = other.len_;
        this->p_ = other.p_;
        is_array_ = other.is_array_;
        other.len_ = 0;
        other.p_ = nullptr;
        other.is_array_ = 0;
        return *this;
    }

    void Free() {
        if (this->p_) {
            QDR_CHECK(this->len_ > 0);
            QDR_CHECK(IsValid());
            if (is_array_)
                delete[] this->p_;
            else
                delete this->p_;
        }
        this->len_ = 0;
        this->p_ = nullptr;
        is_array_ = 0;
    }

    TYPE* operator->() const { return this->Get(); }
    bool IsArray() const { return is_array_ != 0; }

private:
    bool IsValid() const {
        if (is_array_) return this->p_ && this->len_ >= 1;
        return this->p_ ? this->len_ == 1 : this->len_ == 0;
    }

    ALLOC alloc_;
    int32_t is_array_;
};
