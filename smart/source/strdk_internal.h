// What the strdk sources share and callers do not need: the test of a unit against
// a set, and the next table that a search keeps on the stack.
#pragma once

#include <climits>
#include <string>

#include "smartbuf.h"
#include "strdk.h"

template <class TCHAR>
inline bool IsInCharSet(TCHAR c, const TCHAR* charSet, int setLength) {
    for (int k = 0; k < setLength; ++k)
        if (charSet[k] == c) return true;
    return false;
}

// The next table of one find text: on the stack up to 1024 entries, so that a usual
// search allocates nothing. Valid() is false only when a heap block was refused.
template <class TCHAR>
class NextTable {
public:
    NextTable(const TCHAR* findStr, int findLen, int flags) : vec_(findLen > 0 ? findLen : 0) {
        if (Valid() && findLen > 0) BuildNextTable(vec_.Get(), findStr, findLen, flags);
    }
    bool Valid() const { return vec_.Get() != nullptr; }
    const int* Get() const { return vec_.Get(); }

private:
    SmartBuf<int, 1024> vec_;
};
