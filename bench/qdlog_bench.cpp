// The event road's costs: the level test that runs before every event, and one
// event into the log file (screen off, debugger nowhere), short and long, narrow
// and wide.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "qdlog.h"

namespace {

namespace fs = std::filesystem;

// Logs into a directory of its own for the life of the program.
struct BenchLog {
    BenchLog() : dir((fs::temp_directory_path() / ("qdlog-bench-" + std::to_string(getpid())))) {
        QDLogSetDir((dir.string() + "/").c_str());
        QDLogScreen(0);
        QDLogToFile(1);
        QDLogOutputToDebuger(1);
        QDLogSetFileSizeLimit(0x800000);
    }
    ~BenchLog() {
        QDLogToFile(0);
        fs::remove_all(dir);
    }
    fs::path dir;
};

void Setup() {
    static BenchLog log;
}

// The call before every event when no configuration pass is due: the lock, the
// reading flag and one tick comparison.
void BM_MaskPointer(benchmark::State& state) {
    Setup();
    for (auto _ : state) benchmark::DoNotOptimize(GetQDLogMaskPtr());
}
BENCHMARK(BM_MaskPointer);

void BM_DisabledLevel(benchmark::State& state) {
    Setup();
    *GetQDLogMaskPtr() = QDLOG_MASK_ERROR;
    int evaluated = 0;
    for (auto _ : state) QDLOG_DEBUG("never %d", ++evaluated);
    benchmark::DoNotOptimize(evaluated);
    *GetQDLogMaskPtr() = 0xFFFFFFFF;
}
BENCHMARK(BM_DisabledLevel);

void BM_NarrowEventToFile(benchmark::State& state) {
    Setup();
    const std::string text(static_cast<size_t>(state.range(0)), 'n');
    for (auto _ : state) QDLogEvent(0, "%s", text.c_str());
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_NarrowEventToFile)->Arg(40)->Arg(1000);

void BM_WideEventToFile(benchmark::State& state) {
    Setup();
    const std::u16string text(static_cast<size_t>(state.range(0)), u'中');
    for (auto _ : state) QDLogEventW(0, u"%s", text.c_str());
    state.SetBytesProcessed(state.iterations() * state.range(0) * 2);
}
BENCHMARK(BM_WideEventToFile)->Arg(40)->Arg(1000);

void BM_NarrowEventWithNumbers(benchmark::State& state) {
    Setup();
    int i = 0;
    for (auto _ : state) QDLogEvent(0, "request %d took %.3f ms from %s", ++i, 1.25, "10.0.0.1");
}
BENCHMARK(BM_NarrowEventWithNumbers);

// The message of bench/compare_loggers (an int, a string and a double, about 80
// bytes) with its settings: file only, the debugger switched off too.
void BM_ComparedMessage(benchmark::State& state) {
    Setup();
    QDLogOutputToDebuger(0);
    int i = 0;
    for (auto _ : state) {
        ++i;
        QDLOG_INFO("message %d from %s took %.3f ms", i,
                   "worker-thread-alpha-bravo-charlie-delta-echo", 1.5 + i * 0.001);
    }
    QDLogOutputToDebuger(1);
}
BENCHMARK(BM_ComparedMessage);

}  // namespace

BENCHMARK_MAIN();
