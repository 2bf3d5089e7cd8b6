// The compressed block, a file and memory format: a 4-byte little-endian header
// (bit 31 set when the payload is a zlib stream, bits 0-30 the uncompressed length,
// at most 0x40000000), then the payload.
//   CompressBuffer(100 bytes, minimum 101) -> header 0x00000064, the bytes as they are
//   CompressBuffer(100 bytes, minimum 1)   -> header 0x80000064, a zlib stream
// And the data as the body of a C array initialiser:
//   BinaryToSourceText(..., indent 2, ' ') -> "  0x80,0x00,...,\r\n  0x78,..."
#pragma once

#include <string>

#include "binary.h"

enum { kMaxCompressedLength = 0x40000000 };

// Data of `minLen` bytes or more (below 1 counts as 1) are compressed at level 1,
// shorter data are stored; the compressed form is kept whatever its size.
bool CompressBuffer(const void* source, int len, Binary& out, int minLen);

// The data of a block, followed by `extra` zero bytes (room for a terminator). The
// block is empty after a failure: a header past the bound, a stream that is damaged
// or inflates to another length than its header says.
bool UncompressBuffer(const void* source, int in_len, Binary& out, int extra);

// The compressed form of `data` as "0xHH," items, 16 to a line, each line led by
// `indent` copies of `indentChar`, lines parted by CR LF.
std::string& BinaryToSourceText(std::string& out, const void* data, int len, int indent,
                                char indentChar);
// The same for a file's bytes; empty when the file cannot be read or is empty.
std::string& FileToSourceText(std::string& out, const char* path, int indent, char indentChar);
