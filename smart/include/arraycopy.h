// Removing a run from a plain character array in place.
#pragma once

#include <cstring>

#include "qdr/qdassert.h"

// Moves the items behind the run down over it and shortens itemCount.
//   "abcdef", count 6, pos 1, remove 2 -> "adef", count 4
// The caller owes pos + removeCount <= itemCount. A failed precondition is reported
// and the array left unchanged.
template <class CHAR>
inline void RemoveFromArray(CHAR* ar, int& itemCount, int pos, int removeCount) {
    QDR_CHECK(ar);
    QDR_CHECK(0 < itemCount);
    QDR_CHECK(0 <= pos && pos < itemCount);
    QDR_CHECK(removeCount >= 0);
    if (!ar || itemCount <= 0 || pos < 0 || pos >= itemCount || removeCount < 0) return;
    memmove(ar + pos, ar + pos + removeCount,
            static_cast<size_t>(itemCount - removeCount - pos) * sizeof(CHAR));
    itemCount -= removeCount;
}
