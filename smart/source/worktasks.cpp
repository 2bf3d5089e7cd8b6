// The round-robin split of tasks and the repeating copy.
#include "worktasks.h"

#include <cstdint>
#include <cstring>

#include "qdr/qdassert.h"

int GetWorkTasks(int tasks, int workers, int work_num, int* task_nums) {
    QDR_CHECK_OR_RETURN(tasks >= 0, 0);
    QDR_CHECK_OR_RETURN(workers > 0, 0);
    // clang-format off
    QDR_CHECK_OR_RETURN(0<=work_num && work_num<workers, 0);
    // clang-format on
    QDR_CHECK_OR_RETURN(task_nums, 0);
    int count = 0;
    for (int i = work_num; i < tasks; i += workers) {
        task_nums[count++] = i;
        if (i > tasks - workers) break;  // the next step would pass INT_MAX
    }
    return count;
}

void* RepeatCopy(void* dst, int cpy_size, const void* src, int src_size) {
    QDR_CHECK_OR_RETURN(cpy_size >= 0 && src_size >= 0, dst);
    QDR_CHECK_OR_RETURN((dst && src) || cpy_size == 0, dst);
    // Without a pattern the fill would never advance.
    QDR_CHECK_OR_RETURN(src_size > 0 || cpy_size == 0, dst);
    unsigned char* to = static_cast<unsigned char*>(dst);
    for (int64_t done = 0; done < cpy_size; done += src_size) {
        const int64_t n = cpy_size - done < src_size ? cpy_size - done : src_size;
        memcpy(to + done, src, static_cast<size_t>(n));
    }
    return dst;
}
