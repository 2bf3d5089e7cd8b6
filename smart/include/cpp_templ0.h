// Interval and range helpers shared by the runtime and the toolkits, and the small
// template tools of the narrow and wide twins.
#pragma once

#include <cstdint>
#include <type_traits>

#include "qdr/qdassert.h"

// Whether `interval` has passed since `last`, for wrapping unsigned counters such
// as the 32-bit tick: the unsigned difference survives the wrap, and exactly
// `interval` counts as passed.
//   IsElapsed(5u, 0xFFFFFFFBu, 10u) -> true   (wrapped, 10 went by)
//   IsElapsed(10u, 0u, 10u)         -> true
template <class UINT>
inline typename std::enable_if<std::is_unsigned<UINT>::value, bool>::type IsElapsed(UINT now,
                                                                                    UINT last,
                                                                                    UINT interval) {
    const UINT upper_interval = static_cast<UINT>(static_cast<UINT>(~static_cast<UINT>(0)) / 4 + 1);
    QDR_CHECK(interval <= upper_interval);
    return static_cast<UINT>(now - last) >= interval;
}

// The signed 64-bit form: the interval must be exceeded, and a `last` in the future
// gives false.
//   IsElapsed(int64_t(10), 0, 10) -> false
inline bool IsElapsed(int64_t now, int64_t last, int64_t interval) {
    const int64_t upper_interval = 0x4000000000000000LL;
    QDR_CHECK(interval <= upper_interval);
    return now - last > interval;
}

// Pulls `value` into [lowest, highest]; true when it had to move. With `check`
// set, an empty range is reported.
template <class T>
inline bool LimitValue(T& value, const T& lowest, const T& highest, bool check = true) {
    if (check) QDR_CHECK(highest >= lowest);
    if (value < lowest) {
        value = lowest;
        return true;
    }
    if (value > highest) {
        value = highest;
        return true;
    }
    return false;
}

// Closed: the ranges share at least a point. Open: they share more than a point.
//   [1,3] and [3,5]: closed -> true, open -> false
template <class T>
inline bool RangesOverlap(const T& left1, const T& right1, const T& left2, const T& right2,
                          bool closed) {
    QDR_CHECK(right1 >= left1);
    QDR_CHECK(right2 >= left2);
    if (closed) return right1 >= left2 && right2 >= left1;
    return left2 < right1 && left1 < right2;
}

// Keeps a parameter out of template argument deduction, so that the code unit of a
// narrow/wide twin is taken from its text arguments alone and a plain character
// converts: IntToGroupedStr(wideBuf, v, 10, 0, 3, ',', true) picks char16_t.
template <class T>
struct NonDeducedType {
    typedef T type;
};
template <class T>
using NonDeduced = typename NonDeducedType<T>::type;
