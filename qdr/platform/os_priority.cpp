// Scheduling priority as the nice value, which Linux keeps per thread.
#include "os.h"

#include <errno.h>
#include <sys/resource.h>

namespace os {

bool GetThreadNice(uint32_t tid, int* nice) {
    // -1 is a valid nice value, so only errno tells a failure.
    errno = 0;
    const int value = getpriority(PRIO_PROCESS, static_cast<id_t>(tid));
    if (value == -1 && errno != 0) return false;
    *nice = value;
    return true;
}

bool SetThreadNice(uint32_t tid, int nice) {
    return setpriority(PRIO_PROCESS, static_cast<id_t>(tid), nice) == 0;
}

}  // namespace os
