// Takes the process's right to write into a directory for a scope, to see what
// the code does with files it cannot delete or create there. Root writes
// everywhere, so as root the process acts as nobody (its effective user) for the
// scope; any other user takes the directory's write bits away.
#pragma once

#include <string>

class UnwritableDir {
public:
    explicit UnwritableDir(const std::string& dir);
    ~UnwritableDir();
    UnwritableDir(const UnwritableDir&) = delete;
    UnwritableDir& operator=(const UnwritableDir&) = delete;

private:
    std::string dir_;
    bool wasRoot_;
};

// For the rest of the process, root is held to the modes of files like their owner
// is: it keeps its user, and so every directory it could reach. False if the
// system refuses.
bool DropRootsRightOverModes();
