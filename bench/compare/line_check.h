// Whether a contender wrote every line: every file of its directory is read, and
// each line that holds "message " must be a whole message, exactly as written,
//   ...message 41 from worker-thread-alpha-bravo-charlie-delta-echo took 1.541 ms
// with every index from 0 below `expected` present exactly once.
#pragma once

#include <string>

struct LineCheck {
    long messages = 0;   // whole messages found
    long missing = 0;    // indexes below `expected` not found
    long repeated = 0;   // indexes found more than once
    long malformed = 0;  // lines with "message " that are no whole message
    bool Passed() const { return missing == 0 && repeated == 0 && malformed == 0; }
};

// Symbolic links (glog's "<program>.INFO") are passed over.
LineCheck CheckLines(const std::string& dir, int expected);
