// Two processes meet in one named shared map: the writer appends records and counts
// them in the map's first word, the reader waits for them, prints their sum and
// answers in the second word. Both print whether their Open made the map. The
// shared-map tests run it as their second process.
//   shared_map_demo write NAME N    creates or joins, writes N records, prints their sum,
//                                   waits for the answer
//   shared_map_demo read NAME N     joins, waits for N records, prints their sum, answers
//   shared_map_demo hold NAME SIZE  opens a map of SIZE bytes and keeps it until killed
//   shared_map_demo join NAME SIZE  opens, prints the outcome, lets go
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "mappingfile.h"

namespace {

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

uint32_t* Word(MappingFile& map, int index) {
    return static_cast<uint32_t*>(map.GetAddress()) + index;
}

void WaitFor(uint32_t* word, uint32_t value) {
    while (__atomic_load_n(word, __ATOMIC_ACQUIRE) != value)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// Both sides print the sum of the records as they see them in the map.
void PrintSum(const unsigned char* data, uint32_t records) {
    printf("sum %llu\n", static_cast<unsigned long long>(
                             RecordSum(data + kSharedMapHeader, records * kRecordBytes)));
    fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    const std::string mode = argv[1];
    const char* name = argv[2];
    const uint32_t number = static_cast<uint32_t>(strtoul(argv[3], nullptr, 10));
    const bool records = mode == "write" || mode == "read";
    MappingFile map;
    const bool opened =
        map.Open(nullptr, true, 0, records ? kSharedMapBytes : number, false, name, false);
    printf("open %d created %d\n", opened, map.IsCreated());
    fflush(stdout);
    if (!opened) return 1;
    if (mode == "hold") {
        for (;;) std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    unsigned char* data = static_cast<unsigned char*>(map.GetAddress());
    if (mode == "write") {
        for (uint32_t i = 0; i < number; ++i) {
            FillRecord(data + kSharedMapHeader + i * kRecordBytes, i);
            __atomic_store_n(Word(map, 0), i + 1, __ATOMIC_RELEASE);
        }
        PrintSum(data, number);
        WaitFor(Word(map, 1), number);
    } else if (mode == "read") {
        WaitFor(Word(map, 0), number);
        PrintSum(data, number);
        __atomic_store_n(Word(map, 1), number, __ATOMIC_RELEASE);
    }
    return 0;
}
