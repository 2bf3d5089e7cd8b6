// SplitText: splits a text into pieces at separator units, over any accessor
// (straccessor.h), delivering each piece to a receiver as (pointer, length). The
// pieces are slices of the input; nothing is copied.
//
// Modes: 0 drops separators and empty pieces, 1 keeps each separator at the end of
// the piece before it (a separator with nothing before it is a piece of its own),
// 2 drops separators and keeps empty pieces.
//   "a,,b" at ','   mode 0 -> a | b      mode 1 -> a, | , | b      mode 2 -> a | "" | b
//   "a," at ','     mode 2 -> a          (no empty piece behind a final separator)
// With `quoted`, a '"' inside a piece opens or closes a quotation, in which a
// separator does not split. The first unit of a piece is never examined, so a '"'
// that opens a piece opens no quotation:
//   x"a,b",c  -> x"a,b" | c
//   "a,b",c   -> "a | b",c
#pragma once

#include <cstdint>

#include "ptrstr.h"
#include "smartarray.h"
#include "straccessor.h"

enum {
    split_drop_separators = 0,
    split_keep_separators = 1,
    split_keep_empty = 2,
};

// One separator unit, or any unit of a terminated set.
template <class CHAR>
struct SplitSeparator {
    explicit SplitSeparator(CHAR one) : unit(one), set(nullptr) {}
    explicit SplitSeparator(const CHAR* anyOf) : unit(0), set(anyOf) {}

    bool Matches(CHAR c) const {
        if (!set) return c == unit;
        for (const CHAR* s = set; *s; ++s)
            if (*s == c) return true;
        return false;
    }

    CHAR unit;
    const CHAR* set;
};

// The split itself. The receiver is called as receiver(pointer, length) and returns
// whether to go on; the result is false when it stopped the split.
template <class ACCESSOR, class CHAR, class RECEIVER>
bool SplitText(const ACCESSOR& text, const SplitSeparator<CHAR>& sep, RECEIVER& receiver, int mode,
               bool quoted) {
    typename ACCESSOR::iterator cur = text.begin();
    for (;;) {
        while (!text.IsEnd(cur) && sep.Matches(*cur)) {
            if (mode == split_keep_separators && !receiver(text.Piece(cur, 1), 1)) return false;
            if (mode == split_keep_empty && !receiver(text.Piece(cur, 0), 0)) return false;
            cur += 1;
        }
        if (text.IsEnd(cur)) return true;
        typename ACCESSOR::iterator scan = cur;
        scan += 1;
        bool in_quote = false;
        while (!text.IsEnd(scan)) {
            const CHAR c = *scan;
            const bool quote = quoted && c == '"';
            if (!in_quote && !quote && sep.Matches(c)) break;
            if (quote) in_quote = !in_quote;
            scan += 1;
        }
        const bool atEnd = text.IsEnd(scan);
        int32_t n = static_cast<int32_t>(scan - cur);
        if (mode == split_keep_separators && !atEnd) ++n;
        const bool goOn = receiver(text.Piece(cur, n), n);
        if (!goOn || atEnd) return goOn;
        cur = scan;
        cur += 1;
    }
}

// The receiver that appends each piece to an array of slices.
template <class ARRAY>
struct SplitToArray {
    template <class CHAR>
    bool operator()(const CHAR* p, int32_t len) {
        pieces.push_back(PtrStrT<CHAR>(p, len));
        return true;
    }
    ARRAY& pieces;
};

// The receiver that hands each piece to the user's function with the user's word.
template <class CHAR>
struct SplitToCallback {
    bool operator()(const CHAR* p, int32_t len) { return fnEnum(param, p, len); }
    bool (*fnEnum)(void* param, const CHAR* piece, int32_t len);
    void* param;
};

// The public forms: str with str_len >= 0 is a counted text, a negative str_len a
// terminated one; (0, 0) is the empty text. A null str with another length is
// reported and splits nothing (false).
template <class CHAR, class RECEIVER>
bool SplitTextOf(const CHAR* str, int32_t str_len, const SplitSeparator<CHAR>& sep,
                 RECEIVER& receiver, int mode, bool quoted) {
    // The report shows this expression as written.
    QDR_CHECK((0==str && 0==str_len) || AfxIsValidString(str, str_len));
    if (!str) return str_len == 0;
    if (str_len >= 0) {
        const StrAccessor<CHAR> text(str, str_len);
        return SplitText(text, sep, receiver, mode, quoted);
    }
    const ZStrAccessor<CHAR> text(str);
    return SplitText(text, sep, receiver, mode, quoted);
}

// Appends the pieces to `pieces` (which is not cleared first).
template <class CHAR, int N, class ALLOC>
bool SplitText(SmartArray<PtrStrT<CHAR>, N, ALLOC>& pieces, const CHAR* str, int32_t str_len,
               const SplitSeparator<CHAR>& sep, int mode, bool quoted) {
    SplitToArray<SmartArray<PtrStrT<CHAR>, N, ALLOC>> receiver{pieces};
    return SplitTextOf(str, str_len, sep, receiver, mode, quoted);
}

// Calls fnEnum(param, piece, length) per piece until it returns false. A null fnEnum
// is reported and splits nothing (false).
template <class CHAR>
bool SplitText(bool (*fnEnum)(void* param, const CHAR* piece, int32_t len), void* param,
               const CHAR* str, int32_t str_len, const SplitSeparator<CHAR>& sep, int mode,
               bool quoted) {
    QDR_CHECK_OR_RETURN(fnEnum, false);
    SplitToCallback<CHAR> receiver{fnEnum, param};
    return SplitTextOf(str, str_len, sep, receiver, mode, quoted);
}
