// printf-style formatting per code unit, for the text classes that format into
// their own storage (MiniStr, SmartStr). Count gives the length that a format will
// produce, Print writes at most `capacity` units including the terminator; both
// return a negative value when the format cannot be produced.
//
// The narrow form is the C library's; the wide form follows the Windows wide printf
// rules through the library's own formatter (wideformat.h).
#pragma once

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

#include "wideformat.h"

template <class CHAR>
struct TextFormat;

template <>
struct TextFormat<char> {
    static int Count(const char* fmt, va_list args) { return vsnprintf(nullptr, 0, fmt, args); }
    static int Print(char* buffer, size_t capacity, const char* fmt, va_list args) {
        return vsnprintf(buffer, capacity, fmt, args);
    }
};

template <>
struct TextFormat<char16_t> {
    static int Count(const char16_t* fmt, va_list args) {
        return FormatWideV(nullptr, 0, fmt, args);
    }
    static int Print(char16_t* buffer, size_t capacity, const char16_t* fmt, va_list args) {
        return FormatWideV(buffer, capacity > INT_MAX ? INT_MAX : static_cast<int>(capacity), fmt,
                           args);
    }
};
