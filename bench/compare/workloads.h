// What one child process of the comparison measures, for one contender. Each
// child logs into its own fresh directory and exits, so that every library ends
// as it ends in an application: its files flushed and closed.
#pragma once

#include "contender.h"

// Messages logged untimed before each measurement, with indexes after the measured
// ones, so that files are open and buffers taken: the measurement sees the steady
// state.
constexpr int kWarmupMessages = 20000;

struct ThroughputResult {
    double seconds;  // from the start signal until the last thread is done
    long heapCalls;  // of the logging threads, in the measured part
};
// `messages` messages spread over `threads` threads: thread t writes the indexes
// t, t + threads, ... below `messages`.
ThroughputResult RunThroughput(const Contender& c, int threads, int messages);

struct LatencyResult {
    double p50, p99, p999, max;  // nanoseconds per call, the clock's reads included
};
LatencyResult RunLatency(const Contender& c, int messages);

// Nanoseconds per call of a disabled level.
double RunDisabled(const Contender& c, int calls);
