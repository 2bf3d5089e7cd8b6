// vsnprintf, with the C library's output to the byte, faster for the conversions
// that log messages are made of. The format is walked here, and what is handled
// here is written here:
//   %d %i %u %o %x %X  with C's flags, width, precision and the sizes hh h l ll j z t
//   %c %s              without a size prefix, %s of a non-null string
//   %f %F              of a double: the exact value rounded to nearest, ties to even,
//                      as the C library rounds in the default rounding mode
//   %%
// %e %E %g %G %a %A and %p go to the C library one conversion at a time, and so
// does a %f that the exact rounding does not take (more than 17 decimals, an
// infinity, a NaN, 2^63 and more, another rounding mode of the thread). Anything
// else (positional arguments, %n, %m, wide strings and characters, long double, a
// null string, the flags ' and I, a single conversion of 512 characters or more, a
// text beyond INT_MAX characters) makes the whole format go to vsnprintf, so no
// output differs.
//   FormatNarrow(buf, 64, "id %05d took %.3f ms", 42, 1.2345) -> "id 00042 took 1.234 ms", 22
// (1.2345 is stored as 1.23449999..., so it rounds down.)
#pragma once

#include <cstdarg>
#include <cstddef>

// vsnprintf's contract: at most capacity - 1 characters and a terminator are
// written (nothing with a capacity of 0), and the result is the length of the whole
// text, or negative when it cannot be formatted. `args` is not consumed.
int FormatNarrowV(char* out, size_t capacity, const char* fmt, va_list args);
int FormatNarrow(char* out, size_t capacity, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
