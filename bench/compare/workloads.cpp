#include "workloads.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "heap_count.h"

namespace {

typedef std::chrono::steady_clock Clock;

double SecondsBetween(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

}  // namespace

ThroughputResult RunThroughput(const Contender& c, int threads, int messages) {
    for (int i = 0; i < kWarmupMessages; ++i) c.log(messages + i);

    std::atomic<bool> go{false};
    std::atomic<long> heapCalls{0};
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t)
        workers.emplace_back([&, t] {
            while (!go.load(std::memory_order_acquire)) std::this_thread::yield();
            ResetThreadHeapCalls();
            for (int i = t; i < messages; i += threads) c.log(i);
            heapCalls += ThreadHeapCalls();
        });
    // The threads wait at the start line; give them a moment to get there.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    StartHeapCount();
    const Clock::time_point start = Clock::now();
    go.store(true, std::memory_order_release);
    for (std::thread& w : workers) w.join();
    const Clock::time_point end = Clock::now();
    StopHeapCount();
    return ThroughputResult{SecondsBetween(start, end), heapCalls.load()};
}

LatencyResult RunLatency(const Contender& c, int messages) {
    for (int i = 0; i < kWarmupMessages; ++i) c.log(messages + i);
    std::vector<int64_t> ns(static_cast<size_t>(messages));
    for (int i = 0; i < messages; ++i) {
        const Clock::time_point before = Clock::now();
        c.log(i);
        const Clock::time_point after = Clock::now();
        ns[static_cast<size_t>(i)] =
            std::chrono::duration_cast<std::chrono::nanoseconds>(after - before).count();
    }
    std::sort(ns.begin(), ns.end());
    auto at = [&](double q) {
        return static_cast<double>(ns[std::min(ns.size() - 1, static_cast<size_t>(q * ns.size()))]);
    };
    return LatencyResult{at(0.50), at(0.99), at(0.999), static_cast<double>(ns.back())};
}

double RunDisabled(const Contender& c, int calls) {
    c.logDisabled(1000);
    const Clock::time_point start = Clock::now();
    c.logDisabled(calls);
    const Clock::time_point end = Clock::now();
    return SecondsBetween(start, end) * 1e9 / calls;
}
