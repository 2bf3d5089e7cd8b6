// The narrow formatter against the C library's snprintf, whose output it repeats:
// the message of the logger comparison, integers alone, a double in fixed notation
// alone, and a format that goes to the C library whole.
#include <benchmark/benchmark.h>

#include <cstdio>

#include "narrowformat.h"

namespace {

template <class Format>
void Run(benchmark::State& state, Format format) {
    char out[256];
    int i = 0;
    for (auto _ : state) {
        ++i;
        benchmark::DoNotOptimize(format(out, sizeof(out), i));
        benchmark::ClobberMemory();
    }
}

const char kSender[] = "worker-thread-alpha-bravo-charlie-delta-echo";

void BM_Message_Ours(benchmark::State& state) {
    Run(state, [](char* out, size_t n, int i) {
        return FormatNarrow(out, n, "message %d from %s took %.3f ms", i, kSender, 1.5 + i * 0.001);
    });
}
BENCHMARK(BM_Message_Ours);

void BM_Message_CLibrary(benchmark::State& state) {
    Run(state, [](char* out, size_t n, int i) {
        return snprintf(out, n, "message %d from %s took %.3f ms", i, kSender, 1.5 + i * 0.001);
    });
}
BENCHMARK(BM_Message_CLibrary);

void BM_Integers_Ours(benchmark::State& state) {
    Run(state, [](char* out, size_t n, int i) {
        return FormatNarrow(out, n, "%d %5u %#x %08lld", i, i * 7u, i, i * 1000003LL);
    });
}
BENCHMARK(BM_Integers_Ours);

void BM_Integers_CLibrary(benchmark::State& state) {
    Run(state, [](char* out, size_t n, int i) {
        return snprintf(out, n, "%d %5u %#x %08lld", i, i * 7u, i, i * 1000003LL);
    });
}
BENCHMARK(BM_Integers_CLibrary);

void BM_Fixed_Ours(benchmark::State& state) {
    Run(state, [](char* out, size_t n, int i) { return FormatNarrow(out, n, "%.3f", i * 0.37); });
}
BENCHMARK(BM_Fixed_Ours);

void BM_Fixed_CLibrary(benchmark::State& state) {
    Run(state, [](char* out, size_t n, int i) { return snprintf(out, n, "%.3f", i * 0.37); });
}
BENCHMARK(BM_Fixed_CLibrary);

// Positional arguments are left to the C library: the walk that finds them costs.
void BM_LeftToTheCLibrary_Ours(benchmark::State& state) {
    Run(state, [](char* out, size_t n, int i) { return FormatNarrow(out, n, "%1$d %1$x", i); });
}
BENCHMARK(BM_LeftToTheCLibrary_Ours);

}  // namespace

BENCHMARK_MAIN();
