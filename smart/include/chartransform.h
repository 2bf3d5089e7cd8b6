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
