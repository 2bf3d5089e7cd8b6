// Splitting tasks among workers without talking, and filling memory with a
// repeated pattern.
#pragma once

// Task i belongs to worker i % workers. The indices of worker `work_num`'s tasks go
// to `task_nums` in rising order (room for (tasks + workers - 1) / workers); the
// result is their count.
//   GetWorkTasks(7, 3, 1, out) -> 2, out = {1, 4}
int GetWorkTasks(int tasks, int workers, int work_num, int* task_nums);

// Fills `cpy_size` bytes at `dst` with copies of the `src_size` bytes at `src`, the
// last copy cut short:  RepeatCopy(dst, 5, "ab", 2) -> "ababa". Returns `dst`.
void* RepeatCopy(void* dst, int cpy_size, const void* src, int src_size);
