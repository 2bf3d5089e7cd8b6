#include "os_signals.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <unistd.h>

#include <atomic>

namespace os {

namespace {

const int kFatalSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

std::atomic<FatalSignalRoutine> g_routine{nullptr};

// Room to run the handler when the installing thread has used up its stack.
alignas(16) char g_alternateStack[64 * 1024];

void OnFatalSignal(int signal, siginfo_t* info, void* context) {
    if (FatalSignalRoutine routine = g_routine.load(std::memory_order_acquire))
        routine(signal, context, info ? info->si_addr : nullptr);
    EndWithSignal(signal);
}

}  // namespace

bool InstallFatalSignalHandlers(FatalSignalRoutine routine) {
    g_routine.store(routine, std::memory_order_release);
    stack_t alternate;
    memset(&alternate, 0, sizeof(alternate));
    alternate.ss_sp = g_alternateStack;
    alternate.ss_size = sizeof(g_alternateStack);
    sigaltstack(&alternate, nullptr);
    struct sigaction action;
    memset(&action, 0, sizeof(action));
    action.sa_sigaction = OnFatalSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    bool all = true;
    for (int signal : kFatalSignals) all = sigaction(signal, &action, nullptr) == 0 && all;
    return all;
}

void EndWithSignal(int signal) {
    struct sigaction action;
    memset(&action, 0, sizeof(action));
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, signal);
    pthread_sigmask(SIG_UNBLOCK, &mask, nullptr);
    raise(signal);
    _exit(128 + signal);  // the default action of every fatal signal ends the process
}

const char* SignalName(int signal) {
    switch (signal) {
        case SIGSEGV:
            return "SIGSEGV";
        case SIGBUS:
            return "SIGBUS";
        case SIGFPE:
            return "SIGFPE";
        case SIGILL:
            return "SIGILL";
        case SIGABRT:
            return "SIGABRT";
        default:
            return "signal";
    }
}

void* FindLoadedFunction(const char* name) {
    return dlsym(RTLD_DEFAULT, name);
}

bool AppendToFile(const char* path, const char* text, size_t length) {
    char systemPath[4096];
    size_t i = 0;
    for (; path[i] && i + 1 < sizeof(systemPath); ++i)
        systemPath[i] = path[i] == '\\' ? '/' : path[i];
    systemPath[i] = 0;
    const int fd = open(systemPath, O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd < 0) return false;
    bool written = true;
    while (length > 0) {
        const ssize_t n = write(fd, text, length);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            written = false;
            break;
        }
        text += n;
        length -= static_cast<size_t>(n);
    }
    close(fd);
    return written;
}

}  // namespace os
