// Frames, borrowed thread contexts and modules on Linux: libunwind steps the frames
// of this process (local unwinding, which allocates nothing), a real-time signal
// stops another thread, and dl_iterate_phdr lists the loaded objects.
#include "os_stack.h"

#define UNW_LOCAL_ONLY
#include <dlfcn.h>
#include <errno.h>
#include <libunwind.h>
#include <link.h>
#include <pwd.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <mutex>

#include "qdr/platform/os.h"

namespace os {

static_assert(sizeof(ucontext_t) <= sizeof(MachineContext::bytes), "MachineContext too small");
static_assert(sizeof(unw_context_t) <= sizeof(MachineContext::bytes), "MachineContext too small");

// Out of line: the walk of the calling thread starts with this frame, which it skips.
__attribute__((noinline)) WalkEnd WalkStack(const void* context, FrameVisitor visit, void* arg) {
    unw_context_t machine;
    unw_cursor_t cursor;
    bool exact;
    if (context) {
        memset(&machine, 0, sizeof(machine));
        memcpy(&machine, context,
               sizeof(ucontext_t) < sizeof(machine) ? sizeof(ucontext_t) : sizeof(machine));
        if (unw_init_local2(&cursor, &machine, UNW_INIT_SIGNAL_FRAME) < 0)
            return WalkEnd::kStepFailed;
        exact = true;
    } else {
        if (unw_getcontext(&machine) < 0 || unw_init_local(&cursor, &machine) < 0)
            return WalkEnd::kStepFailed;
        const int stepped = unw_step(&cursor);
        if (stepped <= 0) return stepped == 0 ? WalkEnd::kOutermost : WalkEnd::kStepFailed;
        exact = false;
    }
    for (;;) {
        unw_word_t pc = 0;
        unw_get_reg(&cursor, UNW_REG_IP, &pc);
        const bool belowIsSignal = unw_is_signal_frame(&cursor) > 0;
        if (!visit(arg, StackFrame{static_cast<uintptr_t>(pc), exact})) return WalkEnd::kStopped;
        const int stepped = unw_step(&cursor);
        if (stepped == 0) return WalkEnd::kOutermost;
        if (stepped < 0) return WalkEnd::kStepFailed;
        exact = belowIsSignal;
    }
}

// ---- another thread ------------------------------------------------------------

namespace {

// The real-time signal that asks a thread for its context. glibc keeps the first
// real-time signals for itself and SIGRTMIN already counts them out.
int BorrowSignal() {
    return SIGRTMIN + 7;
}

std::mutex g_borrowLock;             // one borrowed thread at a time
std::atomic<uint32_t> g_request{0};  // id of the request no handler has claimed yet
std::atomic<pid_t> g_target{0};
std::atomic<uint32_t> g_captured{0};  // id whose context is in g_borrowed
std::atomic<uint32_t> g_released{0};  // id whose thread may go on
ucontext_t g_borrowed;
uint32_t g_lastId = 0;

pid_t KernelThreadId() {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

uint64_t MonotonicMs() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000u +
           static_cast<uint64_t>(now.tv_nsec) / 1000000u;
}

void PauseBriefly() {
    timespec pause = {0, 200 * 1000};
    nanosleep(&pause, nullptr);
}

// Runs in the borrowed thread; only async-signal-safe calls. It waits at most ten
// seconds, so a walker that never returns the thread does not keep it forever.
void OnBorrowSignal(int, siginfo_t*, void* context) {
    const int savedErrno = errno;
    uint32_t id = g_request.load(std::memory_order_acquire);
    if (id != 0 && g_target.load(std::memory_order_relaxed) == KernelThreadId() &&
        g_request.compare_exchange_strong(id, 0, std::memory_order_acq_rel)) {
        memcpy(&g_borrowed, context, sizeof(ucontext_t));
        g_captured.store(id, std::memory_order_release);
        const uint64_t deadline = MonotonicMs() + 10000;
        while (g_released.load(std::memory_order_acquire) != id && MonotonicMs() < deadline)
            PauseBriefly();
    }
    errno = savedErrno;
}

bool WaitForCapture(uint32_t id, uint64_t milliseconds) {
    const uint64_t deadline = MonotonicMs() + milliseconds;
    while (g_captured.load(std::memory_order_acquire) != id) {
        if (MonotonicMs() >= deadline) return false;
        PauseBriefly();
    }
    return true;
}

}  // namespace

bool BorrowThreadContext(uint32_t tid, MachineContext* context) {
    static const bool installed = [] {
        struct sigaction action;
        memset(&action, 0, sizeof(action));
        action.sa_sigaction = OnBorrowSignal;
        action.sa_flags = SA_SIGINFO | SA_RESTART;
        sigemptyset(&action.sa_mask);
        return sigaction(BorrowSignal(), &action, nullptr) == 0;
    }();
    if (!installed || tid == 0) return false;
    g_borrowLock.lock();
    uint32_t id = ++g_lastId;
    if (id == 0) id = ++g_lastId;
    g_target.store(static_cast<pid_t>(tid), std::memory_order_relaxed);
    g_request.store(id, std::memory_order_release);
    bool captured = false;
    if (syscall(SYS_tgkill, getpid(), static_cast<pid_t>(tid), BorrowSignal()) == 0) {
        captured = WaitForCapture(id, 2000);
        uint32_t unclaimed = id;
        // A handler that claimed the request just now finishes its copy at once.
        if (!captured && !g_request.compare_exchange_strong(unclaimed, 0))
            captured = WaitForCapture(id, 2000);
    }
    g_request.store(0, std::memory_order_release);
    if (!captured) {
        g_released.store(id, std::memory_order_release);
        g_borrowLock.unlock();
        return false;
    }
    memcpy(context->bytes, &g_borrowed, sizeof(ucontext_t));
    return true;
}

void ReturnBorrowedThread() {
    g_released.store(g_lastId, std::memory_order_release);
    g_borrowLock.unlock();
}

// ---- modules -------------------------------------------------------------------

void ForEachModule(bool (*visit)(void* arg, const LoadedModule& module), void* arg) {
    struct Walk {
        bool (*visit)(void*, const LoadedModule&);
        void* arg;
        bool first;
        char program[4096];
    } walk = {visit, arg, true, {0}};
    dl_iterate_phdr(
        [](dl_phdr_info* object, size_t, void* data) -> int {
            Walk* w = static_cast<Walk*>(data);
            const char* path = object->dlpi_name;
            if (w->first || !path || !path[0]) {
                if (!w->first) return 0;  // an unnamed object that is not the program
                if (ProgramPath(w->program, sizeof(w->program)) == 0) return 0;
                path = w->program;
            }
            w->first = false;
            uintptr_t low = UINTPTR_MAX, high = 0;
            for (int i = 0; i < object->dlpi_phnum; ++i) {
                const ElfW(Phdr)& segment = object->dlpi_phdr[i];
                if (segment.p_type != PT_LOAD) continue;
                const uintptr_t start = object->dlpi_addr + segment.p_vaddr;
                if (start < low) low = start;
                if (start + segment.p_memsz > high) high = start + segment.p_memsz;
            }
            if (high <= low) return 0;
            LoadedModule module = {path, object->dlpi_addr, low, static_cast<uint32_t>(high - low)};
            return w->visit(w->arg, module) ? 0 : 1;
        },
        &walk);
}

uintptr_t ModuleLoadAddress(const void* address) {
    Dl_info info;
    return dladdr(address, &info) ? reinterpret_cast<uintptr_t>(info.dli_fbase) : 0;
}

// ---- libraries bound by name ------------------------------------------------------

void* LoadLibraryByName(const char* name) {
    return dlopen(name, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
}

void* BindFunction(void* library, const char* name) {
    return library ? dlsym(library, name) : nullptr;
}

void FreeLibraryHandle(void* library) {
    if (library) dlclose(library);
}

// ---- facts for the walker's reports --------------------------------------------------

bool TerminalSize(int* rows, int* pixels) {
    winsize size;
    if (!isatty(STDERR_FILENO) || ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0)
        return false;
    *rows = size.ws_row;
    *pixels = size.ws_ypixel;
    return true;
}

bool UserName(char* buffer, int capacity) {
    passwd entry;
    passwd* found = nullptr;
    char scratch[4096];
    if (getpwuid_r(geteuid(), &entry, scratch, sizeof(scratch), &found) != 0 || !found)
        return false;
    return snprintf(buffer, static_cast<size_t>(capacity), "%s", found->pw_name) < capacity;
}

bool SystemVersion(int* major, int* minor, int* build, char* text, int capacity) {
    utsname names;
    if (uname(&names) != 0) return false;
    *major = *minor = *build = 0;
    sscanf(names.release, "%d.%d.%d", major, minor, build);
    snprintf(text, static_cast<size_t>(capacity), "%s", names.version);
    return true;
}

}  // namespace os
