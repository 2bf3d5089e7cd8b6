// Test texts for narrow/wide twins: an ASCII literal as either code unit, and back.
#pragma once

#include <gtest/gtest.h>

#include <string>

template <class CHAR>
std::basic_string<CHAR> T(const std::string& ascii) {
    return std::basic_string<CHAR>(ascii.begin(), ascii.end());
}

template <class CHAR>
std::string Ascii(const CHAR* text) {
    std::string out;
    for (; text && *text; ++text) out += static_cast<char>(*text);
    return out;
}

template <class CHAR>
std::string Ascii(const std::basic_string<CHAR>& text) {
    return Ascii(text.c_str());
}

typedef ::testing::Types<char, char16_t> CodeUnits;
