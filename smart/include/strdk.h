// The string development kit: free routines on raw character arrays. Its centre is
// one Knuth-Morris-Pratt engine (FindStrIndex) with case folding, slash equivalence,
// `?`/`#` wildcards, whole words and search from the end; everything here that finds
// or replaces text goes through it. The pattern matcher is in strdk_match.h.
//
// Every routine is one template over the code unit, instantiated for `char` (UTF-8)
// and `char16_t` (UTF-16). A length follows the text as an `int`; a negative length
// means "measure up to the terminator". The first text argument decides the unit, so
// `FindStrIndex("abxab", "ab")` and `FindStrIndex(u"abxab", u"ab")` both work, and
// null may be passed for the others.
//
// Preconditions are checked with QDR_CHECK; after an ignored report a routine
// returns its failure value (0, null, -1 or false) without touching memory.
#pragma once

#include <cstdarg>

#include "cpp_templ0.h"
#include "ministr.h"

// String flags, one word shared by the search here and the matcher of strdk_match.h.
enum {
    msf_ignore_case = 0x01,        // compare after upper-casing a-z
    msf_wildcards = 0x02,          // in the find text `?` takes any unit, `#` a digit
    msf_sharp_literal = 0x04,      // `#` takes only `#`
    msf_sharp_digit_run = 0x08,    // matcher: `#` is a run of digits
    msf_slash_equal = 0x10,        // `\` and `/` are the same character
    msf_whole_word = 0x20,         // a match counts only as a whole word
    msf_reverse = 0x80,            // search from the end of the text
    msf_sharp_hex = 0x100,         // matcher: a digit for `#` also takes a-f, A-F
    msf_dollar_identifier = 0x200  // matcher: `$` is an identifier
};

// ---- character classes: ASCII only; units of 0x80 and above are never in a class ----

