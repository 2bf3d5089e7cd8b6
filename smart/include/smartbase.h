// SmartBase: the fields every smart container shares. A container keeps its
// capacity in len_ and its items at p_; valid_cnt_ points at the count that bounds
// index access (len_ here, the live item count in SmartArray). user_thread_ names
// the one thread that may use the object; the library leaves it 0, any thread.
#pragma once

#include <cstdint>

#include "qdr/qdassert.h"
#include "qdr/qdfill.h"
#include "qdr/qdthread.h"

// The ceiling of one block: 512 MiB.
#define QD_MAX_BLOCK_ITEMS(TYPE) (1024 * 1024 * 512 / ((const int)sizeof(TYPE)))

template <class TYPE>
class SmartBase {
public:
    SmartBase() : valid_cnt_(&len_), user_thread_(0) {}
    ~SmartBase() {
        FillDestroyed(&len_, sizeof(len_));
        FillDestroyed(&p_, sizeof(p_));
        FillDestroyed(&valid_cnt_, sizeof(valid_cnt_));
    }
    SmartBase(const SmartBase&) = delete;
    SmartBase& operator=(const SmartBase&) = delete;

    bool IsUserThread() const { return user_thread_ == 0 || user_thread_ == OSThreadSelf(); }

    TYPE* Get() const {
        QDR_CHECK(IsUserThread());
        return p_;
    }

    TYPE& operator[](int32_t index) const {
        QDR_CHECK(index >= 0 && index < *valid_cnt_);
        QDR_CHECK(IsUserThread());
        return p_[index];
    }

    int32_t Length() const { return len_; }

protected:
    int32_t len_;
    TYPE* p_;
    int32_t* valid_cnt_;
    OSThreadID user_thread_;
};
