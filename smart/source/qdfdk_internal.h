// What the sources of the file kit share: the way from a path of either width to
// the narrow text of the platform layer and back, and ASCII literals in the code
// unit of a routine.
#pragma once

#include <cstring>

#include "ptrstr.h"
#include "qdfdk.h"
#include "qdr/platform/os.h"
#include "smartstr.h"

// A path as the platform layer takes it: narrow text as it stands, wide text
// converted to UTF-8. A null path stays null.
template <class CHAR>
class SystemText;

template <>
class SystemText<char> {
public:
    explicit SystemText(const char* text) : text_(text) {}
    const char* c_str() const { return text_; }

private:
    const char* text_;
};

template <>
class SystemText<char16_t> {
public:
    explicit SystemText(const char16_t* text) : null_(!text), text_(text, -1) {}
    const char* c_str() const { return null_ ? nullptr : text_.c_str(); }

private:
    bool null_;
    SmartStr text_;
};

// Narrow text from Linux into a buffer of the routine's width, terminated;
// false (and an empty buffer) when it does not fit `capacity` units.
inline bool FromSystemText(const char* text, char* dest, int capacity) {
    const size_t n = strlen(text);
    if (capacity <= 0) return false;
    if (n >= static_cast<size_t>(capacity)) {
        dest[0] = 0;
        return false;
    }
    memcpy(dest, text, n + 1);
    return true;
}

inline bool FromSystemText(const char* text, char16_t* dest, int capacity) {
    if (capacity <= 0) return false;
    const int n = os::Utf8ToUtf16(text, -1, nullptr, 0);
    if (n <= 0 || n > capacity || os::Utf8ToUtf16(text, -1, dest, capacity) != n) {
        dest[0] = 0;
        return false;
    }
    return true;
}

// An ASCII literal in the unit of a template: QD_UNIT_TEXT(CHAR, "*") is "*" for
// char and u"*" for char16_t.
template <class CHAR>
struct UnitText;
template <>
struct UnitText<char> {
    static constexpr const char* Pick(const char* narrow, const char16_t*) { return narrow; }
};
template <>
struct UnitText<char16_t> {
    static constexpr const char16_t* Pick(const char*, const char16_t* wide) { return wide; }
};
#define QD_UNIT_TEXT(CHAR, literal) (UnitText<CHAR>::Pick(literal, u"" literal))

// Copies `len` units and terminates; the caller owes len + 1 units.
template <class CHAR>
inline void CopyUnits(CHAR* dest, const CHAR* src, int len) {
    memmove(dest, src, static_cast<size_t>(len) * sizeof(CHAR));
    dest[len] = 0;
}

// A path without the blanks around it (" \r\n\t"), for the routines that measure:
// false when nothing is given, and reported "(false)" when the text is too long
// for a path buffer.
template <class CHAR>
inline bool TrimPathText(const CHAR* path, int len, PtrStrT<CHAR>* trimmed) {
    if (len < 0) len = TextLength(path);
    if (len == 0) return false;
    *trimmed = PtrStrT<CHAR>(path, len);
    trimmed->Trim(QD_UNIT_TEXT(CHAR, " \r\n\t"));
    if (trimmed->len >= kMaxPathChars) {
        QDR_CHECK(false);
        return false;
    }
    return true;
}

// The instantiations of a routine for both units.
#define QD_FOR_BOTH_UNITS(MACRO) \
    MACRO(char)                  \
    MACRO(char16_t)
