// The machine's and this process's CPU load, sampled at most every 200 ms.
#include "platform/winos.h"
#include "qdglib.h"
#include "qdr/platform/os.h"
#include "qdr/qdatomic.h"
#include "qdr/qdmsel.h"

CpuUsageMeter& CpuUsageMeter::Instance() {
    static LazyGlobal<CpuUsageMeter> slot;
    return *slot.Get([] {
        static CpuUsageMeter meter;
        return &meter;
    });
}

CpuUsageMeter::CpuUsageMeter() : cpuCount_(0), lastUpdateTick(GetTickCount() - 1000), last_{} {
    static int cachedCount = 0;
    if (cachedCount == 0) cachedCount = winos::ProcessorCount();
    cpuCount_ = cachedCount ? cachedCount : 1;
    QDR_CHECK(cpuCount_ >= 1);
    TakeSample();
}

void CpuUsageMeter::Compute(const Sample& last, const Sample& next, int cpuCount,
                            int* systemPercent, int* processPercent) {
    // Kernel time takes no part in the machine's load: a machine busy in kernel
    // mode reads low. The process share is its CPU time over wall time times the
    // processors, as a difference of two products of age and processor count.
    const int64_t system =
        100 * (next.user - last.user) / ((next.idle + next.user) - (last.idle + last.user));
    const int64_t process =
        100 * ((next.processKernel + next.processUser) - (last.processKernel + last.processUser)) /
        ((next.now - next.creation) * cpuCount - (last.now - next.creation) * cpuCount);
    *systemPercent = static_cast<int>(system);
    *processPercent = static_cast<int>(process);
}

void CpuUsageMeter::TakeSample() {
    Sample next{};
    next.now = os::SystemTimeAsFileTime();
    if (!winos::SystemTimes(&next.idle, &next.kernel, &next.user) ||
        !winos::ProcessTimes(&next.creation, &next.processKernel, &next.processUser))
        return;
    // Equal samples would divide by zero; the 200 ms gate keeps them apart on a
    // running machine, and a frozen clock keeps the stored results.
    if (last_.now != 0 && (next.idle + next.user) != (last_.idle + last_.user) &&
        next.now != last_.now)
        Compute(last_, next, cpuCount_, &systemPercent, &processPercent);
    last_ = next;
}

int CpuUsageMeter::GetCpuUsage(int* outProcessPercent) {
    AutoLock lock(&lock_);
    const uint32_t tick = GetTickCount();
    if (tick - lastUpdateTick >= 200) {
        lastUpdateTick = tick;
        TakeSample();
    }
    if (outProcessPercent) *outProcessPercent = processPercent;
    return systemPercent;
}
