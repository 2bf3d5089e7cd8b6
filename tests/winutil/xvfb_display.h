// A private X server for the tests that need a screen: Xvfb on a free display that
// it picks itself and names on its output, 800 x 600 at 24 bits, set as DISPLAY
// while it lives; it does not reset when a client leaves. Running() is false where
// Xvfb cannot start, and the test skips.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

#include "child_process.h"

class XvfbDisplay {
public:
    XvfbDisplay() {
        server_ = std::make_unique<ChildProcess>(
            std::vector<std::string>{"/usr/bin/Xvfb", "-displayfd", "1", "-screen", "0",
                                     "800x600x24", "-nolisten", "tcp", "-noreset"});
        std::string number;
        running_ = server_->ReadLine(&number) && !number.empty();
        if (running_) setenv("DISPLAY", (":" + number).c_str(), 1);
    }
    ~XvfbDisplay() { unsetenv("DISPLAY"); }
    bool Running() const { return running_; }

private:
    std::unique_ptr<ChildProcess> server_;
    bool running_ = false;
};
