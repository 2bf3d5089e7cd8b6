// The configuration's costs: the mask pointer's common path (no pass due) with a
// qdlog.ini present, one pass without the file, and one whole pass over a 1 KB
// file and over the largest file the reader takes, every line a new key.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "inireader.h"
#include "logconfig.h"
#include "logdir.h"

namespace {

namespace fs = std::filesystem;

// qdlog.ini beside this program for the life of the benchmark.
struct IniFile {
    explicit IniFile(const std::string& text) : path(std::string(GetExeDirA_()) + "qdlog.ini") {
        std::ofstream(path, std::ios::binary) << text;
    }
    ~IniFile() { fs::remove(path); }
    std::string path;
};

// A file as an operator writes it: comments and every key, about 1 KB.
std::string TypicalIni() {
    std::string text =
        "# qdlog.ini: read twice a second while the process runs.\n"
        "# Every key that is left out takes its default.\n";
    while (text.size() < 640) text += "# --------------------------------------------------\n";
    text +=
        "[level]\nerror=1\nwarning=1\ndebug=0\ninfo=1\ndevelop=0\n\n"
        "[params]\nflush_lines = 20\nswitch_bytes = 4194304\nto_screen = 0\nto_file = 0\n"
        "seconds = 604800\nM_bytes = 1024\nmax_files = 500\nto_debuger = 0\n";
    return text;
}

std::string LargestIni() {
    std::string text = "[params]\n";
    for (int i = 0; text.size() < IniReader::kMaxFileBytes - 16; ++i)
        text += "k" + std::to_string((i * 7919) % 100000) + "=1\n";
    return text;
}

void ForcedPasses(benchmark::State& state) {
    LogContext& log = GetLogContext();
    for (auto _ : state) {
        log.lastReadConfigTick_ = GetTickCount() - 500;
        benchmark::DoNotOptimize(*GetQDLogMaskPtr());
    }
}

void BM_MaskPointerWithIni(benchmark::State& state) {
    const IniFile ini(TypicalIni());
    for (auto _ : state) benchmark::DoNotOptimize(GetQDLogMaskPtr());
}
BENCHMARK(BM_MaskPointerWithIni);

void BM_PassOver1KB(benchmark::State& state) {
    const IniFile ini(TypicalIni());
    ForcedPasses(state);
}
BENCHMARK(BM_PassOver1KB)->Unit(benchmark::kMicrosecond);

void BM_PassOverLargestFile(benchmark::State& state) {
    const IniFile ini(LargestIni());
    ForcedPasses(state);
}
BENCHMARK(BM_PassOverLargestFile)->Unit(benchmark::kMillisecond);

// Without the file a pass is one existence test.
void BM_PassWithoutFile(benchmark::State& state) {
    ForcedPasses(state);
}
BENCHMARK(BM_PassWithoutFile)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
