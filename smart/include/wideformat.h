// printf for 16-bit text, with the rules of the Windows wide printf family, which
// the C library here does not have: in a char16_t format
//   %s, %ls, %ws  take const char16_t*        %c, %lc, %wc  a 16-bit unit
//   %S, %hs       take const char* (UTF-8)    %C, %hc       a narrow char
// A null string prints "(null)". Numbers, widths, precisions and * are C's, and the
// C library formats them; the size prefixes I64, I32 and I are accepted as well.
//   FormatWide(buf, 32, u"%s=%S %5.1f", u"中", "b", 2.25) -> u"中=b   2.2", 10
#pragma once

#include <cstdarg>
#include <cstddef>

// Writes the text and its terminator into out[0 .. capacity) and returns the text's
// length in units. With a null `out` or a capacity of 0 nothing is written and the
// length is measured (Windows' _vscwprintf). The result is -1 when the format
// is invalid (an unknown conversion, %n, a number too long for an int), or when the
// text and its terminator do not fit: `out` then holds what fits, terminated.
//
// A precision limits what is read of a string argument, in its own units (bytes
// for narrow text); a UTF-8 character that the limit cuts is left out whole.
// A narrow character above 0x7F is no UTF-8 text on its own and prints U+FFFD.
int FormatWideV(char16_t* out, int capacity, const char16_t* fmt, va_list args);
int FormatWide(char16_t* out, int capacity, const char16_t* fmt, ...);
