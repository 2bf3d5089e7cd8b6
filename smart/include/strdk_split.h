// Splitting text of the string kit: SplitStr at one separator unit into slices of the
// input, and SplitStrByCallback at any of several separators of any length, found by
// the kit's search. Neither copies the text; the pieces point into it.
//
// Modes, for both:
//   0 drops separators and empty pieces    "a||b" at '|' -> a, b
//   1 keeps each separator with the piece before it, and a separator with nothing
//     before it is a piece of its own     "a||b" at '|' -> "a|", "|", b
//   2 drops separators, keeps empty pieces "a||b" at '|' -> a, "", b
// A separator at the very end delivers no empty piece behind it.
#pragma once

#include "ptrstr.h"
#include "smartarray.h"
#include "strdk.h"
#include "strtmpl.h"

// Splits `text` (length < 0: terminated) at `sep` and appends the pieces to `array`,
// emptied first with clearFirst. With `quoted` a separator between two `"` inside a
// piece does not split (a `"` that opens a piece opens no quotation). Returns false
// for a null text with a length other than 0.
template <class TCHAR, int N, class ALLOC>
bool SplitStr(SmartArray<PtrStrT<TCHAR>, N, ALLOC>& array, const TCHAR* text, NonDeduced<TCHAR> sep,
              int length = -1, int mode = 0, bool quoted = false, bool clearFirst = true) {
    if (clearFirst) array.clear();
    return SplitText(array, text, length, SplitSeparator<TCHAR>(sep), mode, quoted);
}

// Receives one piece: (param, piece, length, isSeparator); false ends the split.
template <class TCHAR>
using SplitStrCallback = bool (*)(void* param, const TCHAR* piece, int len, int isSeparator);

// Splits `str` at any of several separators. With `sepOfSeps` non-zero, `sepStr_` is a
// list of separators split at that unit ("\r\n|\n" with '|'), else one separator. At
// each step the earliest separator wins, the one listed first on a tie. In mode 1 a
// separator with nothing before it comes alone with isSeparator 1. Flags: case,
// slashes and whole words of the search (wildcards and msf_reverse are ignored). An
// empty separator, an empty list or a mode other than 0-2 is reported and nothing is
// delivered.
//   "a\r\nb\nc" at "\r\n|\n" with '|' -> a, b, c
template <class TCHAR>
void SplitStrByCallback(SplitStrCallback<TCHAR> cbFn, void* param, const TCHAR* str,
                        const NonDeduced<TCHAR>* sepStr_, NonDeduced<TCHAR> sepOfSeps,
                        int strLen = -1, int sepLen_ = -1, int mode = 0, int flags = 0);
