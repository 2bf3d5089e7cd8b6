// The loggers of the side-by-side comparison, behind one small interface. Each
// writes the same message to files only,
//   "message <index> from worker-thread-alpha-bravo-charlie-delta-echo took <v> ms"
// about 80 bytes with an int, a string and a double, at an enabled level, and can
// be handed the same message at a disabled level.
#pragma once

#include <string>
#include <vector>

constexpr char kSender[] = "worker-thread-alpha-bravo-charlie-delta-echo";

// The double of message `index`; written with three decimals it is
// (1500 + index) / 1000 exactly, which the line check relies on.
inline double ValueOf(int index) {
    return 1.5 + index * 0.001;
}

// Inside a measured loop: the compiler must test the level at every turn and may
// not lift the test out of the loop. It costs no instruction.
inline void NextTurn() {
    __asm__ __volatile__("" ::: "memory");
}

struct Contender {
    const char* name;
    // From here on the process logs into `dir`, a fresh directory. `program` is
    // argv[0], which glog names its files after.
    void (*open)(const std::string& dir, const char* program);
    void (*log)(int index);  // the message at an enabled level, from any thread
    // `calls` messages at a level that is switched off, in a loop of the contender's
    // own, so that the call through this pointer is not what gets measured.
    void (*logDisabled)(int calls);
    void (*close)();  // everything written reaches its file
};

extern const Contender kQDLog;
extern const Contender kFloor;
extern const Contender kSpdlog;
extern const Contender kGlog;
extern const Contender kBoostLog;
extern const Contender kFprintf;

// In the order of the report: our library first.
const std::vector<const Contender*>& AllContenders();
const Contender* FindContender(const std::string& name);
