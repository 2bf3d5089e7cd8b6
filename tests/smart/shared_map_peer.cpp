// The other process of the shared-map tests, and a small example of the use: two
// processes meet in one named map; the writer appends records and counts them in
// the map's first word, the reader waits for them and answers in the second.
//   shared_map_peer write NAME N   creates or joins, writes N records, waits for the answer
//   shared_map_peer read NAME N    joins, waits for N records, prints their sum, answers
//   shared_map_peer hold NAME SIZE opens and keeps the map until killed
//   shared_map_peer join NAME SIZE opens, prints the outcome, lets go
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "mappingfile.h"
#include "shared_map_records.h"

namespace {

uint32_t* Word(MappingFile& map, int index) {
    return static_cast<uint32_t*>(map.GetAddress()) + index;
}

void WaitFor(uint32_t* word, uint32_t value) {
    while (__atomic_load_n(word, __ATOMIC_ACQUIRE) != value)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
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
        WaitFor(Word(map, 1), number);
    } else if (mode == "read") {
        WaitFor(Word(map, 0), number);
        printf("sum %llu\n", static_cast<unsigned long long>(
                                 RecordSum(data + kSharedMapHeader, number * kRecordBytes)));
        fflush(stdout);
        __atomic_store_n(Word(map, 1), number, __ATOMIC_RELEASE);
    }
    return 0;
}
