// Heap calls of the logging threads. malloc and its kin are replaced in this
// program, so the calls of every library it loads (ours, spdlog, glog, Boost.Log,
// the C++ runtime under operator new) pass through the counter.
#pragma once

// From StartHeapCount to StopHeapCount each thread counts its own calls.
void StartHeapCount();
void StopHeapCount();
// The calling thread's count since StartHeapCount.
long ThreadHeapCalls();
void ResetThreadHeapCalls();
