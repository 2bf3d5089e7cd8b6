// Character transforms: UTF-8 <-> UTF-16 ("Unicode" in the names), through the
// platform's converter. The caller owns the output buffer; *out_len holds its
// capacity in code units on entry and the units written, without the terminator,
// on success. Output is always terminated, so a capacity of n takes n - 1 units:
//   Utf8ToUnicode("ab", 2, buf, &(len = 3))  -> u"ab", len 2
//   Utf8ToUnicode("ab", 2, buf, &(len = 2))  -> fails, len stays 2
//   Utf8ToUnicode("ab", -1, buf, &(len = 4)) -> u"ab", len 3 (the terminator counts)
// With no buffer or a capacity of 0, *out_len receives the units the conversion
// needs and nothing is written. On failure nothing is promised of the buffer and
// *out_len keeps its value. Invalid input becomes U+FFFD.
#pragma once

void Utf8ToUnicode(const char* utf8_txt, int utf8_len, char16_t* out_buf, int* out_len);
void UnicodeToUtf8(const char16_t* unicode_txt, int unicode_len, char* out_buf, int* out_len);

// The GB pair: code page 936 (GBK, the superset of GB2312) by the library's own
// tables, whatever the machine's code page. Same buffer rules as above, but a
// failure returns false with *out_len = -1, and the whole text converts or nothing:
//   UnicodeToGb2312(u"中文", 2, buf, &(len = 5))  -> D6 D0 CE C4, len 4
//   UnicodeToGb2312(u"中文", 2, buf, &(len = 4))  -> false, len -1 (no room for 0)
//   UnicodeToGb2312(u"\u0100", 1, ...)             -> A8 A1 (a best fit: reads back U+0101)
bool UnicodeToGb2312(const char16_t* unicode_txt, int unicode_len, char* out_buf, int* out_len);
bool Gb2312ToUnicode(const char* gb2312_txt, int gb2312_len, char16_t* out_buf, int* out_len);

// Error values of the single-character steps.
enum { kGbTooShort = -38, kGbNoMapping = -22 };

// One character from `left` bytes: the bytes read (1 or 2), or an error value. A
// byte with no row behind it, or followed by a 0, is a code point of its own value;
// 0x80 alone is U+20AC.  {D6 D0} -> U+4E2D, 2;  {81 7F} -> -22;  {D6} -> U+00D6, 1
int Gb2312CharToUnicode(const unsigned char* bytes, int left, char16_t* code);
// One code point into `out` (room for `capacity` bytes): the bytes written, or an
// error value.  U+20AC -> {80}, 1;  U+4E2D -> {D6 D0}, 2;  U+00E9 -> -22
int UnicodeCharToGb2312(char16_t code, unsigned char* out, int capacity);
