// The members of the text views that stand on the string toolkit.
#include "ptrstr.h"

#include "strdk.h"

template <class CHAR>
PtrStrT<CHAR>& PtrStrT<CHAR>::Trim(const CHAR* blanks) {
    QDR_CHECK(AfxIsValidString(blanks));
    if (!blanks || !ValidCheck() || len == 0) return *this;
    int offset = 0;
    const int trimmed = TrimRange(p, len, &offset, blanks, false);
    p += offset;
    len = trimmed;
    return *this;
}

template class PtrStrT<char>;
template class PtrStrT<char16_t>;
