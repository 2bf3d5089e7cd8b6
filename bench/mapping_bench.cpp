// Reading a file through MappingFile against read(2) into a buffer, and a backward
// scan through FileStorage's read snubber against plain fseek/fread.
//
// The files are written once per run and stay in the page cache, so the figures
// are those of memory, not of the disk.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "filestorage.h"
#include "mappingfile.h"
#include "platform/read_file.h"
#include "qdr/platform/os.h"

namespace {

namespace fs = std::filesystem;

// A file of `bytes` bytes in the temporary directory, removed at exit.
class BenchFile {
public:
    explicit BenchFile(size_t bytes, const char* tag) {
        path_ = (fs::temp_directory_path() /
                 (std::string(tag) + "-" + std::to_string(os::CurrentProcessId())))
                    .string();
        std::vector<char> block(1 << 20);
        for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 131 + 7);
        std::ofstream out(path_, std::ios::binary);
        for (size_t done = 0; done < bytes; done += block.size())
            out.write(block.data(),
                      static_cast<std::streamsize>(std::min(block.size(), bytes - done)));
    }
    ~BenchFile() { fs::remove(path_); }
    const char* Path() const { return path_.c_str(); }

private:
    std::string path_;
};

const BenchFile& BigFile() {
    static BenchFile file(256u << 20, "qd_mapping_bench");
    return file;
}

const BenchFile& ScanFile() {
    static BenchFile file(4u << 20, "qd_scan_bench");
    return file;
}

// The same work for both readers: a 64-bit sum of 8-byte words.
uint64_t SumWords(const unsigned char* bytes, size_t n) {
    uint64_t sum = 0, word;
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        memcpy(&word, bytes + i, 8);
        sum += word;
    }
    for (; i < n; ++i) sum += bytes[i];
    return sum;
}

void AddSum(void* param, const unsigned char* bytes, size_t n) {
    *static_cast<uint64_t*>(param) += SumWords(bytes, n);
}

void BM_ReadThroughMappingFile(benchmark::State& state) {
    const BenchFile& file = BigFile();
    for (auto _ : state) {
        MappingFile map;
        if (!map.Open(file.Path(), false, 0, 0, false, nullptr, false)) {
            state.SkipWithError("open failed");
            return;
        }
        benchmark::DoNotOptimize(
            SumWords(static_cast<const unsigned char*>(map.GetAddress()), map.GetMappedSize()));
    }
    state.SetBytesProcessed(state.iterations() * (int64_t(256) << 20));
}
BENCHMARK(BM_ReadThroughMappingFile)->Unit(benchmark::kMillisecond);

void BM_ReadIntoBuffer(benchmark::State& state) {
    const BenchFile& file = BigFile();
    std::vector<unsigned char> buffer(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        uint64_t sum = 0;
        if (ReadFileWithRead(file.Path(), buffer.data(), buffer.size(), AddSum, &sum) < 0) {
            state.SkipWithError("read failed");
            return;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * (int64_t(256) << 20));
}
BENCHMARK(BM_ReadIntoBuffer)->Arg(64 << 10)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

// Records of 16 bytes from the end of the file to its start. With look-back the
// reader reads each record and then the one after it again, as a parser that
// checks where it came from does.
constexpr int kRecord = 16;

void BM_BackwardScanSnubbed(benchmark::State& state) {
    const bool lookBack = state.range(0) != 0;
    FileStorage file;
    if (!file.Open(ScanFile().Path(), FileStorage::kReadOnly, 4096)) {
        state.SkipWithError("open failed");
        return;
    }
    const int size = file.GetFileSize();
    unsigned char record[kRecord];
    for (auto _ : state) {
        uint64_t sum = 0;
        for (int at = size - kRecord; at >= 0; at -= kRecord) {
            file.Read(at, record, kRecord);
            sum += record[0];
            if (lookBack && at + 2 * kRecord <= size) {
                file.Read(at + kRecord, record, kRecord);
                sum += record[1];
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(BM_BackwardScanSnubbed)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_BackwardScanFseekFread(benchmark::State& state) {
    const bool lookBack = state.range(0) != 0;
    FILE* stream = std::fopen(ScanFile().Path(), "rb");
    if (!stream) {
        state.SkipWithError("open failed");
        return;
    }
    std::fseek(stream, 0, SEEK_END);
    const long size = std::ftell(stream);
    unsigned char record[kRecord];
    for (auto _ : state) {
        uint64_t sum = 0;
        for (long at = size - kRecord; at >= 0; at -= kRecord) {
            std::fseek(stream, at, SEEK_SET);
            benchmark::DoNotOptimize(std::fread(record, 1, kRecord, stream));
            sum += record[0];
            if (lookBack && at + 2 * kRecord <= size) {
                std::fseek(stream, at + kRecord, SEEK_SET);
                benchmark::DoNotOptimize(std::fread(record, 1, kRecord, stream));
                sum += record[1];
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    std::fclose(stream);
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(BM_BackwardScanFseekFread)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
