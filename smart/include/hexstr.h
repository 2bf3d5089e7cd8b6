// Hexadecimal forms of binary data: two upper-case digits per byte, high half
// first. The reader takes only what the writer writes:
//   BinToHexStr({0x0A, 0xFF}) -> "0AFF";  HexStrToBin("0AFF") -> {0x0A, 0xFF}
//   HexStrToBin("0a"), ("0"), ("") -> false, empty block
// Narrow (char) and wide (char16_t) forms are one template.
#pragma once

#include <string>

#include "binary.h"

// `hexStr` takes 2 * len units and a terminator.
template <class CHAR>
void BinToHexStr(const void* bin, int len, CHAR* hexStr);
template <class CHAR>
void BinToHexStr(const void* bin, int len, std::basic_string<CHAR>& hexStr);

// `len` -1: up to the terminator.
template <class CHAR>
bool HexStrToBin(const CHAR* text, Binary& bin, int len = -1);
