// A log directory of 100,000 log files: what the first exported call costs when it
// hands the directory to the worker at the 5000th file, how long events wait
// while the worker sweeps the rest, and the heap that listSet holds for 100,000
// paths against a std::set<std::string> with the default allocator. malloc is
// wrapped at link time (-Wl,--wrap=malloc) and operator new replaced, so that the
// heap of the calling thread can be counted.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "logcontext.h"
#include "logfilelist.h"
#include "qdr/platform/os.h"

namespace {

thread_local bool t_counting = false;
thread_local int64_t t_heapCalls = 0;
thread_local int64_t t_heapBytes = 0;   // as asked for
thread_local int64_t t_heapChunks = 0;  // with glibc's header and rounding on x86-64

void CountHeapCall(size_t bytes) {
    if (!t_counting) return;
    ++t_heapCalls;
    t_heapBytes += static_cast<int64_t>(bytes);
    t_heapChunks += static_cast<int64_t>(std::max<size_t>(32, (bytes + 8 + 15) & ~size_t(15)));
}

}  // namespace

extern "C" void* __real_malloc(size_t bytes);
extern "C" void* __wrap_malloc(size_t bytes) {
    CountHeapCall(bytes);
    return __real_malloc(bytes);
}

// Out of line, so that the compiler does not pair the replaced operator delete with
// the malloc behind operator new and warn about a mismatch.
__attribute__((noinline)) void ReleaseBlock(void* p) {
    free(p);
}
void* operator new(size_t bytes) {
    CountHeapCall(bytes);
    void* p = __real_malloc(bytes ? bytes : 1);
    if (!p) throw std::bad_alloc();
    return p;
}
void operator delete(void* p) noexcept {
    ReleaseBlock(p);
}
void operator delete(void* p, size_t) noexcept {
    ReleaseBlock(p);
}

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kFiles = 100000;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The directory, made once for the program and removed at its end.
struct LargeDirectory {
    LargeDirectory()
        : path(fs::temp_directory_path() /
               ("retention-bench-" + std::to_string(os::CurrentProcessId()))) {
        fs::create_directories(path);
        char name[32];
        for (int i = 0; i < kFiles; ++i) {
            snprintf(name, sizeof(name), "log20161118%06d.log", i);
            std::ofstream(path / name);
        }
    }
    ~LargeDirectory() { fs::remove_all(path); }
    fs::path path;
};

const LargeDirectory& Directory() {
    static LargeDirectory dir;
    return dir;
}

// The large directory as the log directory, with no rule that could delete from
// it once a sweep is over.
void KeepEveryFile() {
    QDLogSetDir(Directory().path.string().c_str());
    QDLogSetLife(0);
    QDLogSetReserve(0, 1);
    QDLogSetMaxFileNum(0);
    QDLogScreen(0);
}

void WaitForTheWorker(LogContext& log) {
    while (!log.logFileList_.initFinished) os::SleepMs(1);
    log.logFileList_.StopWorker();
    log.logFileList_.exitFlag = 0;
}

size_t ListedNow(LogContext& log) {
    LogLock lock(log);
    return log.logFileList_.listSet.size();
}

// The first sweep's steps in the singleton's builder.
bool StartSweep(LogContext& log) {
    const bool ranToItsEnd = SweepLogDirectory(log);
    if (ranToItsEnd) log.logFileList_.initFinished = 1;
    return ranToItsEnd;
}

// The list as before a first sweep.
void ForgetTheList(LogContext& log) {
    KeepEveryFile();
    WaitForTheWorker(log);
    LogLock lock(log);
    log.logFileList_.listSet.clear();
    log.logFileList_.totalLogBytes = 0;
    log.logFileList_.initFinished = 0;
}

// The real first call of the process: the singleton is built, the configuration
// read, and the directory swept up to the hand-over. It can be measured once.
void BM_FirstExportedCall(benchmark::State& state) {
    const std::string dir = Directory().path.string();
    QDLogSetDir(dir.c_str());
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        benchmark::DoNotOptimize(GetQDLogMaskPtr());
        state.SetIterationTime(SecondsSince(start));
    }
    LogContext& log = GetLogContext();
    state.counters["listed_at_return"] = static_cast<double>(ListedNow(log));
    KeepEveryFile();
    const Clock::time_point start = Clock::now();
    WaitForTheWorker(log);
    state.counters["worker_ms"] = SecondsSince(start) * 1000;
    state.counters["listed_by_worker"] = static_cast<double>(ListedNow(log));
}
BENCHMARK(BM_FirstExportedCall)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// The same sweep again and again: the first call's part of it.
void BM_FirstSweepUpToTheHandOver(benchmark::State& state) {
    LogContext& log = GetLogContext();
    size_t listed = 0;
    for (auto _ : state) {
        ForgetTheList(log);
        const Clock::time_point start = Clock::now();
        benchmark::DoNotOptimize(StartSweep(log));
        state.SetIterationTime(SecondsSince(start));
        listed = ListedNow(log);
    }
    WaitForTheWorker(log);
    state.counters["listed_at_return"] = static_cast<double>(listed);
}
BENCHMARK(BM_FirstSweepUpToTheHandOver)->UseManualTime()->Unit(benchmark::kMillisecond);

