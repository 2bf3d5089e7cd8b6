// printf-style formatting per code unit, for the text classes that format into
// their own storage (MiniStr, SmartStr). Count gives the length that a format will
// produce, Print writes at most `capacity` units including the terminator; both
// return a negative value when the format cannot be produced.
//
// Only the narrow form is here. The wide form follows the Windows wide printf rules
// and comes with the library's own wide formatter (wideformat.h), which provides
// TextFormat<char16_t>; until then a wide Format does not compile.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>

template <class CHAR>
struct TextFormat;

template <>
struct TextFormat<char> {
    static int Count(const char* fmt, va_list args) { return vsnprintf(nullptr, 0, fmt, args); }
    static int Print(char* buffer, size_t capacity, const char* fmt, va_list args) {
        return vsnprintf(buffer, capacity, fmt, args);
    }
};
