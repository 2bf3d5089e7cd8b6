// MiniStr: the standard string of the code unit, for text the library keeps, with
// the few additions the toolkit uses: printf-style Format (no heap scratch up to 1023
// units), Compare against a terminated text, comparison operators by Compare, and
// Find giving -1 for absence. MiniStr is narrow (char), MiniStrW wide (char16_t).
#pragma once

#include <cstdarg>
#include <cstdint>
#include <string>

#include "ptrstr.h"
#include "textformat.h"

template <class CHAR>
class MiniStrT : public std::basic_string<CHAR> {
    typedef std::basic_string<CHAR> Base;

public:
    using Base::Base;
    MiniStrT() {}
    MiniStrT(const Base& s) : Base(s) {}

    MiniStrT& Format(const CHAR* fmt, ...) {
        va_list args;
        va_start(args, fmt);
        FormatV(fmt, args);
        va_end(args);
        return *this;
    }

    // A null format, or one that cannot be produced, is reported and leaves the
    // string empty.
    MiniStrT& FormatV(const CHAR* fmt, va_list args) {
        QDR_CHECK(AfxIsValidString(fmt));
        if (!fmt) {
            this->clear();
            return *this;
        }
        va_list counting;
        va_copy(counting, args);
        const int fmt_len = TextFormat<CHAR>::Count(fmt, counting);
        va_end(counting);
        CHAR local[1024];
        CHAR* buffer = fmt_len + 1 > 1024 ? new CHAR[static_cast<size_t>(fmt_len) + 1] : local;
        const int new_len = fmt_len < 0 ? -1
                                        : TextFormat<CHAR>::Print(
                                              buffer, static_cast<size_t>(fmt_len) + 1, fmt, args);
        // The report shows this expression as written.
        QDR_CHECK(0<=new_len && new_len<=fmt_len);
        if (0 <= new_len && new_len <= fmt_len)
            this->assign(buffer, static_cast<size_t>(new_len));
        else
            this->clear();
        if (buffer != local) delete[] buffer;
        return *this;
    }

    // strcmp order; 0 for this object's own buffer. A null text is reported and
    // counts as the empty text.
    int Compare(const CHAR* str) const {
        QDR_CHECK(AfxIsValidString(str));
        if (!str) return this->empty() ? 0 : 1;
        if (str == this->c_str()) return 0;
        return CompareText(this->c_str(), str);
    }

    bool operator==(const CHAR* s2) const { return Compare(s2) == 0; }
    bool operator!=(const CHAR* s2) const { return Compare(s2) != 0; }
    bool operator<(const CHAR* s2) const { return Compare(s2) < 0; }
    bool operator<=(const CHAR* s2) const { return Compare(s2) <= 0; }
    bool operator>(const CHAR* s2) const { return Compare(s2) > 0; }
    bool operator>=(const CHAR* s2) const { return Compare(s2) >= 0; }

    // Index of subStr at or after start, or -1.
    int32_t Find(const CHAR* subStr, int32_t start = 0) const {
        QDR_CHECK(AfxIsValidString(subStr));
        if (!subStr || start < 0) return -1;
        const size_t at = this->find(subStr, static_cast<size_t>(start));
        return at == Base::npos ? -1 : static_cast<int32_t>(at);
    }
};

typedef MiniStrT<char> MiniStr;
typedef MiniStrT<char16_t> MiniStrW;
