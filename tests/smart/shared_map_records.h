// The records that the shared-map tests pass between processes.
#pragma once

#include <cstdint>

constexpr uint32_t kSharedMapBytes = 1 << 20;
constexpr uint32_t kSharedMapHeader = 64;  // the count of records, then the reader's answer
constexpr uint32_t kRecordBytes = 48;

// Record i: its number, then bytes that depend on it.
inline void FillRecord(unsigned char* record, uint32_t i) {
    for (uint32_t b = 0; b < kRecordBytes; ++b)
        record[b] = static_cast<unsigned char>(b < 4 ? i >> (8 * b) : i * 31 + b);
}

inline uint64_t RecordSum(const unsigned char* data, uint32_t bytes) {
    uint64_t sum = 0;
    for (uint32_t i = 0; i < bytes; ++i) sum = sum * 131 + data[i];
    return sum;
}
