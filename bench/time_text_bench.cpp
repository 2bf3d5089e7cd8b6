// Costs of the time texts on the event path and of the decimal-string routines.
// FormatSystemTime writes its digits by hand so that the narrow and wide forms share
// one body; the snprintf baseline shows what that costs or saves per event head.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "numstr.h"
#include "qdtime.h"

namespace {

const SYSTEMTIME kTime = GetSystemTimeOfMSEL(1704135845067LL, true);

void BM_FormatSystemTimeNarrow(benchmark::State& state) {
    char text[kSystemTimeTextSize];
    for (auto _ : state) benchmark::DoNotOptimize(FormatSystemTime(text, kTime, true));
}
BENCHMARK(BM_FormatSystemTimeNarrow);

void BM_FormatSystemTimeWide(benchmark::State& state) {
    char16_t text[kSystemTimeTextSize];
    for (auto _ : state) benchmark::DoNotOptimize(FormatSystemTime(text, kTime, true));
}
BENCHMARK(BM_FormatSystemTimeWide);

void BM_SnprintfHeadTimeBaseline(benchmark::State& state) {
    char text[64];
    for (auto _ : state) {
        snprintf(text, sizeof(text), "%04d%c%02d%c%02d %02d%c%02d%c%02d%c%03d", kTime.wYear, '-',
                 kTime.wMonth, '-', kTime.wDay, kTime.wHour, ':', kTime.wMinute, ':', kTime.wSecond,
                 '.', kTime.wMilliseconds);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BM_SnprintfHeadTimeBaseline);

void BM_MSELToDateText(benchmark::State& state) {
    char text[32];
    for (auto _ : state)
        benchmark::DoNotOptimize(MSELToDateText(1704135845067LL, text, false, false, 0, true));
}
BENCHMARK(BM_MSELToDateText);

void BM_DateTextToMSEL(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(DateTextToMSEL("20240102030405", false, true));
}
BENCHMARK(BM_DateTextToMSEL);

// Repeated addition: up to nine additions per multiplier digit.
void BM_MulNumStr(benchmark::State& state) {
    const std::string a(static_cast<size_t>(state.range(0)), '9');
    std::string product;
    for (auto _ : state) benchmark::DoNotOptimize(MulNumStr(product, a.c_str(), a.c_str()));
}
BENCHMARK(BM_MulNumStr)->Arg(20)->Arg(100)->Arg(400);

void BM_CompareStrNatural(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(
            CompareStrNatural("log20240102030405.log", "log20240102030406.log"));
}
BENCHMARK(BM_CompareStrNatural);

}  // namespace

BENCHMARK_MAIN();