// Threads log into the file, one event every `pauseUs` microseconds, until `done`;
// each event is timed alone. The waits of all threads, in microseconds, sorted.
template <class Done>
std::vector<double> TimedEvents(int threads, int pauseUs, Done done) {
    std::vector<std::vector<double>> waits(static_cast<size_t>(threads));
    std::vector<std::thread> loggers;
    for (auto& mine : waits)
        loggers.emplace_back([&mine, pauseUs, &done] {
            for (int i = 0; !done(); ++i) {
                const Clock::time_point sent = Clock::now();
                QDLogEvent(0, "event %d of a logging thread during the sweep", i);
                mine.push_back(SecondsSince(sent) * 1e6);
                if (pauseUs) std::this_thread::sleep_for(std::chrono::microseconds(pauseUs));
            }
        });
    for (std::thread& t : loggers) t.join();
    std::vector<double> all;
    for (const auto& mine : waits) all.insert(all.end(), mine.begin(), mine.end());
    std::sort(all.begin(), all.end());
    return all;
}

void ReportWaits(benchmark::State& state, const std::vector<double>& waits) {
    state.counters["events"] = static_cast<double>(waits.size());
    state.counters["median_us"] = waits[waits.size() / 2];
    state.counters["p999_us"] = waits[waits.size() * 999 / 1000];
    state.counters["worst_us"] = waits.back();
}

void BM_EventsDuringTheWorkerSweep(benchmark::State& state) {
    LogContext& log = GetLogContext();
    QDLogToFile(1);
    std::vector<double> waits;
    for (auto _ : state) {
        ForgetTheList(log);
        const Clock::time_point start = Clock::now();
        StartSweep(log);
        waits = TimedEvents(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                            [&log] { return log.logFileList_.initFinished != 0; });
        state.SetIterationTime(SecondsSince(start));
    }
    QDLogToFile(0);
    WaitForTheWorker(log);
    ReportWaits(state, waits);
}
// Arguments: logging threads, and the pause after each event (0: as fast as they
// can, which starves the worker of lock_). Each case runs once, by the wall clock.
void EventCases(benchmark::internal::Benchmark* b) {
    b->Args({1, 0})->Args({2, 0})->Args({2, 100});
    b->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
}
BENCHMARK(BM_EventsDuringTheWorkerSweep)->Apply(EventCases);

// The same events for a second with no sweep: what the machine itself adds.
void BM_EventsWithoutASweep(benchmark::State& state) {
    KeepEveryFile();
    WaitForTheWorker(GetLogContext());
    QDLogToFile(1);
    std::vector<double> waits;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        waits = TimedEvents(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                            [start] { return SecondsSince(start) > 1; });
        state.SetIterationTime(SecondsSince(start));
    }
    QDLogToFile(0);
    ReportWaits(state, waits);
}
BENCHMARK(BM_EventsWithoutASweep)->Apply(EventCases);

// The heap held for 100,000 paths as the writer spells them ("<dir>\log....log").
template <class SET>
void BM_HeapOfTheList(benchmark::State& state) {
    std::vector<std::string> paths;
    char name[32];
    for (int i = 0; i < kFiles; ++i) {
        snprintf(name, sizeof(name), "\\log20161118%06d.log", i);
        paths.push_back(Directory().path.string() + name);
    }
    for (auto _ : state) {
        t_heapCalls = t_heapBytes = t_heapChunks = 0;
        t_counting = true;
        SET* set = new SET(paths.begin(), paths.end());
        t_counting = false;
        benchmark::DoNotOptimize(set);
        delete set;
    }
    state.counters["path_bytes"] = static_cast<double>(paths[0].size());
    state.counters["asked_per_path"] = static_cast<double>(t_heapBytes) / kFiles;
    state.counters["held_per_path"] = static_cast<double>(t_heapChunks) / kFiles;
    state.counters["calls_per_path"] = static_cast<double>(t_heapCalls) / kFiles;
}
BENCHMARK_TEMPLATE(BM_HeapOfTheList, LogPathSet)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_HeapOfTheList, std::set<std::string>)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
