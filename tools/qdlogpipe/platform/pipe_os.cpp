#include "pipe_os.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace pipeos {

namespace {

volatile sig_atomic_t g_childPid = 0;
volatile sig_atomic_t g_stopSignal = 0;

void OnStopSignal(int signal) {
    if (g_childPid > 0)
        kill(g_childPid, signal);
    else
        g_stopSignal = signal;
}

}  // namespace

bool StartChild(char* const argv[], int* pid, int* outFd, int* errFd, int* error) {
    int out[2], err[2];
    if (pipe2(out, O_CLOEXEC) != 0) {
        *error = errno;
        return false;
    }
    if (pipe2(err, O_CLOEXEC) != 0) {
        *error = errno;
        close(out[0]), close(out[1]);
        return false;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    pid_t child = 0;
    const int result = posix_spawnp(&child, argv[0], &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]), close(err[1]);
    if (result != 0) {
        *error = result;
        close(out[0]), close(err[0]);
        return false;
    }
    *pid = child;
    *outFd = out[0];
    *errFd = err[0];
    return true;
}

void HandleStopSignals(int childPid) {
    g_childPid = childPid;
    struct sigaction action;
    memset(&action, 0, sizeof(action));
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    signal(SIGPIPE, SIG_IGN);
}

int StopSignal() {
    return g_stopSignal;
}

bool WaitReadable(const int* fds, bool* ready, int count) {
    struct pollfd polled[8];
    int n = 0;
    for (int i = 0; i < count && n < 8; ++i)
        if (fds[i] >= 0) polled[n++] = pollfd{fds[i], POLLIN, 0};
    if (poll(polled, static_cast<nfds_t>(n), -1) < 0) return false;
    for (int i = 0, k = 0; i < count; ++i) {
        ready[i] = false;
        if (fds[i] < 0) continue;
        ready[i] = polled[k++].revents != 0;
    }
    return true;
}

long ReadSome(int fd, char* buffer, size_t capacity) {
    for (;;) {
        const ssize_t n = read(fd, buffer, capacity);
        if (n >= 0) return static_cast<long>(n);
        if (errno != EINTR) return -1;
    }
}

void CloseFd(int fd) {
    close(fd);
}

int WaitChild(int pid, int* signal) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0)
        if (errno != EINTR) return 1;
    *signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return *signal ? 128 + *signal : WEXITSTATUS(status);
}

const char* ErrorText(int error) {
    return strerror(error);
}

}  // namespace pipeos
