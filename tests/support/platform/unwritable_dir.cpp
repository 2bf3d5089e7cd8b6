#include "unwritable_dir.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr uid_t kNobody = 65534;
}

// The saved user stays root, so the effective one can come back.
UnwritableDir::UnwritableDir(const std::string& dir)
    : dir_(dir), wasRoot_(geteuid() == 0 && seteuid(kNobody) == 0) {
    if (!wasRoot_) chmod(dir_.c_str(), 0555);
}

UnwritableDir::~UnwritableDir() {
    if (!wasRoot_)
        chmod(dir_.c_str(), 0755);
    else if (seteuid(0) != 0)
        _exit(3);  // the rest of the tests would run as nobody
}
