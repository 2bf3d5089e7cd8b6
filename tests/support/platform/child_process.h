// Child processes for the tests that need more than one process: a program started
// with arguments, whose standard output the test reads line by line, and which it
// may kill. The one place of the tests that calls the system for processes.
#pragma once

#include <string>
#include <vector>

class ChildProcess {
public:
    // Starts argv[0] with the arguments; the environment is this process's, plus
    // the "NAME=value" entries of `extraEnv`.
    explicit ChildProcess(const std::vector<std::string>& argv,
                          const std::vector<std::string>& extraEnv = {});
    ~ChildProcess();  // kills a child that still runs, and waits for it
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Whether the program could be started (the benchmarks' children ask).
    bool Started() const { return pid_ > 0; }
    // The next line of the child's output, without its LF; false at the end.
    bool ReadLine(std::string* line);
    // Everything the child writes until it ends.
    std::string ReadAll();
    // SIGKILL: the child ends at once, without any of its own clean-up.
    void Kill();
    // Waits for the end: the exit status, or 128 + the number of the signal.
    int Wait();
    int Pid() const { return pid_; }

private:
    int pid_;
    int outFd_;
    std::string pending_;
};

// The wall clock in milliseconds since 1970, for children that start together.
long long WallClockMs();
