// Numbers as text: arithmetic on unsigned decimal strings of any length, number-
// aware comparison, integer and byte-size texts, and "1024*1024" products.
//
// A decimal string is a non-empty run of '0'-'9' with no sign; leading zeros are
// allowed. Every routine takes raw text and a length, where a negative length
// means a zero-terminated text that is measured. Each is one template over the code
// unit, for char (UTF-8) and char16_t (UTF-16). Text objects are std::basic_string.
//
// The arithmetic writes into the caller's buffer and returns a pointer into it
// (not always its start); failure is an empty text. The caller sizes the buffer:
// the longer input's length + 2 for AddNumStr, + 1 for SubNumStr, and both
// lengths + 1 for MulNumStr.
#pragma once

#include <cstdint>
#include <string>

#include "cpp_templ0.h"

// Non-empty and only digits. An explicit length of 0 is reported.
template <class CHAR>
bool IsNumStr(const CHAR* num, int len = -1);

// A total order, not a test of equal value: by value first, and among equal values
// fewer leading zeros come first. 0 only for the identical text.
//   "10" > "9", "007" > "7", "0" < "000"
// An empty (or null) text is reported and orders before every number.
template <class CHAR>
int CompareNumStr(const CHAR* num1, const CHAR* num2, int len1 = -1, int len2 = -1);

// Walks two digit runs in step, both starting at a digit: the longer run is the
// larger (1 or -1); runs of one length give their first difference, or 0.
// `consumed` (may be null) receives the digits walked. A negative limit means none.
template <class CHAR>
int CompareDigitRuns(int* consumed, const CHAR* s1, const CHAR* s2, int limit = -1);

// Compares texts token by token (a digit run, or one other character), digit runs
// by value, and the digits after "<digits>." as a fraction:
//   "a10" > "a9", "1.5" > "1.25", "1.05" < "1.5"
// Result -1, 0, 1 or a difference of two units.
template <class CHAR>
int CompareStrNatural(const CHAR* num1, const CHAR* num2, int len1 = -1, int len2 = -1,
                      bool caseSensitive = true);

// Zero-terminated texts compared unit by unit, where digit runs compare by
// CompareDigitRuns; a negative limit means none. When the walk ends, at a
// terminator or at the limit, the result is the difference of the units it ends on,
// so the limit does not hide what lies behind it:
//   ("file10", "file9") > 0, ("abc", "abd", limit 2) < 0
template <class CHAR>
int CompareStrNumbered(const CHAR* s1, const CHAR* s2, int limit = -1, bool caseSensitive = true);

// summand + addend with max(len) + 1 digits, of which one leading 0 is skipped:
//   "999"+"1" -> "1000", "1"+"2" -> "3" (at added + 1), "007"+"1" -> "008"
// Empty when an input is empty or holds a non-digit.
template <class CHAR>
CHAR* AddNumStr(CHAR* added, const CHAR* summand, const CHAR* addend, int summand_len = -1,
                int addend_len = -1);
// minuend - subtrahend with max(len) digits, leading zeros kept; a larger
// subtrahend gives the ten's complement: "10"-"1" -> "09", "1"-"2" -> "9".
template <class CHAR>
CHAR* SubNumStr(CHAR* result, const CHAR* minuend, const CHAR* subtrahend, int minuend_len = -1,
                int subtrahend_len = -1);
// The product, by repeated addition, without leading zeros: "12"*"12" -> "144".
template <class CHAR>
CHAR* MulNumStr(CHAR* multipled, const CHAR* multiplicand, const CHAR* multiplier,
                int multiplicand_len = -1, int multiplier_len = -1);

// The same into text objects.
template <class CHAR>
std::basic_string<CHAR>& AddNumStr(std::basic_string<CHAR>& added, const CHAR* summand,
                                   const CHAR* addend, int summand_len = -1, int addend_len = -1);
template <class CHAR>
std::basic_string<CHAR>& SubNumStr(std::basic_string<CHAR>& result, const CHAR* minuend,
                                   const CHAR* subtrahend, int minuend_len = -1,
                                   int subtrahend_len = -1);
template <class CHAR>
std::basic_string<CHAR>& MulNumStr(std::basic_string<CHAR>& multipled, const CHAR* multiplicand,
                                   const CHAR* multiplier, int multiplicand_len = -1,
                                   int multiplier_len = -1);
// num + value: AddNumStr for a value >= 0, SubNumStr of its absolute value below.
//   ("100", 5) -> "105", ("100", -5) -> "095", ("5", -10) -> "95"
template <class CHAR>
std::basic_string<CHAR>& AddIntToNumStr(std::basic_string<CHAR>& result, const CHAR* num, int value,
                                        int len = -1);

// `value` in `radix` (2..36), digits above 9 as 'A'-'Z'. Only radix 10 shows a
// sign; other radixes print the 64 bits unsigned: (-255, 16) -> "FFFFFFFFFFFFFF01".
// `buf` holds kIntTextSize units; `len` (may be null) receives the length. A bad
// radix is reported and gives an empty text.
constexpr int kIntTextSize = 66;
template <class CHAR>
CHAR* IntToStr(CHAR* buf, int64_t value, int radix = 10, int* len = nullptr);
// IntToStr, then lower case unless upperCase, zeros behind the sign up to
// minDigits, and a separator every groupSize digits from the right:
//   (1234567, 10, 0, 3, ',') -> "1,234,567"; minDigits 9 -> "001,234,567"
// `buf` holds max(kIntTextSize, minDigits + 2) units plus one per separator.
template <class CHAR>
CHAR* IntToGroupedStr(CHAR* buf, int64_t value, int radix, int minDigits, int groupSize,
                      NonDeduced<CHAR> separator, bool upperCase);
// Blanks and tabs, one sign, then digits up to the first non-digit. No overflow
// test: the value wraps modulo 2^64. Null is reported and gives 0.
template <class CHAR>
int64_t StrToInt64(const CHAR* text);

// A size with a one-letter unit of 1024 steps, B K M G T; the fraction is cut to
// `precision` digits (at most 3 for K, 6 M, 9 G, 12 T; negative means that
// maximum) and its trailing zeros dropped:
//   1023 -> "1023B", 1536 -> "1.5K", 2048 -> "2K", -1536 -> "-1.5K"
// A fraction that rounds up to 1 is not carried: 2047 at precision 1 -> "1K".
// `buf` holds kByteSizeTextSize units.
constexpr int kByteSizeTextSize = 32;
template <class CHAR>
CHAR* FormatByteSize(int64_t value, CHAR* buf, int precision = -1);
// Digits with an optional last unit letter b k m g t in either case:
//   "10" -> 10, "10K" -> 10240, "1t" -> 2^40; "k", "10x", "" -> false
// False too when the value would pass INT64_MAX; `value` is then untouched.
template <class CHAR>
bool ParseByteSize(const CHAR* text, int64_t* value, int len = -1);
// Whether the digits times `unit` (> 0) fit into INT64_MAX. The digits are compared
// with INT64_MAX / unit by CompareStrNatural, so leading zeros count against them:
// ("0009223372036854775807", 1) is false. Not a decimal string: false.
template <class CHAR>
bool FitsInt64Product(const CHAR* num, int len, int64_t unit);
// Digit runs joined by single '*': "1024*1024" yes; "", "*2", "2*", "2**3" no.
template <class CHAR>
bool IsProductStr(const CHAR* text);
// The product of such a text, without overflow test (it wraps modulo 2^64).
template <class CHAR>
bool EvalProductStr(int64_t* value, const CHAR* text);
