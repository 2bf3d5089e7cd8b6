// Item helpers for containers that manage raw storage themselves.
#pragma once

#include <cstring>
#include <new>
#include <type_traits>

#include "qdr/qdassert.h"
#include "qdr/qdfill.h"

// Copy-constructs `count` items from `value`, in ascending order.
template <class TYPE>
inline void ConstructItems(TYPE* place, int count, const TYPE& value) {
    QDR_CHECK(count >= 0);
    for (int i = 0; i < count; ++i) new (place + i) TYPE(value);
}

// Destroys `count` items in ascending order, then fills their bytes with 0xCD.
template <class TYPE>
inline void DestroyItems(TYPE* place, int count) {
    QDR_CHECK(count >= 0);
    if (count <= 0) return;
    if (!std::is_trivially_destructible<TYPE>::value)
        for (int i = 0; i < count; ++i) place[i].~TYPE();
    FillDestroyed(place, static_cast<size_t>(count) * sizeof(TYPE));
}

// Moves `count` items to raw storage at `dest`. Plain data is copied as bytes and
// the source left as it is; other items are copied and destroyed one by one, and
// the source then filled with 0xCD.
template <class TYPE>
inline void RelocateItems(TYPE* dest, TYPE* src, int count) {
    QDR_CHECK(count >= 0);
    if (count <= 0) return;
    if (std::is_trivially_copyable<TYPE>::value) {
        memcpy(static_cast<void*>(dest), static_cast<const void*>(src),
               static_cast<size_t>(count) * sizeof(TYPE));
        return;
    }
    for (int i = 0; i < count; ++i) {
        new (dest + i) TYPE(src[i]);
        src[i].~TYPE();
    }
    FillDestroyed(src, static_cast<size_t>(count) * sizeof(TYPE));
}