constexpr bool IsNumLetter(int c) {
    return c >= '0' && c <= '9';
}
constexpr bool IsHexLetter(int c) {
    return IsNumLetter(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
constexpr bool IsBlankLetter(int c) {
    return c == ' ' || c == '\t';
}
constexpr bool IsLowerLetter(int c) {
    return c >= 'a' && c <= 'z';
}
constexpr bool IsUpperLetter(int c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool IsLetter(int c) {
    return IsLowerLetter(c) || IsUpperLetter(c);
}
constexpr bool IsAlnumLetter(int c) {
    return IsLetter(c) || IsNumLetter(c);
}
constexpr bool IsWordStartLetter(int c) {
    return IsLetter(c) || c == '_';
}
constexpr bool IsWordLetter(int c) {
    return IsAlnumLetter(c) || c == '_';
}

// Folds a-z only; everything else, bytes of 0x80 and above included, passes through.
template <class TCHAR>
constexpr TCHAR ToUpperLetter(TCHAR c) {
    return IsLowerLetter(c) ? static_cast<TCHAR>(c - 'a' + 'A') : c;
}

// Two units under msf_ignore_case and msf_slash_equal (other bits are ignored).
template <class TCHAR>
constexpr bool IsSameUnit(TCHAR a, TCHAR b, int flags) {
    if (flags & msf_ignore_case) {
        a = ToUpperLetter(a);
        b = ToUpperLetter(b);
    }
    return a == b || ((flags & msf_slash_equal) && IsSlashChar(a) && IsSlashChar(b));
}

// ---- scanners ---------------------------------------------------------------------

// With skipDoubleByte a character of several units (a UTF-8 sequence: a byte of 0x80
// or above and the continuation bytes behind it; a UTF-16 surrogate pair) is stepped
// over as a whole and never tested, so only whole one-unit characters are found.
//   FindChar("\xE4\xB8\xAD/", '\xB8', -1, true) -> null;  with false -> text + 1
template <class TCHAR>
const TCHAR* FindChar(const TCHAR* text, NonDeduced<TCHAR> ch, int length = -1,
                      bool skipDoubleByte = false);
// The first unit that is in `charSet` (setLength < 0: a terminated set).
template <class TCHAR>
const TCHAR* FindAnyChar(const TCHAR* text, const NonDeduced<TCHAR>* charSet, int length = -1,
                         int setLength = -1, bool skipDoubleByte = false);
// Walks down from `last` to `first`, both inclusive; null when `last` < `first`.
template <class TCHAR>
const TCHAR* FindLastChar(const TCHAR* first, const NonDeduced<TCHAR>* last, NonDeduced<TCHAR> ch);
template <class TCHAR>
const TCHAR* FindLastAnyChar(const TCHAR* first, const NonDeduced<TCHAR>* last,
                             const NonDeduced<TCHAR>* charSet);
template <class TCHAR>
const TCHAR* FindLastAnyCharOfStr(const TCHAR* text, const NonDeduced<TCHAR>* charSet,
                                  int length = -1);
// Index of the first unit in `charSet`, plus one when `inclusive`; -1 if none.
//   GetCharIndex("key=value", "=", false) -> 3;  inclusive -> 4
template <class TCHAR>
int GetCharIndex(const TCHAR* text, const NonDeduced<TCHAR>* charSet, bool inclusive,
                 int length = -1);
template <class TCHAR>
int CountChar(const TCHAR* text, NonDeduced<TCHAR> ch, int length = -1);
// Whether the text holds a character of more than one byte in narrow text: two
// adjacent bytes of 0x80 or above (narrow), a unit of 0x80 or above (wide).
template <class TCHAR>
bool HasDoubleByte(const TCHAR* text, int length = -1);
// Plain bytes, through the same engine; both lengths must be >= 0.
const void* FindMem(const void* source, int srcLen, const void* wanted, int dstLen);

// ---- the search engine ------------------------------------------------------------

// The Knuth-Morris-Pratt table of `findStr` under `flags` (case, slashes, wildcards,
// and msf_reverse, which builds it for the reversed find text): `findLen` entries
// in `vec`, which the caller sizes. Returns the count of entries. A table built once
// may serve any number of searches with the same find text and flags.
template <class TCHAR>
int BuildNextTable(int* vec, const TCHAR* findStr, int findLen, int flags = 0);

// Index of the first occurrence of `findStr` in `srcStr`, or -1. Empty text gives -1,
// an empty find text 0. With msf_reverse the last occurrence; with msf_whole_word
// only occurrences that stand as whole words (dropped when the find text is itself
// no word, as "a.b"); with msf_wildcards `?` in the find text takes any unit and
// `#` a digit (only `#` with msf_sharp_literal). `line`, if given, receives the
// number of LF units before a match (0 otherwise). `vec` is an optional table from
// BuildNextTable with the same flags; without one a table of up to 1024 entries is
// built on the stack, a longer one on the heap.
//   "aab" in "aaab" -> 1;  msf_reverse "ab" in "abxab" -> 3
//   msf_whole_word "log" in "logfile log" -> 8;  msf_wildcards "a?c" in "xabc" -> 1
// The table counts a wildcard of the find text equal to any unit of it, so after a
// failed partial match the scan may go on from a prefix that the text never matched:
// with msf_wildcards a reported index need not be a match, and an earlier match may
// be missed. msf_wildcards "a?#" in "xab)5c" -> 2 ("b)5"). Without wildcards the
// result is exact.
template <class TCHAR>
int FindStrIndex(const TCHAR* srcStr, const NonDeduced<TCHAR>* findStr, int srcLen = -1,
                 int findLen = -1, int flags = 0, int* line = nullptr, const int* vec = nullptr);

// FindStrIndex as a pointer, with msf_wildcards and msf_reverse cleared first.
template <class TCHAR>
const TCHAR* FindSubStr(const TCHAR* text, const NonDeduced<TCHAR>* findStr, int textLen = -1,
                        int findLen = -1, int flags = 0, const int* vec = nullptr);

// Counts the occurrences of `sub`, left to right and not overlapping ("aa" in "aaaa"
// is 2). The callback, if given, gets (param, index) for each; a false result stops
// the count after that occurrence. msf_reverse is ignored; an empty `sub` counts 0.
typedef bool (*CountSubStrCallback)(void* param, int index);
template <class TCHAR>
int CountSubStr(const TCHAR* text, const NonDeduced<TCHAR>* sub, int strLen = -1, int subLen = -1,
                CountSubStrCallback callback = nullptr, void* param = nullptr, int flags = 0);

// Whether text[wordPos, wordPos + wordLen) stands as a word: its first unit a letter or
// `_` (or a digit with digitStart), the rest letters, digits or `_`, and no such unit
// just before or after it. wordLen 0 gives false, a negative one runs to the text's
// end; a word outside the text is reported.
//   ("a log.", 2, -1, 3) -> true;  ("catalog", 4, -1, 3) -> false
template <class TCHAR>
bool IsWholeWord(const TCHAR* text, int wordPos, int textLen, int wordLen, bool digitStart);

// ---- trimming ---------------------------------------------------------------------

// The length of the text without its leading (unless rightOnly) and trailing units of
// `blankSet` (a terminated set; null means space and tab); `offset` gets the start.
// Changes nothing. "  ab " -> offset 2, length 2;  "   " -> offset 0, length 0.
template <class TCHAR>
int TrimRange(const TCHAR* text, int length = -1, int* offset = nullptr,
              const NonDeduced<TCHAR>* blankSet = nullptr, bool rightOnly = false);
// Moves the trimmed text of `source` (null: `dest` itself) to `dest` and terminates
// it. The caller owes `dest` room for the trimmed text and its terminator (in place:
// one unit behind a counted text).
template <class TCHAR>
TCHAR* TrimCopy(TCHAR* dest, const NonDeduced<TCHAR>* source = nullptr, int length = -1,
                const NonDeduced<TCHAR>* blankSet = nullptr, bool rightOnly = false);

// ---- replacing in place -------------------------------------------------------------
//
// The replacers work in the caller's buffer. The caller owes room for the text as it
// grows, plus its terminator: ReplaceStrPlain checks nothing at all, and the limit of
// `bufBytes` covers only the offset of each head plus the new text, not the tail that
// is moved behind it. Counted texts are terminated anew wherever their length changes.

// Replaces every `findStr` in the terminated `text` by `newStr` (null: empty), searching
// on behind each insertion. Returns the count, 0 for an empty find text, -1 when
// `text` or `findStr` is null.
template <class TCHAR>
int ReplaceStrPlain(TCHAR* text, const NonDeduced<TCHAR>* findStr, const NonDeduced<TCHAR>* newStr);

// With flags 0 and every length negative this is ReplaceStrPlain; otherwise
// ReplaceBetween with head = tail = `findStr` and removeCount 0.
template <class TCHAR>
int ReplaceStr(TCHAR* target, const NonDeduced<TCHAR>* findStr, const NonDeduced<TCHAR>* newStr,
               int flags = 0, int bufBytes = -1, int targetStrLen = -1, int findLen = -1,
               int newStrLen = -1);

// Replaces each stretch from `repHead` to behind `repTail` (searched from the head's
// own position), plus `removeCount` units, by `newStr`. msf_wildcards and msf_reverse
// are ignored. `bufBytes` is the buffer's size in bytes, or -1 for no limit (0x40000000
// units). Returns the count, or -1 when a head's offset plus the new length reaches
// the limit; the text is then left as far as it had been changed.
//   head "/*", tail "*/": "a/*x*/b" -> "ab", 1
template <class TCHAR>
int ReplaceBetween(TCHAR* target, const NonDeduced<TCHAR>* repHead,
                   const NonDeduced<TCHAR>* repTail, const NonDeduced<TCHAR>* newStr, int flags = 0,
                   int bufBytes = -1, int targetStrLen = -1, int repHeadLen = -1,
                   int repTailLen = -1, int newStrLen = -1, int removeCount = 0);

// Replaces each unit equal to `repChar` under the flags (case, slashes) by `newChar`.
// Returns the count; 0 when the two are equal under the flags, so with
// msf_slash_equal ('/', '\\') changes nothing, and with flags 0 only '/' turns.
template <class TCHAR>
int ReplaceChar(TCHAR* target, NonDeduced<TCHAR> repChar, NonDeduced<TCHAR> newChar, int flags = 0,
                int length = -1);

// Replaces the first `len` units (cut to the text's length) by `newStr`; returns the
// new length.
template <class TCHAR>
int ReplaceHead(TCHAR* target, int len, const NonDeduced<TCHAR>* newStr, int targetStrLen = -1,
                int newStrLen = -1);

// Removes every unit that is in `remChars`; returns the count removed.
template <class TCHAR>
int RemoveChars(TCHAR* target, const NonDeduced<TCHAR>* remChars, int targetLen = -1);

// ---- comparing ----------------------------------------------------------------------

// Compares two texts unit by unit (folded to upper case with msf_ignore_case, slashes
// as '/' with msf_slash_equal) up to `stopChar` or their ends; -1, 0 or 1. The one that
// still has units before its stop is the greater.
//   ("abc=1", "ABC=2", '=', -1, -1, msf_ignore_case) -> 0
template <class TCHAR>
int CompareCharsUntil(const TCHAR* s1, const NonDeduced<TCHAR>* s2, NonDeduced<TCHAR> stopChar,
                      int s1_len = -1, int s2_len = -1, int flags = 0);

// Path flags of ComparePathName.
enum {
    cpn_dirs_first = 0x01,    // directories sort before files
    cpn_path1_dir = 0x02,     // path1_ names a directory
    cpn_path2_dir = 0x04,     // path2_ names a directory
    cpn_natural_order = 0x08  // components compare by natural order
};
// Compares two paths component by component (`\` and `/` both separate); <0, 0, >0.
//   cpn_dirs_first: "a\b" < "a.txt", since the directory "a" sorts first
template <class TCHAR>
int ComparePathName(const TCHAR* path1_, const NonDeduced<TCHAR>* path2_, int pathFlags,
                    bool caseSensitive, int path1_len_ = -1, int path2_len_ = -1);

// ---- other text routines ------------------------------------------------------------

// Decodes C escapes in place and stores the new length in `*length` (in: the length, or
// negative to measure; null means a terminated text). With onlyInQuotes only escapes
// inside "..." are decoded. `\` with digits takes up to three of 0-9 at base 8 (so
// "\18" is 16); `\x` up to two hex digits. Without `errorPos` an unknown escape stays
// as it is; with it, strictness applies: an unknown escape, a fourth digit, a third hex
// digit or a bare `\x` stores the escape's index there and returns null, leaving the
// text unchanged. A `\` as the last unit is kept.
//   "\101\x41" -> "AA";  strict "\q" -> null, *errorPos 0
template <class TCHAR>
TCHAR* UnescapeStr(TCHAR* text, int* length = nullptr, bool onlyInQuotes = false,
                   int* errorPos = nullptr);

// Lines (from 1, one more per LF) and the longest line in units, CR not counted.
template <class TCHAR>
void GetTextExtent(const TCHAR* text, int length, int* width, int* lines);

// Copies at most destLen - 1 units of `source` (null: empty) and terminates; with
// zeroRest the rest of `dest` up to destLen is zeroed too. A negative destLen is a
// plain copy of the whole source. Returns dest.
template <class TCHAR>
TCHAR* CopyBounded(TCHAR* dest, const NonDeduced<TCHAR>* source, int sourceLen = -1,
                   int destLen = -1, bool zeroRest = false);

// Formats into a text object: measured first, then written in 1024 units of stack or
// a heap block for a longer text. Narrow formats follow printf, wide ones the
// Windows wide rules of the library's wide formatter.
template <class TCHAR>
inline void FormatStr(MiniStrT<TCHAR>& out, const TCHAR* format, va_list args) {
    out.FormatV(format, args);
}
