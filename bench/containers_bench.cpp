// The containers against their standard counterparts, with the heap calls of each
// case counted: operator new is replaced here, and malloc is wrapped at link time
// (-Wl,--wrap=malloc), which catches the smart allocators' calls compiled into this
// program. The counter "heap_calls" is per iteration; the inline cases must show 0.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "qd_allocator.h"
#include "quickallocator.h"
#include "quickstringset.h"
#include "smartarray.h"

namespace {
long g_heapCalls = 0;
}

extern "C" void* __real_malloc(size_t bytes);
extern "C" void* __wrap_malloc(size_t bytes) {
    ++g_heapCalls;
    return __real_malloc(bytes);
}

// Out of line, so that the compiler does not pair a replaced operator delete with
// the malloc behind our operator new and warn about a mismatch.
__attribute__((noinline)) void ReleaseBlock(void* p) {
    free(p);
}

void* operator new(size_t bytes) {
    ++g_heapCalls;
    void* p = __real_malloc(bytes ? bytes : 1);
    if (!p) throw std::bad_alloc();
    return p;
}
void* operator new[](size_t bytes) {
    return operator new(bytes);
}
void operator delete(void* p) noexcept {
    ReleaseBlock(p);
}
void operator delete[](void* p) noexcept {
    ReleaseBlock(p);
}
void operator delete(void* p, size_t) noexcept {
    ReleaseBlock(p);
}
void operator delete[](void* p, size_t) noexcept {
    ReleaseBlock(p);
}

namespace {

// Heap calls per iteration, from the count before the loop.
void ReportHeapCalls(benchmark::State& state, long before, bool mustBeZero) {
    const double perIteration =
        static_cast<double>(g_heapCalls - before) / static_cast<double>(state.iterations());
    state.counters["heap_calls"] = perIteration;
    if (mustBeZero && perIteration != 0) state.SkipWithError("the inline case called the heap");
}

void SmartArrayPushBack(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const long before = g_heapCalls;
    for (auto _ : state) {
        SmartArray<int, 16> a;
        for (int i = 0; i < n; ++i) a.push_back(i);
        benchmark::DoNotOptimize(a.begin());
    }
    ReportHeapCalls(state, before, n <= 16);
}
BENCHMARK(SmartArrayPushBack)->Arg(16)->Arg(1000);

void VectorPushBack(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const long before = g_heapCalls;
    for (auto _ : state) {
        std::vector<int> v;
        for (int i = 0; i < n; ++i) v.push_back(i);
        benchmark::DoNotOptimize(v.data());
    }
    ReportHeapCalls(state, before, false);
}
BENCHMARK(VectorPushBack)->Arg(16)->Arg(1000);

void VectorReservedPushBack(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const long before = g_heapCalls;
    for (auto _ : state) {
        std::vector<int> v;
        v.reserve(static_cast<size_t>(n));
        for (int i = 0; i < n; ++i) v.push_back(i);
        benchmark::DoNotOptimize(v.data());
    }
    ReportHeapCalls(state, before, false);
}
BENCHMARK(VectorReservedPushBack)->Arg(16)->Arg(1000);

// Paths of the kind the log file list holds, longer than the string's inline room.
const std::vector<std::string>& Paths() {
    static const std::vector<std::string> paths = [] {
        std::vector<std::string> v;
        char name[64];
        for (int i = 0; i < 100000; ++i) {
            snprintf(name, sizeof(name), "\\var\\log\\app\\log2024%010d.log", i * 7919 % 100000);
            v.push_back(name);
        }
        return v;
    }();
    return paths;
}

// The node of std::set<std::string>: 64 bytes with 8-byte pointers, 48 with 4.
constexpr int kPathNode = sizeof(void*) == 4 ? 48 : 64;
typedef WrapperAllocator<BlockAllocator<kPathNode, 1>> PathPool;

template <class SET>
void SetInsertErase(benchmark::State& state) {
    const std::vector<std::string>& paths = Paths();
    const long before = g_heapCalls;
    for (auto _ : state) {
        SET set;
        for (const std::string& p : paths) set.insert(p);
        for (const std::string& p : paths) set.erase(p);
        benchmark::DoNotOptimize(set.size());
    }
    ReportHeapCalls(state, before, false);
}
BENCHMARK_TEMPLATE(SetInsertErase,
                   std::set<std::string, QDLess_<std::string>, qd_allocator<std::string, PathPool>>)
    ->Name("SetInsertErase100k/BlockAllocator")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(SetInsertErase, std::set<std::string, QDLess_<std::string>>)
    ->Name("SetInsertErase100k/std::allocator")
    ->Unit(benchmark::kMillisecond);

// Lookups of every key of a set of n keys, as the configuration reader does them.
void QuickStringSetLookup(benchmark::State& state) {
    const std::vector<std::string>& paths = Paths();
    const int n = static_cast<int>(state.range(0));
    QuickStringValues set;
    for (int i = 0; i < n; ++i) {
        const PtrStr key(paths[static_cast<size_t>(i)].c_str(), -1);
        set.insert(QuickStringItem<PtrStr>(key, key));
    }
    const long before = g_heapCalls;
    for (auto _ : state) {
        for (int i = 0; i < n; ++i) {
            const std::string& k = paths[static_cast<size_t>(i)];
            benchmark::DoNotOptimize(set.find(k.c_str(), static_cast<int32_t>(k.size())));
        }
    }
    ReportHeapCalls(state, before, true);
}
BENCHMARK(QuickStringSetLookup)->Arg(100)->Arg(10000);

void StdMapLookup(benchmark::State& state) {
    const std::vector<std::string>& paths = Paths();
    const int n = static_cast<int>(state.range(0));
    std::map<std::string, std::string> map;
    for (int i = 0; i < n; ++i) map[paths[static_cast<size_t>(i)]] = paths[static_cast<size_t>(i)];
    const long before = g_heapCalls;
    for (auto _ : state) {
        for (int i = 0; i < n; ++i)
            benchmark::DoNotOptimize(map.find(paths[static_cast<size_t>(i)]));
    }
    ReportHeapCalls(state, before, false);
}
BENCHMARK(StdMapLookup)->Arg(100)->Arg(10000);

}  // namespace

BENCHMARK_MAIN();
