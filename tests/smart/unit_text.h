// Test text in either code unit: the same ASCII (or byte) literal as `char` or as
// `char16_t`, so that one typed test checks that narrow and wide twins agree.
#pragma once

#include <string>
#include <type_traits>

#include <gtest/gtest.h>

using TextUnits = ::testing::Types<char, char16_t>;

// Each byte becomes one unit: "a\xE4" -> u"a\u00E4" for char16_t.
template <class T>
std::basic_string<T> Txt(const std::string& bytes) {
    std::basic_string<T> s;
    for (char c : bytes) s.push_back(static_cast<T>(static_cast<unsigned char>(c)));
    return s;
}

// Back to bytes, for readable failure messages; units above 0xFF show as '?'.
template <class T>
std::string Bytes(const std::basic_string<T>& s) {
    std::string out;
    for (T c : s) {
        const auto unit = static_cast<std::make_unsigned_t<T>>(c);
        out.push_back(unit > 0xFF ? '?' : static_cast<char>(unit));
    }
    return out;
}
template <class T>
std::string Bytes(const T* text) {
    return text ? Bytes(std::basic_string<T>(text)) : "";
}

// A writable, terminated copy with room to grow.
template <class T>
std::basic_string<T> Buffer(const char* bytes, size_t room = 64) {
    std::basic_string<T> s = Txt<T>(bytes);
    s.resize(s.size() + room, T(0));
    return s;
}
