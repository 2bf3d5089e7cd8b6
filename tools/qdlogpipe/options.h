// qdlogpipe's command line.
#pragma once

#include <string>
#include <vector>

struct PipeOptions {
    std::string dir;
    std::string outTitle;
    std::string errTitle;
    // -1: not given, the library's own setting stands.
    long fileBytes = -1;
    long lifeDays = -1;
    long reserveMBytes = -1;
    long maxFiles = -1;
    long flushLines = -1;
    bool tee = false;
    bool help = false;
    std::vector<char*> command;  // null-terminated when not empty
};

// False with a message in `error` for an option it does not know or a bad value.
bool ParseOptions(int argc, char** argv, PipeOptions* options, std::string* error);

extern const char kPipeHelp[];
