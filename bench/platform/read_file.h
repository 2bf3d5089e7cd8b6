// The plain system read that the mapping benchmark compares with.
#pragma once

#include <cstddef>
#include <cstdint>

// Reads the whole file with read(2) in pieces of `bufferSize` bytes into `buffer`,
// handing each piece to `consume`; the number of bytes read, -1 on failure.
int64_t ReadFileWithRead(const char* path, unsigned char* buffer, size_t bufferSize,
                         void (*consume)(void* param, const unsigned char* bytes, size_t n),
                         void* param);
