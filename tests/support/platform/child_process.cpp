#include "child_process.h"

#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

extern char** environ;

ChildProcess::ChildProcess(const std::vector<std::string>& argv,
                           const std::vector<std::string>& extraEnv)
    : pid_(-1), outFd_(-1) {
    int fds[2];
    if (argv.empty() || pipe(fds) != 0) return;
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    std::vector<char*> env;
    for (char** e = environ; *e; ++e) env.push_back(*e);
    for (const std::string& e : extraEnv) env.push_back(const_cast<char*>(e.c_str()));
    env.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, fds[0]);
    posix_spawn_file_actions_addclose(&actions, fds[1]);
    pid_t pid = -1;
    if (posix_spawn(&pid, args[0], &actions, nullptr, args.data(), env.data()) != 0) pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(fds[1]);
    pid_ = pid;
    outFd_ = fds[0];
}

ChildProcess::~ChildProcess() {
    if (pid_ > 0) {
        Kill();
        Wait();
    }
    if (outFd_ >= 0) close(outFd_);
}

bool ChildProcess::ReadLine(std::string* line) {
    for (;;) {
        const size_t end = pending_.find('\n');
        if (end != std::string::npos) {
            *line = pending_.substr(0, end);
            pending_.erase(0, end + 1);
            return true;
        }
        char block[4096];
        const ssize_t n = outFd_ >= 0 ? read(outFd_, block, sizeof(block)) : 0;
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            *line = pending_;
            const bool any = !pending_.empty();
            pending_.clear();
            return any;
        }
        pending_.append(block, static_cast<size_t>(n));
    }
}

std::string ChildProcess::ReadAll() {
    std::string all, line;
    while (ReadLine(&line)) all += line + "\n";
    return all;
}

void ChildProcess::Kill() {
    if (pid_ > 0) kill(pid_, SIGKILL);
}

int ChildProcess::Wait() {
    if (pid_ <= 0) return -1;
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return WEXITSTATUS(status);
}

long long WallClockMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}
